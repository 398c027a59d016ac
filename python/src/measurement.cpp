// Measurement and thresholds: per-channel statistics and histograms of a
// volume (or a region of it), and the tools that select the voxels of a band
// of values as a Region. All of them only read the volume.
#include "MirelanPython.h"
#include "measurement/XVolumeHistogram.h"
#include "measurement/XVolumeHistogramTool.h"
#include "measurement/XVolumeStatsTool.h"
#include "segmentation/XIntensityThresholdTool.h"
#include "segmentation/XPercentageThresholdTool.h"
#include "segmentation/XStandardDeviationThresholdTool.h"

namespace mirelan::python {

namespace {

// ---- statistics

py::list Statistics(const PyVolume& inVolume, const X3DRegion* inRegion, bool inExcludeLimits, bool inExcludeZero,
                    bool inExcludeOutsideDisplay, bool inVariance, const py::object& inProgress) {
  UInt32 options = 0;
  if (inExcludeLimits) options |= XVolumeStatsTool::kExcludeTypeLimits;
  if (inExcludeZero) options |= XVolumeStatsTool::kExcludeZero;
  if (inExcludeOutsideDisplay) options |= XVolumeStatsTool::kExcludeOutsideBlackAndWhite;
  // The variance tool makes the statistics' pass too: one tool either way.
  std::unique_ptr<XVolumeStatsTool> tool;
  if (inVariance)
    tool = std::make_unique<XVolumeVarianceTool>(options);
  else
    tool = std::make_unique<XVolumeStatsTool>(options);
  const XVolume& volume = inVolume.Get();
  Run(inProgress, [&] { tool->ApplyTool(volume, inRegion); });

  const auto* variance = inVariance ? static_cast<const XVolumeVarianceTool*>(tool.get()) : nullptr;
  py::list result;
  for (UInt32 c = 1; c <= tool->GetChannelCount(); ++c) {
    py::dict channel;
    const UInt32 count = tool->GetPixCount(c);
    channel["count"] = count;
    // A channel without a value counted has no minimum, maximum or mean:
    // None rather than the library's precondition failure.
    const auto value = [&](auto inGet) -> py::object {
      if (!count) return py::none();
      return py::float_(inGet());
    };
    channel["min"] = value([&] { return tool->GetMin(c); });
    channel["max"] = value([&] { return tool->GetMax(c); });
    channel["mean"] = value([&] { return tool->GetMean(c); });
    if (variance) channel["variance"] = value([&] { return variance->GetVariance(c); });
    result.append(channel);
  }
  return result;
}

// ---- histograms

struct HistogramMode {
  const char* itsName;
  UInt32 itsCount;  // histograms the tool makes
  std::unique_ptr<XVolumeHistogramTool> (*itsMake)();
};

template <class Tool>
std::unique_ptr<XVolumeHistogramTool> Make() {
  return std::make_unique<Tool>();
}

const HistogramMode kHistogramModes[] = {
    {"luminance", 1, &Make<XVolumeLuminanceTool>},   {"percentage", 1, &Make<XVolumePercentageTool>},
    {"rgb", 3, &Make<XVolumeRGBTool>},               {"hsi", 3, &Make<XVolumeHSITool>},
    {"ratio", 3, &Make<XVolumeRatioTool>},
};

const HistogramMode& HistogramModeOf(const std::string& inName) {
  std::string known;
  for (const auto& mode : kHistogramModes) {
    if (inName == mode.itsName) return mode;
    known += std::string(known.empty() ? "" : ", ") + mode.itsName;
  }
  throw py::value_error("unknown histogram mode '" + inName + "'; the modes are " + known);
}

// The counts and the edges np.histogram would give for the same buckets:
// bucket i is centred on min + i * size, so its edges lie half a bucket
// either side of that.
py::tuple CountsAndEdges(const XVolumeHistogram& inHistogram) {
  const UInt32 buckets = inHistogram.GetBucketCount();
  py::array_t<SInt64> counts{py::ssize_t(buckets)};
  py::array_t<Float64> edges{py::ssize_t(buckets) + 1};
  auto c = counts.mutable_unchecked<1>();
  auto e = edges.mutable_unchecked<1>();
  const UInt32* source = inHistogram.GetBuckets();
  for (UInt32 i = 0; i < buckets; ++i) c(i) = source[i];
  const Float64 first = inHistogram.GetMinVal(), size = inHistogram.GetBucketSize();
  for (UInt32 i = 0; i <= buckets; ++i) e(i) = first + (Float64(i) - 0.5) * size;
  return py::make_tuple(counts, edges);
}

py::object Histogram(PyVolume& inVolume, const X3DRegion* inRegion, const std::string& inMode,
                     const py::object& inProgress) {
  const HistogramMode& mode = HistogramModeOf(inMode);
  std::unique_ptr<XVolumeHistogramTool> tool = mode.itsMake();
  // The tools take the volume for change but only read it.
  XVolume& volume = inVolume.Get();
  Run(inProgress, [&] { tool->ApplyTool(volume, inRegion); });
  // The caller owns what it takes from the tool.
  std::unique_ptr<XVolumeHistogram> taken[3] = {std::unique_ptr<XVolumeHistogram>(tool->GetHistogramOne()),
                                                std::unique_ptr<XVolumeHistogram>(tool->GetHistogramTwo()),
                                                std::unique_ptr<XVolumeHistogram>(tool->GetHistogramThr())};
  const auto result = [&](UInt32 i) {
    if (!taken[i]) throw std::logic_error("the histogram tool made no histogram");
    return CountsAndEdges(*taken[i]);
  };
  if (mode.itsCount == 1) return result(0);
  py::list three;
  for (UInt32 i = 0; i < mode.itsCount; ++i) three.append(result(i));
  return three;
}

// ---- thresholds into regions

// Every threshold tool answers into a region it leaves alone when the band
// selects nothing: an empty one here.
template <class Tool>
X3DRegion Threshold(const PyVolume& inVolume, Float32 inLow, Float32 inHigh, bool inInvert,
                    const py::object& inProgress) {
  const XVolume& volume = inVolume.Get();
  return Run(inProgress, [&] {
    X3DRegion region;
    Tool().ApplyThreshold(region, volume, inLow, inHigh, inInvert);
    return region;
  });
}

}  // namespace

void BindMeasurement(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  m.def("statistics", &Statistics, "volume"_a, "region"_a = none, py::kw_only(), "exclude_limits"_a = false,
        "exclude_zero"_a = false, "exclude_outside_display"_a = false, "variance"_a = true, "progress"_a = none,
        R"doc(
Per channel, the minimum, maximum, mean and count of the values (and with
variance the population variance), of the whole volume or of the voxels of
a region: a list of dicts {'min', 'max', 'mean', 'count'[, 'variance']}.
Grey volumes have one channel; argb32 and rgb48 three, red, green, blue
(alpha is never counted); a bgra32 volume reports one channel, its red. A
channel that counted nothing has count 0 and None for the rest.
exclude_limits leaves out the type's own limits (0 and the greatest value,
or the infinities and NaN for float), exclude_zero leaves out 0 (for float
also every negative value), and exclude_outside_display whatever is not
strictly between the display range's black and white. The variance's
squares always leave out by the type's limits, not the display range, but
divide by the same count. Float sums are single precision, in voxel order.
)doc");

