// The neighbourhood filters of src/filters: convolution with a small kernel,
// median and hybrid median, grey-level dilation and erosion. Each makes a new
// volume (the filters need a destination apart from the source; in place
// they work through a copy) and runs on the library's worker pool with the
// GIL released.
#include "MirelanPython.h"
#include "filters/XDilateErodeFilterVolumeTools.h"
#include "filters/XHybridMedianFilterVolumeTool.h"
#include "filters/XMedianFilterVolumeTool.h"
#include "filters/XSpatialFilterVolumeTool.h"
#include "numeric/XFFTFilterKernelCache.h"
#include "numeric/XFFTFilterVolumeTool.h"
#include "numeric/XFourierStrategyManager.h"
#include "numeric/XFourierVolume.h"

namespace mirelan::python {

namespace {

VolumePtr Filter(X1To1VolumeTool& ioTool, const VolumePtr& inVolume, bool inInPlace, const py::object& inProgress) {
  if (inInPlace) {
    RequireNoViews(*inVolume, "a filter in place");  // the result comes back as new storage
    Run(inProgress, [&] { ioTool.ApplyToolInPlace(inVolume->Get()); });
    return inVolume;
  }
  return Adopt(Run(inProgress, [&] { return ioTool.ApplyTool(inVolume->Get()); }));
}

UInt32 SizeOf(SInt64 inSize) {
  if (inSize < 1 || inSize > 255) throw py::value_error("a filter size runs from 1 to 255");
  return UInt32(inSize);
}

// (z, y, x) offsets, as the library's (x, y, z) points; none gives the six
// face neighbours.
XVector<X3DPoint> OffsetsOf(const py::object& inOffsets) {
  XVector<X3DPoint> offsets;
  if (inOffsets.is_none()) return offsets;
  for (auto item : inOffsets) {
    ZYX p = ToZYX(py::reinterpret_borrow<py::object>(item), "an offset");
    offsets.push_back(X3DPoint(X3DPointT<SInt32>(SInt32(p.x), SInt32(p.y), SInt32(p.z))));
  }
  if (offsets.empty()) throw py::value_error("offsets must name at least one offset, or be None");
  return offsets;
}

VolumePtr Convolve(const VolumePtr& inVolume, const py::object& inKernel, Float32 inBias, bool inClamp,
                   const X3DRegion* inRegion, bool inInPlace, const py::object& inProgress) {
  py::array_t<Float32, py::array::c_style | py::array::forcecast> kernel(inKernel);
  if (kernel.ndim() == 2) kernel = py::array_t<Float32>(kernel[py::make_tuple(py::none())]);
  if (kernel.ndim() != 3 || kernel.size() == 0)
    throw py::value_error("a kernel is a non-empty (z, y, x) or (y, x) array of weights");
  XSpatialFilterVolumeTool tool(kernel.data(), UInt32(kernel.shape(2)), UInt32(kernel.shape(1)),
                                UInt32(kernel.shape(0)), inBias, inClamp);
  if (!inRegion) return Filter(tool, inVolume, inInPlace, inProgress);
  // Within a region: the other voxels of the result keep the source's values.
  if (inInPlace) RequireNoViews(*inVolume, "a filter in place");
  VolumePtr dest = Adopt(Run(py::none(), [&] { return inVolume->Get().Clone(); }));
  Run(inProgress, [&] { tool.ApplyToolInRegion(inVolume->Get(), dest->Get(), inRegion); });
  if (!inInPlace) return dest;
  Run(py::none(), [&] { inVolume->Get().CopyFrom(dest->Get()); });
  return inVolume;
}

const std::pair<const char*, XKernelType> kKernels[] = {
    {"gaussian", kGaussianKernel},
    {"laplacian", kLaplacianKernel},
    {"sobel_horizontal", kSobelHorizontalKernel},
    {"sobel_vertical", kSobelVerticalKernel},
};

XKernelType KernelOf(const std::string& inName) {
  std::string known;
  for (const auto& [name, type] : kKernels) {
    if (inName == name) return type;
    known += std::string(known.empty() ? "" : ", ") + name;
  }
  throw py::value_error("unknown Fourier kernel '" + inName + "'; the kernels are " + known);
}

// The host's one Fourier strategy manager, made on first use (with the GIL
// held, so once) and kept for the life of the process: transforms may still
// run in other threads while the interpreter shuts down.
void EnsureFourierManager() {
  if (!XFourierStrategyManager::GetManager()) new XFourierStrategyManager();
}

// A kernel made for this call's box: the cache serves one thread at a time,
// so each call has its own.
VolumePtr FFTFilter(const VolumePtr& inVolume, const std::string& inKernel, Float32 inSigma, SInt64 inMargin,
                    const py::object& inAfter, bool inInPlace, const py::object& inProgress) {
  const XKernelType type = KernelOf(inKernel);
  if (!(inSigma > 0.0f)) throw py::value_error("sigma must be above 0");
  if (inMargin < 0 || inMargin > 4096) throw py::value_error("the margin runs from 0 to 4096 voxels");
  XPtrVector<XFFTFilterVolumeToolPlugin> plugins;
  if (!inAfter.is_none()) {
    const std::string after = inAfter.cast<std::string>();
    if (after == "absolute")
      plugins.push_back(new XAbsoluteValuePlugin());
    else if (after == "detail")
      plugins.push_back(new XLaplacianDetailEnhancerPlugin());
    else
      throw py::value_error("after is None, 'absolute' or 'detail', not '" + after + "'");
  }
  EnsureFourierManager();
  XFFTFilterKernelCache cache;
  const UInt32 margin = UInt32(inMargin);
  const XFourierVolume* kernel =
      Run(py::none(), [&] { return cache.GetKernel(type, inVolume->Get().GetBounds(), inSigma, margin); });
  XFFTFilterVolumeTool tool(kernel, &plugins, margin);
  return Filter(tool, inVolume, inInPlace, inProgress);
}

}  // namespace

void BindFilters(py::module_& m) {
  using namespace pybind11::literals;
  const auto none = py::none();

  m.def("convolve", &Convolve, "volume"_a, "kernel"_a, py::kw_only(), "bias"_a = 0.0f, "clamp"_a = false,
        "region"_a = none, "in_place"_a = false, "progress"_a = none, R"doc(
Convolution with a small (z, y, x) kernel in image space: each voxel becomes
the sum of the voxels of the window centred on it (from x - width // 2 on)
times the weights, not mirrored, plus bias. The weights are normalised to sum
to 1 unless they sum to 0. At the border the window is cut: weights outside
go unused. Results are truncated to the pixel type (integer sums beyond it
wrap); with clamp, results not above 0 are 0. Colour per channel, alpha not
written. With a region only the voxels inside it are filtered.
)doc");
  m.def(
      "median_filter",
      [](const VolumePtr& v, SInt64 size, bool inPlace, const py::object& progress) {
        XMedianFilterVolumeTool tool(SizeOf(size));
        return Filter(tool, v, inPlace, progress);
      },
      "volume"_a, "size"_a = 3, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "The lower median of the cube of edge size around each voxel (a window that leaves the volume "
      "shrinks); colour per channel.");
  m.def(
      "hybrid_median_filter",
      [](const VolumePtr& v, SInt64 size, bool inPlace, const py::object& progress) {
        XHybridMedianFilterVolumeTool tool(SizeOf(size));
        return Filter(tool, v, inPlace, progress);
      },
      "volume"_a, "size"_a = 3, py::kw_only(), "in_place"_a = false, "progress"_a = none,
      "The hybrid median: the median of seven lower medians along the lines and plane diagonals of size "
      "through each voxel; it keeps thin lines and corners that a cube median rounds away.");
  m.def(
      "dilate",
      [](const VolumePtr& v, UInt32 iterations, const py::object& offsets, bool inPlace, const py::object& progress) {
        XDilateFilterVolumeTool tool(iterations, OffsetsOf(offsets));
        return Filter(tool, v, inPlace, progress);
      },
      "volume"_a, "iterations"_a = 1, py::kw_only(), "offsets"_a = none, "in_place"_a = false, "progress"_a = none,
      "Grey-level dilation: each voxel takes the largest of itself and its neighbours at the (z, y, x) "
      "offsets (the six face neighbours by default), repeated; argb32 by brightness, whole voxels.");
  m.def(
      "erode",
      [](const VolumePtr& v, UInt32 iterations, const py::object& offsets, bool edge, bool inPlace,
         const py::object& progress) {
        XErodeFilterVolumeTool tool(iterations, OffsetsOf(offsets), edge);
        return Filter(tool, v, inPlace, progress);
      },
      "volume"_a, "iterations"_a = 1, py::kw_only(), "offsets"_a = none, "edge"_a = false, "in_place"_a = false,
      "progress"_a = none,
      "Grey-level erosion, the dual of dilate; with edge, a voxel whose neighbourhood leaves the volume "
      "becomes 0.");
  m.def("fft_filter", &FFTFilter, "volume"_a, "kernel"_a = "gaussian", "sigma"_a = 2.0f, py::kw_only(),
        "margin"_a = 8, "after"_a = none, "in_place"_a = false, "progress"_a = none, R"doc(
Filtering by one multiplication in Fourier space. The volume gets margins
mirrored about its edges (margin voxels in x and y, up to half the depth in
z), is transformed, multiplied by the kernel's spectrum and transformed back.
Kernels: 'gaussian' exp(-r^2 / 2 sigma^2), 'laplacian' (of that Gaussian),
'sobel_horizontal', 'sobel_vertical' (5 x 5, sigma unused), each scaled so
that its absolute values sum to 1 over the padded box. after='absolute' keeps
the absolute values, 'detail' the squared difference from the source. Every
pixel type; the float result is converted back into it by the display range.
)doc");
}

}  // namespace mirelan::python
