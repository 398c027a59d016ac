// Segmentation: the pieces of a region (labels and regions of their own) and
// the selection from a seed voxel.
#include "MirelanPython.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/X3DObjectFinder.h"
#include "segmentation/XVolumeSeedThresholdTool.h"
#include "volume/XGrey32Volume.h"

namespace mirelan::python {

namespace {

const std::pair<const char*, XVolumeSeedThresholdTool::XMode> kSeedModes[] = {
    {"similar", XVolumeSeedThresholdTool::kSimilar},
    {"brighter", XVolumeSeedThresholdTool::kBrighter},
    {"darker", XVolumeSeedThresholdTool::kDarker},
    {"texture", XVolumeSeedThresholdTool::kTexture},
};

XVolumeSeedThresholdTool::XMode SeedModeOf(const std::string& inName) {
  std::string known;
  for (const auto& [name, mode] : kSeedModes) {
    if (inName == name) return mode;
    known += std::string(known.empty() ? "" : ", ") + name;
  }
  throw py::value_error("unknown seed mode '" + inName + "'; the modes are " + known);
}

// An empty region has no pieces: the tool's precondition, answered here
// with the plain result instead of an InternalError.
py::tuple Label(const X3DRegion& inRegion, const py::object& inProgress) {
  if (inRegion.IsEmpty()) {
    VolumePtr none = Adopt(XNewVolume(XPixelType::kGrey32, X3DRect(0, 0, 0, 0, 0, 0)));
    return py::make_tuple(none, 0);
  }
  X3DConnectedComponentsTool tool;
  VolumePtr labels = Adopt(Run(inProgress, [&] { return std::unique_ptr<XVolume>(tool.ApplyTool(inRegion)); }));
  return py::make_tuple(labels, tool.GetComponentCount());
}

py::list FindObjects(const X3DRegion& inRegion, const py::object& inProgress) {
  py::list result;
  if (inRegion.IsEmpty()) return result;
  X3DObjectFinder finder;
  XVector<X3DRegion> pieces = Run(inProgress, [&] { return finder.ApplyTool(inRegion); });
  for (auto& piece : pieces) result.append(py::cast(std::move(piece)));
  return result;
}

X3DRegion SeedThreshold(const PyVolume& inVolume, const py::object& inSeed, const std::string& inMode,
                        Float32 inTolerance, bool inConnected, const py::object& inProgress) {
  ZYX seed = ToZYX(inSeed, "seed");
  BoxOf(seed, {1, 1, 1});  // checks the range
  XVolumeSeedThresholdTool tool(SeedModeOf(inMode), inConnected ? XVolumeSeedThresholdTool::kConnectedToSeed
                                                                : XVolumeSeedThresholdTool::kAllMatches);
  tool.SetTolerance(inTolerance);
  const X3DPoint point(X3DPointT<SInt32>(SInt32(seed.x), SInt32(seed.y), SInt32(seed.z)));
  return Run(inProgress, [&] { return tool.ApplyTool(inVolume.Get(), point); });
}

}  // namespace

void BindSegmentation(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  m.def("label", &Label, "region"_a, py::kw_only(), "progress"_a = none, R"doc(
The pieces of a region joined through shared faces (6-connectivity; voxels
that touch only by an edge or a corner are apart), as (labels, count): a
grey32 volume of labels 1..count, 0 outside the region, over the region's box
grown by one voxel on every side (its origin says where), and the number of
pieces. An empty region gives (an empty volume, 0).
)doc");
  m.def("find_objects", &FindObjects, "region"_a, py::kw_only(), "progress"_a = none,
        "The face-connected pieces of a region, each a Region of its own, in the order of their labels.");
  m.def("seed_threshold", &SeedThreshold, "volume"_a, "seed"_a, "mode"_a = "similar", py::kw_only(),
        "tolerance"_a = 0.0f, "connected"_a = true, "progress"_a = none, R"doc(
The voxels selected from the seed voxel (z, y, x), as a Region. Modes:
'similar' (within the tolerance of the seed, the tolerance a fraction of the
display window from black to white), 'brighter' (at least as bright as the
seed), 'darker' (at most as bright), 'texture' (a smooth neighbourhood). With
connected only the piece joined to the seed by faces is kept. A seed outside
the volume moves to its nearest voxel.
)doc");
}

}  // namespace mirelan::python
