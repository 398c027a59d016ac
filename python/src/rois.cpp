// Regions of interest drawn from shapes: the library's ellipse and polygon
// rasterisers, handing back plain Regions.
#include "MirelanPython.h"
#include "data/XEllipseROI.h"
#include "data/XROI.h"

namespace mirelan::python {

namespace {

XPlaneMode PlaneOf(const std::string& inName) {
  if (inName == "xy") return kXYPlane;
  if (inName == "xz") return kXZPlane;
  if (inName == "yz") return kYZPlane;
  throw py::value_error("plane is 'xy', 'xz' or 'yz', not '" + inName + "'");
}

X3DRegion Ellipse(const py::object& inOrigin, const py::object& inShape, const std::string& inPlane) {
  const XPlaneMode plane = PlaneOf(inPlane);
  X3DRect box = BoxOf(ToZYX(inOrigin, "origin"), ToZYX(inShape, "shape", 1));
  return Run(py::none(), [&] { return XEllipseROI(box, plane).GetRegion(); });
}

X3DRegion Polygon(const py::object& inPoints, SInt64 inZ, SInt64 inDepth) {
  XVector<XPoint> points;
  for (auto item : inPoints) {
    auto yx = py::reinterpret_borrow<py::sequence>(item);
    if (!py::isinstance<py::sequence>(item) || py::len(yx) != 2)
      throw py::type_error("polygon points are (y, x) pairs of integers");
    ZYX p = ToZYX(py::reinterpret_borrow<py::object>(item), "a point");
    BoxOf(p, {1, 1, 1});  // checks the range
    points.push_back(XPoint(SInt32(p.x), SInt32(p.y)));
  }
  if (points.empty()) throw py::value_error("a polygon needs at least one point");
  if (inDepth < 1) throw py::value_error("a polygon region is at least one plane deep");
  const XRect flatBox = XROI::GetBoundsOfPoints(points);
  X3DRect box = BoxOf({inZ, flatBox.top, flatBox.left},
                      {inDepth, SInt64(flatBox.bottom) - flatBox.top + 1, SInt64(flatBox.right) - flatBox.left + 1});
  return Run(py::none(), [&] {
    const X3DRegion flat =
        XROI::Create2DRegionFromPoints(points, XRect(box.left, box.top, box.right, box.bottom));
    return XROI::Create3DRegionFrom2DRegion(flat, kXYPlane, box);
  });
}

}  // namespace

void BindROIs(py::module_& m) {
  using namespace pybind11::literals;
  m.def("ellipse_region", &Ellipse, "origin"_a, "shape"_a, "plane"_a = "xy", R"doc(
The elliptic cylinder of an ellipse ROI: the ellipse that fills the box's
rectangle in the plane ('xy', 'xz' or 'yz'), extruded along the third axis
through the box. origin and shape are (z, y, x).
)doc");
  m.def("polygon_region", &Polygon, "points"_a, "z"_a = 0, "depth"_a = 1, R"doc(
The closed polygon through the (y, x) points as an ROI draws it, its outline
by Bresenham lines and its interior by the even-odd rule, through planes
z .. z + depth - 1.
)doc");
}

}  // namespace mirelan::python
