// Geometry and display: resampling to a new size, turning planes by any
// angle, and rendering a volume through its display settings into colour.
#include "MirelanPython.h"
#include "rendering/XImageRenderer.h"
#include "tools/XImageRotationTool.h"
#include "tools/XVolumeResampleTool.h"
#include "volume/XColourVolumes.h"

namespace mirelan::python {

namespace {

const std::pair<const char*, XFilterMode> kFilters[] = {
    {"automatic", kFilterAutomatic}, {"simple", kFilterSimple},     {"triangle", kFilterTriangle},
    {"bell", kFilterBell},           {"bspline", kFilterBSpline},   {"lanczos3", kFilterLanczos3},
};

XFilterMode FilterOf(const std::string& inName) {
  std::string known;
  for (const auto& [name, mode] : kFilters) {
    if (inName == name) return mode;
    known += std::string(known.empty() ? "" : ", ") + name;
  }
  throw py::value_error("unknown resampling filter '" + inName + "'; the filters are " + known);
}

VolumePtr Resample(const PyVolume& inVolume, const py::object& inShape, const std::string& inFilter,
                   const py::object& inProgress) {
  const XVolume& source = inVolume.Get();
  const X3DRect& from = source.GetBounds();
  ZYX shape = ToZYX(inShape, "shape", from.GetDepth());
  if (shape.x < 1 || shape.y < 1 || shape.z < 1) throw py::value_error("a resampled volume has at least one voxel");
  X3DRect to = BoxOf({from.front, from.top, from.left}, shape);
  XVolumeResampleTool tool(FilterOf(inFilter));
  return Adopt(Run(inProgress, [&] {
    std::unique_ptr<XVolume> dest = XNewVolume(XPixelTypeOf(source), to);
    dest->CopyScalingFrom(source);
    tool.ApplyTool(source, *dest, from, to);
    return dest;
  }));
}

VolumePtr Rotate(const PyVolume& inVolume, Float32 inDegrees, const py::object& inProgress) {
  XImageRotationTool tool(inDegrees);
  return Adopt(Run(inProgress, [&] { return std::unique_ptr<XVolume>(tool.ApplyTool(inVolume.Get())); }));
}

// The volume's renderer, or a copy of it with the settings asked for.
VolumePtr Render(const PyVolume& inVolume, const py::object& inBlack, const py::object& inWhite,
                 const py::object& inGamma, bool inBGRA, const py::object& inProgress) {
  const XVolume& source = inVolume.Get();
  if (!source.HasPlaneRenderer())
    throw py::type_error(std::string(InfoOf(source).itsName) + " volumes have no renderer; convert them first");
  std::unique_ptr<XImageRenderer> renderer(static_cast<XImageRenderer*>(source.GetPlaneRenderer().Clone()));
  if (!inBlack.is_none()) renderer->SetBlack(inBlack.cast<Float64>());
  if (!inWhite.is_none()) renderer->SetWhite(inWhite.cast<Float64>());
  if (!inGamma.is_none()) renderer->SetGamma(inGamma.cast<Float64>());
  const X3DRect& box = source.GetBounds();
  return Adopt(Run(inProgress, [&] {
    std::unique_ptr<XVolume> dest = XNewVolume(inBGRA ? XPixelType::kBGRA32 : XPixelType::kARGB32, box);
    dest->CopyScalingFrom(source);
    if (inBGRA)
      renderer->RenderToBGRA32Volume(source, static_cast<XBGRA32Volume&>(*dest), box, box, nullptr);
    else
      renderer->RenderToARGB32Volume(source, static_cast<XARGB32Volume&>(*dest), box, box, nullptr);
    return dest;
  }));
}

}  // namespace

void BindRendering(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  m.def("resample", &Resample, "volume"_a, "shape"_a, "filter"_a = "automatic", py::kw_only(), "progress"_a = none,
        R"doc(
A new volume of the shape ((z, y, x), or (y, x) keeping the depth) with the
same origin, resampled by separable filtering: 'simple' (nearest), 'triangle'
(linear), 'bell', 'bspline', 'lanczos3', or 'automatic' (bell to enlarge,
simple to shrink, per axis). grey8, mask, grey16, argb32 and bgra32. Weights
are 16-bit fixed point, so a full 255 may come out as 254, and overshooting
filters wrap at hard edges.
)doc");
  m.def("rotate", &Rotate, "volume"_a, "degrees"_a, py::kw_only(), "progress"_a = none,
        "Every plane turned about its centre by an angle in degrees, sampled bilinearly into a volume of the "
        "same box; the rim fades to 0. grey8, grey16, argb32, bgra32, rgb48 and float.");
  m.def("render", &Render, "volume"_a, py::kw_only(), "black"_a = none, "white"_a = none, "gamma"_a = none,
        "bgra"_a = false, "progress"_a = none, R"doc(
The volume as displayed: an argb32 volume (bgra32 with bgra=True) drawn
through the volume's renderer, with its black point, white point and gamma
replaced by the ones given. Volume.display_range holds the renderer's own.
)doc");
}

}  // namespace mirelan::python
