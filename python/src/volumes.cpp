// Volumes as numpy arrays: views that hold the voxel lock for as long as they
// live, arrays taken over without a copy, and conversion between pixel types.
#include <cstring>
#include <limits>
#include <vector>

#include "MirelanPython.h"
#include "core/XMemoryHandle.h"
#include "rendering/XImageRenderer.h"
#include "volume/XColourVolumes.h"

namespace mirelan::python {

namespace {

// The storage handle is protected; a using-declaration in a derived class
// names it without copying the handle (a copy would share or copy the block).
struct StorageAccess : XBasePackedVolume {
  using XBasePackedVolume::itsStorage;
};

constexpr SInt64 kMaxSide = std::numeric_limits<SInt32>::max();

const PixelInfo kPixelInfos[] = {
    {XPixelType::kGrey8, "grey8", "B", 1, 0},   {XPixelType::kMask, "mask", "B", 1, 0},
    {XPixelType::kGrey16, "grey16", "H", 2, 0}, {XPixelType::kGrey32, "grey32", "I", 4, 0},
    {XPixelType::kFloat, "float", "f", 4, 0},   {XPixelType::kARGB32, "argb32", "B", 1, 4},
    {XPixelType::kBGRA32, "bgra32", "B", 1, 4}, {XPixelType::kRGB48, "rgb48", "H", 2, 3},
};

py::module_ Numpy() { return py::module_::import("numpy"); }

std::string TextOf(py::handle inObject) { return py::str(inObject).cast<std::string>(); }

}  // namespace

// ------------------------------------------------------------------ PyVolume

PyVolume::~PyVolume() {
  itsVolume.reset();  // host memory goes back through its own release, which takes the GIL
  if (itsForeignOwner && Py_IsInitialized()) {
    py::gil_scoped_acquire gil;
    Py_DECREF(itsForeignOwner);
  }
}

const XMemoryHandle& PyVolume::Storage() const { return (*itsVolume).*(&StorageAccess::itsStorage); }

XMemoryHandle& PyVolume::MutableStorage() { return (*itsVolume).*(&StorageAccess::itsStorage); }

VolumePtr Adopt(std::unique_ptr<XVolume> inVolume) {
  auto* packed = dynamic_cast<XBasePackedVolume*>(inVolume.get());
  if (!packed) throw py::type_error("the library returned a volume that is not held in memory");
  inVolume.release();
  return std::make_shared<PyVolume>(std::unique_ptr<XBasePackedVolume>(packed));
}

void RequireNoViews(const PyVolume& inVolume, const char* inWhat) {
  if (inVolume.itsLockingViews)
    throw py::buffer_error(std::string(inWhat) + " replaces the volume's storage, which " +
                           std::to_string(inVolume.itsLockingViews) +
                           " live view(s) hold locked; delete the views first or work on a copy");
}

// ---------------------------------------------------------------- pixel types

const PixelInfo& InfoOf(XPixelType inType) {
  for (const auto& info : kPixelInfos)
    if (info.itsType == inType) return info;
  throw py::value_error("unknown pixel type");
}

const PixelInfo& InfoOf(const XVolume& inVolume) { return InfoOf(XPixelTypeOf(inVolume)); }

XPixelType ParsePixelType(const std::string& inName) {
  for (const auto& info : kPixelInfos)
    if (inName == info.itsName) return info.itsType;
  std::string known;
  for (const auto& info : kPixelInfos) known += std::string(known.empty() ? "" : ", ") + info.itsName;
  throw py::value_error("unknown pixel type '" + inName + "'; the pixel types are " + known);
}

py::dtype DtypeOf(const PixelInfo& inInfo) {
  switch (inInfo.itsChannelBytes) {
    case 1: return py::dtype::of<UInt8>();
    case 2: return py::dtype::of<UInt16>();
    default: return inInfo.itsType == XPixelType::kFloat ? py::dtype::of<Float32>() : py::dtype::of<UInt32>();
  }
}

// ---------------------------------------------------------------- coordinates

ZYX ToZYX(const py::object& inValue, const char* inWhat, SInt64 inDefaultZ) {
  auto seq = py::reinterpret_borrow<py::sequence>(inValue);
  if (!py::isinstance<py::sequence>(inValue) || (py::len(seq) != 3 && py::len(seq) != 2))
    throw py::type_error(std::string(inWhat) + " must be a (z, y, x) or (y, x) sequence of integers");
  std::vector<SInt64> values;
  for (auto item : seq) values.push_back(py::cast<SInt64>(item));
  if (values.size() == 2) values.insert(values.begin(), inDefaultZ);
  return {values[0], values[1], values[2]};
}

X3DRect BoxOf(const ZYX& inOrigin, const ZYX& inShape) {
  auto check = [](SInt64 inLow, SInt64 inSize, const char* inAxis) {
    if (inSize < 0) throw py::value_error(std::string("a negative size along ") + inAxis);
    if (inSize > kMaxSide || inLow < std::numeric_limits<SInt32>::min() || inLow + inSize > kMaxSide)
      throw py::value_error(std::string("the box leaves the 32-bit coordinate range along ") + inAxis);
  };
  check(inOrigin.x, inShape.x, "x");
  check(inOrigin.y, inShape.y, "y");
  check(inOrigin.z, inShape.z, "z");
  return X3DRect(SInt32(inOrigin.x), SInt32(inOrigin.y), SInt32(inOrigin.z), SInt32(inOrigin.x + inShape.x),
                 SInt32(inOrigin.y + inShape.y), SInt32(inOrigin.z + inShape.z));
}

py::tuple OriginOf(const X3DRect& inBox) { return py::make_tuple(inBox.front, inBox.top, inBox.left); }
py::tuple ShapeOf(const X3DRect& inBox) {
  return py::make_tuple(inBox.GetDepth(), inBox.GetHeight(), inBox.GetWidth());
}

namespace {

// ---------------------------------------------------------------- views

// What a numpy view of a volume holds: the lock, and whatever keeps the
// viewed memory alive.
//
// A writeable view read-write locks the volume itself, which first gives the
// volume a block of its own if it shared one with a copy, so writes through
// the view never reach the copy. A read view of the volume's own memory locks
// a handle on the block: while it lives the block is shared, so the library
// writes the volume into a fresh copy and the view keeps showing what it
// showed. A read view of memory taken over from an array locks the volume and
// holds the array, which may itself be written behind the locks anyway.
class ViewLock {
 public:
  ViewLock(VolumePtr inVolume, bool inWriteable) : itsVolume(std::move(inVolume)), itsWriteable(inWriteable) {
    PyVolume& volume = *itsVolume;
    if (inWriteable && volume.itsWriteViews)
      throw py::buffer_error("the volume already has a writeable view; delete it before asking for another");
    const bool foreign = volume.Storage().IsForeignMemory();
    {
      py::gil_scoped_release release;
      if (inWriteable || foreign) {
        itsLock = std::make_unique<XLock>(volume.Get(), inWriteable ? kLockReadWrite : kLockRead);
        itsData = volume.Get().GetBasePtr();
        itsLocksVolume = true;
      } else {
        XLock present(volume.Get(), kLockRead);  // fetches or byte-swaps the data first
        itsHandle = std::make_unique<XMemoryHandle>(volume.Storage());
        itsLock = std::make_unique<XLock>(*itsHandle, kLockRead);
        itsData = itsHandle->GetData();
      }
    }
    if (foreign && !inWriteable && volume.itsForeignOwner) {
      itsOwner = volume.itsForeignOwner;
      Py_INCREF(itsOwner);
    }
    ++(inWriteable ? volume.itsWriteViews : volume.itsReadViews);
    if (itsLocksVolume) ++volume.itsLockingViews;
  }

