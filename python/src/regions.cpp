// Regions: sets of voxels as a box with an optional mask, made from and
// turned into boolean arrays, with the set algebra of Python's sets.
#include "MirelanPython.h"
#include "tools/XPaintVolumeTool.h"
#include "volume/XMaskVolume.h"

namespace mirelan::python {

namespace {

X3DRegion BoxRegion(const py::object& inOrigin, const py::object& inShape) {
  if (inShape.is_none()) {
    if (!inOrigin.is_none()) throw py::type_error("a region box needs a shape as well as an origin");
    return X3DRegion();
  }
  ZYX origin = inOrigin.is_none() ? ZYX{} : ToZYX(inOrigin, "origin");
  return X3DRegion(BoxOf(origin, ToZYX(inShape, "shape", 1)));
}

// The voxels of a (z, y, x) array that are not 0, at origin.
X3DRegion FromArray(const py::object& inArray, const py::object& inOrigin) {
  py::array array = py::array::ensure(inArray);
  if (!array) throw py::type_error("Region.from_array needs an array or a nested sequence");
  if (array.ndim() == 2) array = array[py::make_tuple(py::none())];
  if (array.ndim() != 3) throw py::value_error("a region array has 2 (y, x) or 3 (z, y, x) dimensions");
  ZYX origin = inOrigin.is_none() ? ZYX{} : ToZYX(inOrigin, "origin");
  X3DRect box = BoxOf(origin, {array.shape(0), array.shape(1), array.shape(2)});
  VolumePtr mask = Adopt(XNewVolume(XPixelType::kMask, box));
  {
    py::array view = ViewOf(mask, true);
    py::module_::import("numpy").attr("not_equal")(array, 0, py::arg("out") = view.attr("view")("bool"));
    view.attr("__imul__")(255);
  }
  const auto& maskVolume = static_cast<const XMaskVolume&>(mask->Get());
  return Run(py::none(), [&] { return X3DRegion(maskVolume); });
}

// A boolean array of the frame (the region's own box by default): True where
// the region holds the voxel.
py::array ToArray(const X3DRegion& inRegion, const py::object& inOrigin, const py::object& inShape) {
  X3DRect frame = inRegion.GetBounds();
  if (!inOrigin.is_none() || !inShape.is_none()) {
    if (inOrigin.is_none() || inShape.is_none()) throw py::type_error("a frame needs both origin and shape");
    frame = BoxOf(ToZYX(inOrigin, "origin"), ToZYX(inShape, "shape", 1));
  }
  VolumePtr mask = Adopt(XNewVolume(XPixelType::kMask, frame));
  Run(py::none(), [&] {
    mask->Get().Clear();
    XPaintVolumeTool::FillRegion(mask->Get(), inRegion, XARGB32Colour(255, 255, 255, 255));
  });
  return py::array(ViewOf(mask, false).attr("__gt__")(127));
}

bool ContainsPoint(const X3DRegion& inRegion, const py::object& inPoint) {
  ZYX p = ToZYX(inPoint, "point");
  const X3DRect& b = inRegion.GetBounds();
  if (p.x < b.left || p.x >= b.right || p.y < b.top || p.y >= b.bottom || p.z < b.front || p.z >= b.back) return false;
  XLock lock(inRegion, kLockRead);
  return inRegion.Contains(SInt32(p.x), SInt32(p.y), SInt32(p.z));
}

template <class Op>
X3DRegion Combined(const X3DRegion& inA, const X3DRegion& inB, Op inOp) {
  X3DRegion result(inA);
  Run(py::none(), [&] { inOp(result, inB); });
  return result;
}

py::tuple Centroid(const X3DRegion& inRegion) {
  X3DPointF c;
  Run(py::none(), [&] { inRegion.CalculateCentroid(c); });
  return py::make_tuple(c.z, c.y, c.x);
}

std::string Repr(const X3DRegion& inRegion) {
  const X3DRect& b = inRegion.GetBounds();
  if (inRegion.IsEmpty()) return "<mirelan.Region empty>";
  return std::string("<mirelan.Region ") + (inRegion.IsSimple() ? "box" : "mask") + " origin=(" +
         std::to_string(b.front) + ", " + std::to_string(b.top) + ", " + std::to_string(b.left) + ") shape=(" +
         std::to_string(b.GetDepth()) + ", " + std::to_string(b.GetHeight()) + ", " + std::to_string(b.GetWidth()) + ")>";
}

}  // namespace

void BindRegions(py::module_& m) {
  using namespace pybind11::literals;
  using R = X3DRegion;
  auto inPlace = [](auto inOp) {
    return [inOp](R& self, const R& inOther) -> R& {
      Run(py::none(), [&] { inOp(self, inOther); });
      return self;
    };
  };
  auto sect = [](R& a, const R& b) { a.Sect(b); };
  auto unite = [](R& a, const R& b) { a.Union(b); };
  auto exclusive = [](R& a, const R& b) { a.Xor(b); };
  auto subtract = [](R& a, const R& b) { a.Difference(b); };

  py::class_<R>(m, "Region", R"doc(
A set of voxels, in the coordinates of the volumes it is used with: a box,
or a box with a mask. Operations that change the set shrink the box to the
set voxels. Regions combine like Python sets: ``a & b``, ``a | b``,
``a ^ b``, ``a - b`` and their in-place forms.
)doc")
      .def(py::init(&BoxRegion), "origin"_a = py::none(), "shape"_a = py::none(),
           "The box of shape (z, y, x) at origin (0, 0, 0 by default); without a shape the empty region.")
      .def_static("from_array", &FromArray, "array"_a, "origin"_a = py::none(),
                  "The voxels where the (z, y, x) array is not 0 (True), the array's first voxel at origin.")
      .def_static(
          "from_mask",
          [](const PyVolume& inMask) {
            const auto* mask = dynamic_cast<const XMaskVolume*>(&inMask.Get());
            if (!mask) throw py::type_error("from_mask needs a volume of pixel type mask");
            return Run(py::none(), [&] { return R(*mask); });
          },
          "volume"_a, "The voxels of a mask volume above 127.")
      .def("to_array", &ToArray, "origin"_a = py::none(), "shape"_a = py::none(),
           "A bool array of the region's box, or of the frame given by origin and shape.")
      .def(
          "mask", [](const R& self) { return Adopt(Run(py::none(), [&] { return new XMaskVolume(self.GetMaskVolume()); })); },
          "The region's box as a mask volume (255 in the region, 0 elsewhere).")
      .def_property_readonly("origin", [](const R& self) { return OriginOf(self.GetBounds()); })
      .def_property_readonly("shape", [](const R& self) { return ShapeOf(self.GetBounds()); })
      .def_property_readonly("is_empty", &R::IsEmpty)
      .def_property_readonly("is_box", &R::IsSimple, "Whether the region is its whole box (no mask).")
      .def_property_readonly(
          "voxel_count", [](const R& self) { return Run(py::none(), [&] { return self.GetVolume(); }); },
          "The number of voxels in the region (counted in 32 bits, as stored regions count).")
      .def("centroid", &Centroid, "The mean (z, y, x) of the region's voxels; NaN when empty.")
      .def("__contains__", &ContainsPoint, "point"_a)
      .def(
          "contains",
          [](const R& self, const R& inOther) { return Run(py::none(), [&] { return self.Contains(inOther); }); },
          "other"_a, "Whether every voxel of other is in this region.")
      .def(
          "touches",
          [](const R& self, const R& inOther) { return Run(py::none(), [&] { return self.DoesTouch(inOther); }); },
          "other"_a, "Whether the two regions share a voxel.")
      .def("__and__", [sect](const R& a, const R& b) { return Combined(a, b, sect); })
      .def("__or__", [unite](const R& a, const R& b) { return Combined(a, b, unite); })
      .def("__xor__", [exclusive](const R& a, const R& b) { return Combined(a, b, exclusive); })
      .def("__sub__", [subtract](const R& a, const R& b) { return Combined(a, b, subtract); })
      .def("__iand__", inPlace(sect), py::return_value_policy::reference_internal)
      .def("__ior__", inPlace(unite), py::return_value_policy::reference_internal)
      .def("__ixor__", inPlace(exclusive), py::return_value_policy::reference_internal)
      .def("__isub__", inPlace(subtract), py::return_value_policy::reference_internal)
      .def("intersection", [sect](const R& a, const R& b) { return Combined(a, b, sect); }, "other"_a)
      .def("union", [unite](const R& a, const R& b) { return Combined(a, b, unite); }, "other"_a)
      .def("symmetric_difference", [exclusive](const R& a, const R& b) { return Combined(a, b, exclusive); }, "other"_a)
      .def("difference", [subtract](const R& a, const R& b) { return Combined(a, b, subtract); }, "other"_a)
      .def(
          "grow",
          [](R& self, SInt32 x, SInt32 y, SInt32 z) { Run(py::none(), [&] { self.Grow(x, y, z); }); },
          py::kw_only(), "x"_a = 0, "y"_a = 0, "z"_a = 0,
          "Dilates in place by a cross per step along each axis (n steps give a diamond); negative "
          "amounts erode.")
      .def(
          "shrink",
          [](R& self, SInt32 x, SInt32 y, SInt32 z) { Run(py::none(), [&] { self.Shrink(x, y, z); }); },
          py::kw_only(), "x"_a = 0, "y"_a = 0, "z"_a = 0, "Erodes in place; the dual of grow.")
      .def(
          "invert", [](R& self) { Run(py::none(), [&] { self.Invert(); }); },
          "In place: the voxels of the box that were not in the region (a box becomes empty).")
      .def(
          "outline", [](R& self, SInt32 inWidth) { Run(py::none(), [&] { self.Outline(inWidth); }); }, "width"_a = 1,
          "In place: the rim of the given width within each xy plane.")
      .def(
          "offset",
          [](R& self, SInt32 x, SInt32 y, SInt32 z) { Run(py::none(), [&] { self.Offset(x, y, z); }); },
          py::kw_only(), "x"_a = 0, "y"_a = 0, "z"_a = 0, "Moves the region in place.")
      .def(
          "xy_plane", [](const R& self, SInt32 z) { return Run(py::none(), [&] { return self.XYPlaneToRegion(z); }); },
          "z"_a, "The plane z of the region (depth 1, at z).")
      .def(
          "xz_plane", [](const R& self, SInt32 y) { return Run(py::none(), [&] { return self.XZPlaneToRegion(y); }); },
          "y"_a)
      .def(
          "yz_plane", [](const R& self, SInt32 x) { return Run(py::none(), [&] { return self.YZPlaneToRegion(x); }); },
          "x"_a)
      .def(
          "xy_projection", [](const R& self) { return Run(py::none(), [&] { return self.XYMergeToRegion(); }); },
          "The projection along z onto the box's front plane: a voxel is set when any on its line is.")
      .def(
          "xz_projection", [](const R& self) { return Run(py::none(), [&] { return self.XZMergeToRegion(); }); })
      .def(
          "yz_projection", [](const R& self) { return Run(py::none(), [&] { return self.YZMergeToRegion(); }); })
      .def("copy", [](const R& self) { return R(self); })
      .def("__copy__", [](const R& self) { return R(self); })
      .def("__deepcopy__", [](const R& self, const py::object&) { return R(self); }, "memo"_a)
      .def(
          "__eq__",
          [](const R& self, const py::object& inOther) -> py::object {
            if (!py::isinstance<R>(inOther)) return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            const R& other = inOther.cast<const R&>();
            return py::bool_(Run(py::none(), [&] { return self.IsEqual(other); }));
          },
          "Equal boxes, and equal masks where both have one.")
      .def("__repr__", &Repr);
}

}  // namespace mirelan::python
