// The `mirelan` Python module: the library's volumes as numpy arrays, its
// regions, tools, files and streams. Each family binds itself from its own
// file; a new family adds its Bind call here.
#include "MirelanPython.h"
#include "storage/XRegisterImagingClasses.h"

PYBIND11_MODULE(mirelan, m) {
  using namespace mirelan::python;
  m.doc() = R"doc(
MirelanImaging for Python: multi-dimensional light-microscopy images as
numpy-native volumes.

Volumes are views of numpy arrays and numpy arrays are views of volumes,
without copies (Volume.from_array, np.asarray(volume), Volume.view).
Regions are voxel sets with set algebra. Tools (invert, flip, rotate_cw,
arithmetic, resample, rotate, render, ...), filters (convolve,
median_filter, dilate, fft_filter, ...) and segmentation (label,
find_objects, seed_threshold) release the GIL and take an optional progress
callback progress(done, total, message) that cancels by returning False.
Measurement (statistics, histogram) and thresholds into regions (threshold,
percentage_threshold, std_threshold) only read the volume. Files: read
and write TIFF stacks and .mis stack files; dumps/loads/save/load the
library's stream format. Errors of the library raise mirelan.Error with the
error number; broken preconditions raise mirelan.InternalError.
)doc";
  mirelan::XRegisterImagingClasses();
  BindErrors(m);
  BindProgress(m);
  BindVolumes(m);
  BindRegions(m);
  BindTools(m);
  BindFilters(m);
  BindSegmentation(m);
  BindMeasurement(m);
  BindRendering(m);
  BindROIs(m);
  BindFiles(m);
  BindBench(m);
  m.attr("__version__") = MIRELAN_VERSION;
  m.attr("PIXEL_TYPES") = py::make_tuple("grey8", "mask", "grey16", "grey32", "float", "argb32", "bgra32", "rgb48");
}