  ~ViewLock() {
    PyVolume& volume = *itsVolume;
    --(itsWriteable ? volume.itsWriteViews : volume.itsReadViews);
    if (itsLocksVolume) --volume.itsLockingViews;
    itsLock.reset();
    itsHandle.reset();
    Py_XDECREF(itsOwner);
  }

  ViewLock(const ViewLock&) = delete;
  ViewLock& operator=(const ViewLock&) = delete;

  UInt8* GetData() const { return itsData; }
  bool IsWriteable() const { return itsWriteable; }

 private:
  VolumePtr itsVolume;
  bool itsWriteable;
  bool itsLocksVolume = false;
  std::unique_ptr<XMemoryHandle> itsHandle;  // declared before the lock that refers to it
  std::unique_ptr<XLock> itsLock;
  PyObject* itsOwner = nullptr;
  UInt8* itsData = nullptr;
};

struct Geometry {
  std::vector<py::ssize_t> itsShape;
  std::vector<py::ssize_t> itsStrides;
};

// (z, y, x) with the volume's own strides (rows may carry padding from a
// stream), and the channel axis for colour.
Geometry GeometryOf(const XBasePackedVolume& inVolume, const PixelInfo& inInfo) {
  Geometry g;
  g.itsShape = {py::ssize_t(inVolume.GetDepth()), py::ssize_t(inVolume.GetHeight()), py::ssize_t(inVolume.GetWidth())};
  g.itsStrides = {py::ssize_t(inVolume.GetPlaneBytes()), py::ssize_t(inVolume.GetRowBytes()),
                  py::ssize_t(inVolume.GetVoxelBytes())};
  if (inInfo.itsChannels) {
    g.itsShape.push_back(inInfo.itsChannels);
    g.itsStrides.push_back(inInfo.itsChannelBytes);
  }
  return g;
}

}  // namespace

py::array ViewOf(const VolumePtr& inVolume, bool inWriteable) {
  auto lock = std::make_unique<ViewLock>(inVolume, inWriteable);
  UInt8* data = lock->GetData();
  const PixelInfo& info = InfoOf(inVolume->Get());
  Geometry g = GeometryOf(inVolume->Get(), info);
  py::object holder = py::cast(std::move(lock));
  py::array view(DtypeOf(info), g.itsShape, g.itsStrides, data, holder);
  if (!inWriteable) view.attr("setflags")(py::arg("write") = false);
  return view;
}

namespace {

// The buffer protocol: a read view whose Py_buffer owns the lock holder, so
// that releasing the buffer drops the lock.
py::buffer_info BufferOf(PyVolume& inVolume) {
  VolumePtr volume = inVolume.shared_from_this();
  auto lock = std::make_unique<ViewLock>(volume, false);
  UInt8* data = lock->GetData();
  const PixelInfo& info = InfoOf(volume->Get());
  Geometry g = GeometryOf(volume->Get(), info);
  py::object holder = py::cast(std::move(lock));

  auto* buffer = new Py_buffer();
  buffer->buf = data;
  buffer->obj = holder.release().ptr();
  buffer->itemsize = info.itsChannelBytes;
  buffer->len = buffer->itemsize;
  for (auto extent : g.itsShape) buffer->len *= extent;
  buffer->readonly = 1;
  buffer->ndim = int(g.itsShape.size());
  buffer->format = const_cast<char*>(info.itsFormat);
  buffer->shape = g.itsShape.data();
  buffer->strides = g.itsStrides.data();
  py::buffer_info result(buffer, true);
  buffer->shape = buffer->strides = nullptr;  // result keeps its own copies
  return result;
}

// ---------------------------------------------------------------- from_array

struct Layout {
  XPixelType itsType;
  ZYX itsShape;
  UInt32 itsSourceChannels;  // 0 for grey
};

bool IsColour(XPixelType inType) {
  return inType == XPixelType::kARGB32 || inType == XPixelType::kBGRA32 || inType == XPixelType::kRGB48;
}

XPixelType DefaultGreyType(const py::dtype& inDtype) {
  const char kind = inDtype.kind();
  const auto size = inDtype.itemsize();
  if (kind == 'b') return XPixelType::kMask;
  if (kind == 'u' && size == 1) return XPixelType::kGrey8;
  if (kind == 'u' && size == 2) return XPixelType::kGrey16;
  if (kind == 'u' && size == 4) return XPixelType::kGrey32;
  if (kind == 'f' && size <= 8) return XPixelType::kFloat;
  throw py::type_error("no pixel type holds " + TextOf(inDtype) +
                       " voxels; convert the array (astype) or pass pixel_type= to have it cast");
}

// Which volume the array becomes: 2-D is one plane; 3-D is (z, y, x), or
// (y, x, channels) for a colour type; 4-D is (z, y, x, channels).
Layout LayoutOf(const py::array& inArray, const py::object& inPixelType) {
  const char kind = inArray.dtype().kind();
  if (kind != 'b' && kind != 'u' && kind != 'i' && kind != 'f')
    throw py::type_error("volumes hold numbers; an array of " + TextOf(inArray.dtype()) +
                         " cannot become one");
  const bool typed = !inPixelType.is_none();
  Layout layout{typed ? ParsePixelType(inPixelType.cast<std::string>()) : XPixelType::kGrey8, {}, 0};
  const auto ndim = inArray.ndim();
  auto dim = [&](py::ssize_t i) { return SInt64(inArray.shape(i)); };
  bool colour;
  if (ndim == 2) {
    layout.itsShape = {1, dim(0), dim(1)};
    colour = false;
  } else if (ndim == 3 && !(typed && IsColour(layout.itsType))) {
    layout.itsShape = {dim(0), dim(1), dim(2)};
    colour = false;
  } else if (ndim == 3) {
    layout.itsShape = {1, dim(0), dim(1)};
    layout.itsSourceChannels = UInt32(dim(2));
    colour = true;
  } else if (ndim == 4) {
    layout.itsShape = {dim(0), dim(1), dim(2)};
    layout.itsSourceChannels = UInt32(dim(3));
    colour = true;
  } else {
    throw py::value_error("a volume array has 2 (y, x), 3 (z, y, x) or 4 (z, y, x, channels) dimensions, not " +
                          std::to_string(ndim));
  }
  if (!colour) {
    if (!typed) layout.itsType = DefaultGreyType(inArray.dtype());
    if (IsColour(layout.itsType)) throw py::value_error("a colour volume needs a channel axis");
    return layout;
  }
  const UInt32 channels = layout.itsSourceChannels;
  if (channels != 3 && channels != 4)
    throw py::value_error("the channel axis of a colour array has 3 (r, g, b) or 4 (in the memory order of "
                          "the pixel type) entries, not " + std::to_string(channels));
  if (!typed) {
    if (kind == 'u' && inArray.itemsize() == 1)
      layout.itsType = XPixelType::kARGB32;
    else if (kind == 'u' && inArray.itemsize() == 2)
      layout.itsType = XPixelType::kRGB48;
    else
      throw py::type_error("colour arrays are uint8 (argb32) or uint16 (rgb48), not " +
                           TextOf(inArray.dtype()));
  }
  if (!IsColour(layout.itsType))
    throw py::value_error(std::string("a 4-dimensional array needs a colour pixel type, not ") +
                          InfoOf(layout.itsType).itsName);
  if (layout.itsType == XPixelType::kRGB48 && channels != 3)
    throw py::value_error("rgb48 voxels have 3 channels (r, g, b)");
  return layout;
}

void SetCalibration(XVolume& ioVolume, const py::object& inCalibration) {
  if (inCalibration.is_none()) return;
  Float64 z, y, x;
  if (py::isinstance<py::sequence>(inCalibration)) {
    auto seq = inCalibration.cast<std::vector<Float64>>();
    if (seq.size() != 3) throw py::value_error("calibration is one number or a (z, y, x) triple");
    z = seq[0], y = seq[1], x = seq[2];
  } else {
    z = y = x = inCalibration.cast<Float64>();
  }
  ioVolume.SetXCalibration(x);
  ioVolume.SetYCalibration(y);
  ioVolume.SetZCalibration(z);
}

VolumePtr NewVolume(XPixelType inType, const ZYX& inShape, const py::object& inOrigin) {
  ZYX origin = inOrigin.is_none() ? ZYX{} : ToZYX(inOrigin, "origin");
  X3DRect box = BoxOf(origin, inShape);
  return Adopt(XNewVolume(inType, box));
}

// Why the array's memory cannot be taken over as it is; empty when it can.
std::string WhyNotShared(const py::array& inArray, const Layout& inLayout) {
  const PixelInfo& info = InfoOf(inLayout.itsType);
  const auto flags = inArray.flags();
  if (!inArray.dtype().equal(DtypeOf(info)))
    return "its dtype is " + TextOf(inArray.dtype()) + ", the voxels of " + info.itsName +
           " are " + TextOf(DtypeOf(info));
  if (inLayout.itsType == XPixelType::kMask && inArray.dtype().kind() == 'b') return "bool is not a mask byte";
  if (inLayout.itsSourceChannels && inLayout.itsSourceChannels != info.itsChannels)
    return "its channels must be made into " + std::to_string(info.itsChannels);
  if (!(flags & py::array::c_style)) return "it is not C-contiguous";
  if (!(flags & py::detail::npy_api::NPY_ARRAY_ALIGNED_)) return "it is not aligned";
  if (!py::bool_(inArray.dtype().attr("isnative"))) return "its byte order is not the machine's";
  return {};
}

// The converted copy: numpy casts and walks strides into a writeable view.
void CopyInto(const VolumePtr& ioVolume, const py::array& inArray, const Layout& inLayout) {
  py::array view = ViewOf(ioVolume, true);
  py::object source = inArray;
  if (inArray.ndim() == 2 || (inArray.ndim() == 3 && inLayout.itsSourceChannels))
    source = inArray[py::make_tuple(py::none())];  // one plane
  const UInt32 channels = inLayout.itsSourceChannels;
  const XPixelType type = inLayout.itsType;
  if (type == XPixelType::kMask && !(inArray.dtype().kind() == 'u' && inArray.itemsize() == 1)) {
    view[py::ellipsis()] = Numpy().attr("not_equal")(source, 0);
    view.attr("__imul__")(255);
  } else if (channels == 3 && type == XPixelType::kARGB32) {
    view[py::make_tuple(py::ellipsis(), 0)] = 255;
    view[py::make_tuple(py::ellipsis(), py::slice(1, 4, 1))] = source;
  } else if (channels == 3 && type == XPixelType::kBGRA32) {
    view[py::make_tuple(py::ellipsis(), py::slice(0, 3, 1))] =
        source[py::make_tuple(py::ellipsis(), py::slice(py::none(), py::none(), py::int_(-1)))];
    view[py::make_tuple(py::ellipsis(), 3)] = 255;
  } else {
    Numpy().attr("copyto")(view, source, py::arg("casting") = "unsafe");
  }
}

VolumePtr FromArray(const py::object& inArray, const py::object& inPixelType, const py::object& inCalibration,
                    const py::object& inOrigin, const py::object& inCopy) {
  py::array array = py::array::ensure(inArray);
  if (!array) throw py::type_error("from_array needs an array or a nested sequence of numbers");
  Layout layout = LayoutOf(array, inPixelType);
  const std::string why = WhyNotShared(array, layout);
  const bool share = why.empty() && !(py::isinstance<py::bool_>(inCopy) && inCopy.cast<bool>());
  if (!share && py::isinstance<py::bool_>(inCopy) && !inCopy.cast<bool>())
    throw py::value_error("copy=False, but the array's memory cannot be shared: " + why);

  VolumePtr volume = NewVolume(layout.itsType, layout.itsShape, inOrigin);
  SetCalibration(volume->Get(), inCalibration);
  if (share) {
    PyObject* owner = array.ptr();
    Py_INCREF(owner);  // for the block; released with it, from whatever thread
    // The volume's own block, all of it, is the array's: the spare bytes
    // behind the last voxel are not needed (blocks read from streams lack
    // them too).
    volume->MutableStorage().SetForeignMemory(
        const_cast<void*>(array.data()), UInt64(array.nbytes()), !array.writeable(), [owner] {
          if (!Py_IsInitialized()) return;
          py::gil_scoped_acquire gil;
          Py_DECREF(owner);
        });
    volume->itsForeignOwner = owner;
    Py_INCREF(owner);
  } else {
    CopyInto(volume, array, layout);
  }
  return volume;
}

// ---------------------------------------------------------------- operations

ZYX ShapeArgument(const py::object& inShape, const PixelInfo& inInfo) {
  auto seq = py::reinterpret_borrow<py::sequence>(inShape);
  if (py::isinstance<py::sequence>(inShape) && py::len(seq) == 4) {
    if (!inInfo.itsChannels || seq[3].cast<UInt32>() != inInfo.itsChannels)
      throw py::value_error(std::string("a shape with a channel axis needs the channel count of ") + inInfo.itsName);
    return {seq[0].cast<SInt64>(), seq[1].cast<SInt64>(), seq[2].cast<SInt64>()};
  }
  return ToZYX(inShape, "shape", 1);
}

VolumePtr Construct(const py::object& inShape, const std::string& inPixelType, const py::object& inOrigin,
                    const py::object& inCalibration) {
  XPixelType type = ParsePixelType(inPixelType);
  VolumePtr volume = NewVolume(type, ShapeArgument(inShape, InfoOf(type)), inOrigin);
  SetCalibration(volume->Get(), inCalibration);
  Run(py::none(), [&] { volume->Get().Clear(); });
  return volume;
}

VolumePtr AsType(const VolumePtr& inVolume, const std::string& inPixelType, const py::object& inProgress) {
  XPixelType type = ParsePixelType(inPixelType);
  const XBasePackedVolume& source = inVolume->Get();
  return Adopt(Run(inProgress, [&] {
    std::unique_ptr<XVolume> dest = XNewVolume(type, source.GetBounds());
    dest->CopyScalingFrom(source);
    dest->CopyIn(source, source.GetBounds(), dest->GetBounds(), nullptr);
    return dest;
  }));
}

std::string Repr(const PyVolume& inVolume) {
  const XBasePackedVolume& v = inVolume.Get();
  std::string text = "<mirelan.Volume " + std::string(InfoOf(v).itsName) + " (z=" + std::to_string(v.GetDepth()) +
                     ", y=" + std::to_string(v.GetHeight()) + ", x=" + std::to_string(v.GetWidth()) + ")";
  const X3DRect& b = v.GetBounds();
  if (b.left || b.top || b.front)
    text += " at (" + std::to_string(b.front) + ", " + std::to_string(b.top) + ", " + std::to_string(b.left) + ")";
  return text + ">";
}

}  // namespace

void BindVolumes(py::module_& m) {
  using namespace pybind11::literals;
  py::class_<ViewLock>(m, "_ViewLock", "Holds a volume's voxel lock for as long as a numpy view of it lives.")
      .def_property_readonly("writeable", &ViewLock::IsWriteable);

  py::class_<PyVolume, VolumePtr>(m, "Volume", py::buffer_protocol(), R"doc(
A box of voxels of one pixel type, with an origin and a voxel size.

Pixel types and their numpy form (shape (z, y, x), colour types with a last
channel axis in the order of their bytes in memory):

  grey8 uint8, mask uint8 (0 or 255; a byte above 127 is set), grey16 uint16,
  grey32 uint32, float float32, argb32 uint8 (a, r, g, b), bgra32 uint8
  (b, g, r, a), rgb48 uint16 (r, g, b).

``np.asarray(volume)`` and ``memoryview(volume)`` are read-only views without
a copy; ``volume.view(writeable=True)`` is a writeable one. A view holds the
volume's voxel lock until it is garbage: a volume has at most one writeable
view at a time. A read-only view shows the voxels as they were when it was
made (copy-on-write), unless the volume shares an array's memory.
)doc")
      .def(py::init(&Construct), "shape"_a, "pixel_type"_a = "grey8", py::kw_only(), "origin"_a = py::none(),
           "calibration"_a = py::none(),
           "A new volume of the given shape ((z, y, x), or (y, x) for one plane), cleared to 0.")
      .def_static("from_array", &FromArray, "array"_a, "pixel_type"_a = py::none(), py::kw_only(),
                  "calibration"_a = py::none(), "origin"_a = py::none(), "copy"_a = py::none(),
                  R"doc(
A volume from a numpy array (or anything numpy can turn into one).

The volume shares the array's memory when it can: a C-contiguous, aligned
array of the pixel type's dtype. Otherwise the voxels are converted into a
new volume, cast as numpy's astype casts. ``copy=True`` always copies;
``copy=False`` raises ValueError when the memory cannot be shared.

Without ``pixel_type`` the dtype chooses: bool mask (True becomes 255), uint8
grey8, uint16 grey16, uint32 grey32, float32 and float64 float; a last axis of
3 or 4 on a 4-D uint8 array argb32, on uint16 rgb48. Three channels are
(r, g, b) and get an opaque alpha; four are taken in the pixel type's byte
order. ``calibration`` is the voxel size, one number or (z, y, x).
)doc")
      .def_buffer(&BufferOf)
      .def("view", &ViewOf, "writeable"_a = false,
           "A numpy view of the voxels without a copy, holding the volume's lock while it lives. Only one "
           "writeable view may live at a time.")
      .def(
          "to_array", [](const VolumePtr& self) { return py::array(ViewOf(self, false).attr("copy")()); },
          "A copy of the voxels as a new numpy array.")
      .def_property_readonly("pixel_type", [](const PyVolume& self) { return InfoOf(self.Get()).itsName; })
      .def_property_readonly("dtype", [](const PyVolume& self) { return DtypeOf(InfoOf(self.Get())); })
      .def_property_readonly(
          "shape",
          [](const PyVolume& self) {
            Geometry g = GeometryOf(self.Get(), InfoOf(self.Get()));
            return py::tuple(py::cast(g.itsShape));
          },
          "The shape of the volume's array: (z, y, x), with a channel axis for colour.")
      .def_property_readonly("depth", [](const PyVolume& self) { return self.Get().GetDepth(); })
      .def_property_readonly("height", [](const PyVolume& self) { return self.Get().GetHeight(); })
      .def_property_readonly("width", [](const PyVolume& self) { return self.Get().GetWidth(); })
      .def_property_readonly("nbytes", [](const PyVolume& self) { return self.Get().GetVolumeBytes(); })
      .def_property_readonly("description", [](const PyVolume& self) { return self.Get().GetDescription(); })
      .def_property_readonly("channel_count", [](const PyVolume& self) { return self.Get().GetChannelCount(); },
                             "Colour channels the library counts: 3 for argb32 and rgb48, 1 otherwise.")
      .def_property(
          "origin", [](const PyVolume& self) { return OriginOf(self.Get().GetBounds()); },
          [](PyVolume& self, const py::object& inOrigin) {
            ZYX to = ToZYX(inOrigin, "origin");
            const X3DRect& b = self.Get().GetBounds();
            BoxOf(to, {b.GetDepth(), b.GetHeight(), b.GetWidth()});  // checks the range
            self.Get().OffsetBounds(SInt32(to.x - b.left), SInt32(to.y - b.top), SInt32(to.z - b.front));
          },
          "The (z, y, x) coordinates of the first voxel; tools and regions work in these coordinates.")
      .def_property(
          "calibration",
          [](const PyVolume& self) {
            const XVolume& v = self.Get();
            return py::make_tuple(v.GetZCalibration(), v.GetYCalibration(), v.GetXCalibration());
          },
          [](PyVolume& self, const py::object& inCalibration) { SetCalibration(self.Get(), inCalibration); },
          "The voxel size (z, y, x); set it from one number or a triple.")
      .def_property(
          "display_range",
          [](const PyVolume& self) -> py::object {
            if (!self.Get().HasPlaneRenderer()) return py::none();
            const XImageRenderer& r = self.Get().GetPlaneRenderer();
            return py::make_tuple(r.GetBlack(), r.GetWhite());
          },
          [](PyVolume& self, std::pair<Float64, Float64> inRange) {
            if (!self.Get().HasPlaneRenderer())
              throw py::type_error(std::string(InfoOf(self.Get()).itsName) + " volumes have no renderer");
            XImageRenderer& r = self.Get().GetPlaneRenderer();
            r.SetBlack(inRange.first);
            r.SetWhite(inRange.second);
          },
          "The (black, white) values of the volume's renderer: what render draws as black and white, and "
          "what astype maps float volumes through; None for grey32, which has no renderer.")
      .def_property_readonly("lock_count", [](const PyVolume& self) { return self.Storage().GetLockCount(); },
                             "Locks held on the volume's storage block, views among them.")
      .def_property_readonly(
          "view_count",
          [](const PyVolume& self) { return py::make_tuple(self.itsReadViews, self.itsWriteViews); },
          "The live (read-only, writeable) views.")
      .def_property_readonly("is_shared", [](const PyVolume& self) { return self.Storage().IsShared(); },
                             "Whether the storage block is shared with a copy (copy-on-write pending).")
      .def_property_readonly(
          "shares_array_memory", [](const PyVolume& self) { return self.Storage().IsForeignMemory(); },
          "Whether the voxels are the memory of the array given to from_array.")
      .def("astype", &AsType, "pixel_type"_a, py::kw_only(), "progress"_a = py::none(),
           "A new volume of another pixel type, converted by the library's rules (floats are mapped "
           "through the display ranges of the volumes' renderers).")
      .def(
          "copy", [](const PyVolume& self) { return Adopt(Run(py::none(), [&] { return self.Get().Clone(); })); },
          "A copy; it shares the storage until one of the two is written.")
      .def(
          "crop",
          [](const PyVolume& self, const py::object& inOrigin, const py::object& inShape) {
            X3DRect box = BoxOf(ToZYX(inOrigin, "origin"), ToZYX(inShape, "shape", 1));
            return Adopt(Run(py::none(), [&] { return self.Get().Clone(box); }));
          },
          "origin"_a, "shape"_a,
          "A new volume of the box (in the volume's coordinates); parts outside the volume are 0.")
      .def(
          "equals",
          [](const PyVolume& self, const PyVolume& inOther) {
            return Run(py::none(), [&] { return self.Get() == inOther.Get(); });
          },
          "other"_a, "Same box and equal voxels, converting the other volume's pixel type when it differs.")
      .def(
          "crc32", [](const PyVolume& self) { return Run(py::none(), [&] { return self.Get().CalculateCRC(); }); },
          "The library's volume checksum.")
      .def("__repr__", &Repr);
}

}  // namespace mirelan::python