  m.def("histogram", &Histogram, "volume"_a, "region"_a = none, py::kw_only(), "mode"_a = "luminance",
        "progress"_a = none, R"doc(
The histogram of a volume, or of the voxels of a region, as (counts, edges)
in the manner of numpy.histogram: counts of the buckets (int64) and the
len(counts) + 1 bucket edges. Bucket i is centred on edges[i] + width / 2;
a value goes to the nearest centre, a tie to the lower bucket, and values
beyond either end to the end buckets.

Modes: 'luminance' (the grey value, the greatest of red, green and blue
for colour, negatives as 0 for float), one bucket per integer over the
type's range, or 1000 buckets from the least to the greatest float value;
'percentage' (where each luminance lies between the volume's least and
greatest luminance, 0 to 100). These give one (counts, edges). 'rgb' (red,
green, blue; a grey value counts in all three), 'hsi' (hue, saturation,
intensity) and 'ratio' (red:green, green:blue, blue:red mapped to 0 to 255)
give a list of three (counts, edges) pairs.
)doc");

  m.def("threshold", &Threshold<XIntensityThresholdTool>, "volume"_a, "low"_a, "high"_a, py::kw_only(),
        "invert"_a = false, "progress"_a = none, R"doc(
The voxels whose value lies from low to high, both included, as a Region;
invert selects the rest. Colour voxels count their greatest of red, green
and blue; bgra32 voxels are in the band when any of blue, green, red is at
least low and any at most high. For integer types the limits are rounded
(floor(x + 0.5)) and kept within the type; float volumes compare with the
limits as single-precision floats. A reversed band selects nothing, with
invert too.
)doc");

  m.def("percentage_threshold", &Threshold<XPercentageThresholdTool>, "volume"_a, "low"_a, "high"_a,
        py::kw_only(), "invert"_a = false, "progress"_a = none, R"doc(
The voxels whose luminance lies between two percentages of the volume's
luminance range, both included, as a Region: a limit p stands for
min + p * (max - min) / 100 (floored for integer types), min and max the
least and greatest luminance of the whole volume (negative floats counting
as 0). invert selects the rest; a reversed band selects nothing. Not for
bgra32 or grey32.
)doc");

  m.def("std_threshold", &Threshold<XStandardDeviationThresholdTool>, "volume"_a, "low"_a, "high"_a,
        py::kw_only(), "invert"_a = false, "progress"_a = none, R"doc(
The voxels whose value (for colour the greatest of red, green and blue)
lies within limits given in standard deviations from the mean of the whole
volume, all channels together, as a Region: a limit k stands for
mean + k * sigma, and an infinite limit stays infinite (the type's ends for
integer types, where limits are rounded). Both limits are included; invert
selects the rest. A reversed band, or for integer types one of a single
value, selects nothing. Not for bgra32 or grey32.
)doc");
}

}  // namespace mirelan::python
