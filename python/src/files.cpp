// Files and streams: TIFF stacks and the library's stack files as Stack
// objects, PNG renderings, and the stream format for volumes and regions
// (bytes, files, and pickling through it).
#include <pybind11/eval.h>

#include "MirelanPython.h"
#include "core/XHandleStream.h"
#include "storage/XPNGCodec.h"
#include "storage/XStackFile.h"
#include "storage/XTIFFCodec.h"
#include "volume/XColourVolumes.h"

namespace mirelan::python {

namespace {

std::string PathOf(const py::object& inPath) {
  py::object path = py::module_::import("os").attr("fspath")(inPath);
  if (!py::isinstance<py::str>(path)) throw py::type_error("a file path must be a str or os.PathLike of str");
  return path.cast<std::string>();
}

// ---------------------------------------------------------------- stacks

// Timepoints by channels of volumes of one pixel type and box, as files hold them.
struct PyStack {
  UInt32 itsTimepoints = 0;
  UInt32 itsChannels = 0;
  std::vector<VolumePtr> itsVolumes;  // timepoint by timepoint
  std::vector<std::string> itsChannelNames;
  std::string itsUnit = "pixel";
  Float64 itsTimeInterval = 0.0;

  const VolumePtr& At(SInt64 inTimepoint, SInt64 inChannel) const {
    if (inTimepoint < 0) inTimepoint += itsTimepoints;
    if (inChannel < 0) inChannel += itsChannels;
    if (inTimepoint < 0 || inTimepoint >= itsTimepoints || inChannel < 0 || inChannel >= itsChannels)
      throw py::index_error("no volume at timepoint " + std::to_string(inTimepoint) + ", channel " +
                            std::to_string(inChannel) + " of a stack of " + std::to_string(itsTimepoints) +
                            " x " + std::to_string(itsChannels));
    return itsVolumes[size_t(inTimepoint) * itsChannels + size_t(inChannel)];
  }
};

PyStack FromImageStack(XImageStack&& ioStack) {
  PyStack stack;
  stack.itsTimepoints = ioStack.GetTimepointCount();
  stack.itsChannels = ioStack.GetChannelCount();
  for (UInt32 t = 1; t <= stack.itsTimepoints; ++t)
    for (UInt32 c = 1; c <= stack.itsChannels; ++c) stack.itsVolumes.push_back(Adopt(ioStack.TakeVolume(t, c)));
  for (UInt32 c = 1; c <= stack.itsChannels; ++c) stack.itsChannelNames.push_back(ioStack.GetChannelName(c));
  stack.itsUnit = ioStack.GetUnit();
  stack.itsTimeInterval = ioStack.GetTimeInterval();
  return stack;
}

// The library's stack of copies (sharing storage until written); with the
// GIL released.
XImageStack ToImageStack(const PyStack& inStack) {
  XImageStack stack(inStack.itsTimepoints, inStack.itsChannels);
  for (UInt32 t = 0; t < inStack.itsTimepoints; ++t)
    for (UInt32 c = 0; c < inStack.itsChannels; ++c)
      stack.SetVolume(t + 1, c + 1, std::unique_ptr<XVolume>(inStack.At(t, c)->Get().Clone()));
  for (UInt32 c = 0; c < inStack.itsChannels; ++c) stack.SetChannelName(c + 1, inStack.itsChannelNames[c]);
  stack.SetUnit(inStack.itsUnit);
  stack.SetTimeInterval(inStack.itsTimeInterval);
  return stack;
}

PyStack MakeStack(const py::object& inVolumes, const std::string& inUnit, Float64 inTimeInterval,
                  const py::object& inChannelNames) {
  PyStack stack;
  std::vector<std::vector<VolumePtr>> rows;
  if (py::isinstance<PyVolume>(inVolumes)) {
    rows.push_back({inVolumes.cast<VolumePtr>()});
  } else {
    for (auto row : inVolumes) {
      if (py::isinstance<PyVolume>(row))
        rows.push_back({row.cast<VolumePtr>()});
      else
        rows.push_back(row.cast<std::vector<VolumePtr>>());
    }
    // A flat list is the channels of one timepoint.
    if (!rows.empty() && py::isinstance<PyVolume>(*inVolumes.begin())) {
      std::vector<VolumePtr> channels;
      for (auto& row : rows) channels.push_back(row[0]);
      rows = {channels};
    }
  }
  if (rows.empty() || rows[0].empty()) throw py::value_error("a stack needs at least one volume");
  stack.itsTimepoints = UInt32(rows.size());
  stack.itsChannels = UInt32(rows[0].size());
  for (const auto& row : rows) {
    if (row.size() != stack.itsChannels) throw py::value_error("every timepoint needs the same number of channels");
    for (const auto& v : row) {
      const XVolume& first = rows[0][0]->Get();
      if (XPixelTypeOf(v->Get()) != XPixelTypeOf(first) || !v->Get().GetBounds().IsSameSizeAs(first.GetBounds()))
        throw py::value_error("the volumes of a stack share one pixel type and one shape");
      stack.itsVolumes.push_back(v);
    }
  }
  stack.itsChannelNames.assign(stack.itsChannels, "");
  if (!inChannelNames.is_none()) {
    auto names = inChannelNames.cast<std::vector<std::string>>();
    if (names.size() != stack.itsChannels) throw py::value_error("one channel name per channel");
    stack.itsChannelNames = names;
  }
  stack.itsUnit = inUnit;
  stack.itsTimeInterval = inTimeInterval;
  return stack;
}

PyStack StackOf(const py::object& inData) {
  if (py::isinstance<PyStack>(inData)) return inData.cast<PyStack>();
  if (py::isinstance<PyVolume>(inData)) return MakeStack(inData, "pixel", 0.0, py::none());
  throw py::type_error("files hold a Stack or a Volume");
}

XTIFFWriteOptions TIFFOptions(const py::object& inCompression, bool inBigTIFF) {
  XTIFFWriteOptions options;
  options.itsBigTIFF = inBigTIFF;
  if (inCompression.is_none()) return options;
  const std::string name = inCompression.cast<std::string>();
  if (name == "none")
    options.itsCompression = kTIFFUncompressed;
  else if (name == "deflate")
    options.itsCompression = kTIFFDeflate;
  else if (name == "lzw")
    options.itsCompression = kTIFFLZW;
  else if (name == "zstd")
    options.itsCompression = kTIFFZstd;
  else
    throw py::value_error("compression is None, 'none', 'deflate', 'lzw' or 'zstd'");
  return options;
}

// ---------------------------------------------------------------- objects

void WriteOne(XStream& ioStream, const py::object& inObject) {
  if (py::isinstance<PyVolume>(inObject)) {
    const PyVolume& volume = inObject.cast<const PyVolume&>();
    Run(py::none(), [&] { ioStream.WriteObject(volume.Get()); });
  } else if (py::isinstance<X3DRegion>(inObject)) {
    const X3DRegion& region = inObject.cast<const X3DRegion&>();
    Run(py::none(), [&] { ioStream.WriteObject(region); });
  } else {
    throw py::type_error("the stream format stores Volume and Region objects");
  }
}

py::object ReadOne(XStream& ioStream) {
  std::unique_ptr<XStorable> object(Run(py::none(), [&] { return ioStream.ReadObject(); }));
  if (!object) return py::none();
  if (auto* volume = dynamic_cast<XVolume*>(object.get())) {
    object.release();
    return py::cast(Adopt(std::unique_ptr<XVolume>(volume)));
  }
  if (auto* region = dynamic_cast<X3DRegion*>(object.get())) return py::cast(X3DRegion(std::move(*region)));
  throw py::type_error("the stream holds an object of class " + std::to_string(object->GetVersion().GetClassID()) +
                       ", which this module does not wrap");
}

py::bytes Dumps(const py::object& inObject) {
  XMemoryStream stream;
  stream.WriteStreamInfo();
  WriteOne(stream, inObject);
  return py::bytes(reinterpret_cast<const char*>(stream.GetBuffer()), stream.GetExtent());
}

py::object Loads(const py::bytes& inData) {
  std::string_view bytes = inData;
  XMemoryStream stream(bytes.data(), bytes.size());
  Run(py::none(), [&] { stream.ReadStreamInfo(); });
  return ReadOne(stream);
}

void Save(const py::object& inPath, const py::args& inObjects) {
  const std::string path = PathOf(inPath);
  auto stream = std::make_unique<XFileStream>(XFileSpec(path), kCreateReadWrite);
  stream->WriteStreamInfo();
  for (auto object : inObjects) WriteOne(*stream, py::reinterpret_borrow<py::object>(object));
  Run(py::none(), [&] { stream->Flush(); });
}

py::list Load(const py::object& inPath) {
  const std::string path = PathOf(inPath);
  std::unique_ptr<XFileStream> stream(Run(py::none(), [&] {
    auto s = std::make_unique<XFileStream>(XFileSpec(path), kReadOnly);
    s->ReadStreamInfo();
    return s;
  }));
  py::list objects;
  while (stream->GetPosition() < stream->GetExtent()) objects.append(ReadOne(*stream));
  return objects;
}

std::string Repr(const PyStack& inStack) {
  const XVolume& first = inStack.At(0, 0)->Get();
  return "<mirelan.Stack " + std::to_string(inStack.itsTimepoints) + " timepoint(s) x " +
         std::to_string(inStack.itsChannels) + " channel(s) of " + InfoOf(first).itsName + " (z=" +
         std::to_string(first.GetDepth()) + ", y=" + std::to_string(first.GetHeight()) +
         ", x=" + std::to_string(first.GetWidth()) + ")>";
}

}  // namespace

void BindFiles(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  py::class_<PyStack>(m, "Stack", R"doc(
A four-dimensional image as files hold it: timepoints by channels of volumes
that share one pixel type and one shape, with the unit of the voxel size, the
time between timepoints and the channel names. ``stack[t, c]`` is a volume
(counted from 0).
)doc")
      .def(py::init(&MakeStack), "volumes"_a, py::kw_only(), "unit"_a = "pixel", "time_interval"_a = 0.0,
           "channel_names"_a = none,
           "From a Volume, a list of channel volumes, or a list of timepoints, each a list of channel volumes.")
      .def_readonly("timepoints", &PyStack::itsTimepoints)
      .def_readonly("channels", &PyStack::itsChannels)
      .def_readwrite("unit", &PyStack::itsUnit, "The length unit of the voxel size ('µm', 'pixel', ...).")
      .def_readwrite("time_interval", &PyStack::itsTimeInterval, "Seconds between timepoints; 0 when unknown.")
      .def_property(
          "channel_names", [](const PyStack& self) { return self.itsChannelNames; },
          [](PyStack& self, const std::vector<std::string>& inNames) {
            if (inNames.size() != self.itsChannels) throw py::value_error("one channel name per channel");
            self.itsChannelNames = inNames;
          })
      .def_property_readonly("pixel_type", [](const PyStack& self) { return InfoOf(self.At(0, 0)->Get()).itsName; })
      .def_property(
          "calibration",
          [](const PyStack& self) {
            const XVolume& v = self.At(0, 0)->Get();
            return py::make_tuple(v.GetZCalibration(), v.GetYCalibration(), v.GetXCalibration());
          },
          [](PyStack& self, const py::object& inCalibration) {
            for (const auto& v : self.itsVolumes) py::cast(v).attr("calibration") = inCalibration;
          },
          "The voxel size (z, y, x) of the volumes.")
      .def(
          "__getitem__",
          [](const PyStack& self, std::pair<SInt64, SInt64> inIndex) { return self.At(inIndex.first, inIndex.second); },
          "index"_a)
      .def("__len__", [](const PyStack& self) { return self.itsTimepoints; }, "The number of timepoints.")
      .def(
          "to_array",
          [](const PyStack& self) {
            py::list timepoints;
            for (UInt32 t = 0; t < self.itsTimepoints; ++t) {
              py::list channels;
              for (UInt32 c = 0; c < self.itsChannels; ++c) channels.append(ViewOf(self.At(t, c), false));
              timepoints.append(channels);
            }
            return py::array(py::module_::import("numpy").attr("array")(timepoints));
          },
          "A copy of all voxels as one array of shape (t, c, z, y, x), with a channel axis for colour.")
      .def(
          "astype",
          [](const PyStack& self, const std::string& inPixelType, const py::object& progress) {
            XPixelType type = ParsePixelType(inPixelType);
            return FromImageStack(Run(progress, [&] { return ToImageStack(self).ConvertedTo(type); }));
          },
          "pixel_type"_a, py::kw_only(), "progress"_a = none, "A stack of every volume converted.")
      .def("__repr__", &Repr);

  m.def(
      "read",
      [](const py::object& path, const py::object& progress) {
        const std::string file = PathOf(path);
        return FromImageStack(Run(progress, [&] { return XStackFile::Read(XFileSpec(file)); }));
      },
      "path"_a, py::kw_only(), "progress"_a = none,
      "A stack from a TIFF file (ImageJ, OME-TIFF or plain pages), a .mis stack file or a PNG picture, "
      "told apart by content.");
  m.def(
      "write",
      [](const py::object& path, const py::object& data, const py::object& compression, bool bigtiff,
         const py::object& progress) {
        const std::string file = PathOf(path);
        PyStack stack = StackOf(data);
        XTIFFWriteOptions options = TIFFOptions(compression, bigtiff);
        Run(progress, [&] { XStackFile::Write(ToImageStack(stack), XFileSpec(file), options); });
      },
      "path"_a, "data"_a, py::kw_only(), "compression"_a = none, "bigtiff"_a = false, "progress"_a = none,
      "Writes a Stack or Volume as TIFF (.tif, .tiff; ImageJ hyperstack layout) or as a .mis stack file, "
      "chosen by the extension. compression: None, 'deflate', 'lzw' or 'zstd' (TIFF).");
  m.def(
      "read_tiff",
      [](const py::object& source, const py::object& progress) {
        if (py::isinstance<py::bytes>(source)) {
          std::string_view bytes = source.cast<py::bytes>();
          return FromImageStack(Run(progress, [&] { return XTIFFCodec::Read(bytes.data(), bytes.size(), "bytes"); }));
        }
        const std::string file = PathOf(source);
        return FromImageStack(Run(progress, [&] { return XTIFFCodec::Read(XFileSpec(file)); }));
      },
      "source"_a, py::kw_only(), "progress"_a = none, "A stack from a TIFF file, or from the bytes of one.");
  m.def(
      "write_tiff",
      [](const py::object& path, const py::object& data, const py::object& compression, bool bigtiff,
         const py::object& progress) {
        const std::string file = PathOf(path);
        PyStack stack = StackOf(data);
        XTIFFWriteOptions options = TIFFOptions(compression, bigtiff);
        Run(progress, [&] { XTIFFCodec::Write(ToImageStack(stack), XFileSpec(file), options); });
      },
      "path"_a, "data"_a, py::kw_only(), "compression"_a = none, "bigtiff"_a = false, "progress"_a = none,
      "Writes a Stack or Volume as a TIFF file, whatever the extension.");
  m.def(
      "write_png",
      [](const py::object& path, const PyVolume& volume, SInt32 z, bool keepAlpha) {
        const std::string file = PathOf(path);
        const XVolume& v = volume.Get();
        if (z < 0 || z >= SInt32(v.GetDepth())) throw py::index_error("no plane " + std::to_string(z));
        const SInt32 plane = v.GetBounds().front + z;
        Run(py::none(), [&] {
          if (const auto* colour = dynamic_cast<const XARGB32Volume*>(&v))
            XPNGCodec::Write(*colour, plane, XFileSpec(file), keepAlpha);
          else
            XPNGCodec::WriteGrey(v, plane, XFileSpec(file));
        });
      },
      "path"_a, "volume"_a, "z"_a = 0, py::kw_only(), "keep_alpha"_a = false,
      "Writes plane z (counted from 0) of a grey8, mask, grey16 or argb32 volume as a PNG picture.");

  m.def("dumps", &Dumps, "object"_a, "A Volume or Region in the library's stream format (with the stream header).");
  m.def("loads", &Loads, "data"_a, "The Volume or Region of bytes made by dumps (or by the library).");
  m.def("save", &Save, "path"_a,
        "Writes Volume and Region objects to a stream file: the stream header, then each object.");
  m.def("load", &Load, "path"_a, "The objects of a stream file written by save (or by the library).");

  // Pickling goes through the stream format, by Python functions that pickle
  // can name (functions bound from C++ cannot be pickled by reference). The
  // stream format has no grey32 volumes: those go as arrays.
  py::exec(R"py(
def _unpickle(data):
    return loads(data)

def _unpickle_array(array, pixel_type, origin, calibration):
    return Volume.from_array(array, pixel_type, origin=origin, calibration=calibration)

def _reduce_volume(self):
    if self.pixel_type == "grey32":
        return (_unpickle_array, (self.to_array(), self.pixel_type, self.origin, self.calibration))
    return (_unpickle, (dumps(self),))

def _reduce_region(self):
    return (_unpickle, (dumps(self),))

Volume.__reduce__ = _reduce_volume
Region.__reduce__ = _reduce_region
)py",
           m.attr("__dict__"));
}

}  // namespace mirelan::python
