// For bench/bench_python.py: the same tool called straight from C++ on the
// same volume in the same process, so that the cost of going through Python
// can be measured against it.
#include <chrono>
#include <vector>

#include "MirelanPython.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XImageOffsetTool.h"
#include "tools/XInvertVolumeTool.h"

namespace mirelan::python {

namespace {

// Seconds of each of inRepeats in-place applies of the named tool.
std::vector<double> TimeInCpp(const std::string& inTool, const VolumePtr& inVolume, UInt32 inRepeats) {
  std::vector<double> seconds;
  XVolume& volume = inVolume->Get();
  py::gil_scoped_release release;
  for (UInt32 i = 0; i < inRepeats; ++i) {
    auto start = std::chrono::steady_clock::now();
    if (inTool == "invert") {
      XInvertVolumeTool tool;
      tool.ApplyToolInPlace(volume);
    } else if (inTool == "flip") {
      XFlipHVolumeTool tool;
      tool.ApplyToolInPlace(volume);
    } else if (inTool == "offset") {
      XImageOffsetTool tool(1.0f);
      tool.ApplyToolInPlace(volume);
    } else {
      throw XException(kErrGeneral, "no such tool to time: " + inTool);
    }
    seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return seconds;
}

}  // namespace

void BindBench(py::module_& m) {
  m.def("_time_in_cpp", &TimeInCpp, py::arg("tool"), py::arg("volume"), py::arg("repeats"),
        "For the benchmark: seconds of each in-place apply of 'invert', 'flip' or 'offset' (1.0), "
        "called from C++ without Python in between.");
}

}  // namespace mirelan::python
