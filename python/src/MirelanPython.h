// What the binding files of the `mirelan` module share: the Python-side
// volume, pixel-type facts, and the one way to run library work (GIL released,
// progress and cancellation through the caller's callback).
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "core/XException.h"
#include "core/XProgress.h"
#include "storage/XImageStack.h"
#include "volume/X3DRegion.h"
#include "volume/XPackedVolume.h"

namespace mirelan::python {

namespace py = pybind11;

// A volume as Python holds it. The Volume object and every numpy view of it
// share this, so a view keeps the voxels it shows alive.
struct PyVolume : std::enable_shared_from_this<PyVolume> {
  explicit PyVolume(std::unique_ptr<XBasePackedVolume> inVolume) : itsVolume(std::move(inVolume)) {}
  ~PyVolume();
  PyVolume(const PyVolume&) = delete;
  PyVolume& operator=(const PyVolume&) = delete;

  XBasePackedVolume& Get() const { return *itsVolume; }
  // The block behind the voxels, without copying the handle.
  const XMemoryHandle& Storage() const;
  XMemoryHandle& MutableStorage();

  std::unique_ptr<XBasePackedVolume> itsVolume;
  // The array whose memory the volume took over in from_array, if any. Held
  // so that read views may point into it after the volume itself moves on.
  PyObject* itsForeignOwner = nullptr;
  UInt32 itsReadViews = 0;
  UInt32 itsWriteViews = 0;
  // Views that hold a lock on the volume's own storage handle (writeable
  // views, and read views of memory taken over from an array): while there
  // are any, the storage must not be replaced.
  UInt32 itsLockingViews = 0;
};
using VolumePtr = std::shared_ptr<PyVolume>;

// Takes ownership of a volume the library made; every class the library
// makes is packed.
VolumePtr Adopt(std::unique_ptr<XVolume> inVolume);
inline VolumePtr Adopt(XVolume* inVolume) { return Adopt(std::unique_ptr<XVolume>(inVolume)); }

// A numpy view of the voxels that holds the volume's lock while it lives.
py::array ViewOf(const VolumePtr& inVolume, bool inWriteable);

// ---- pixel types

struct PixelInfo {
  XPixelType itsType;
  const char* itsName;
  const char* itsFormat;  // the buffer protocol's letter of one channel
  UInt32 itsChannelBytes;
  UInt32 itsChannels;  // 0 for the grey types: no channel axis
};
const PixelInfo& InfoOf(XPixelType inType);
const PixelInfo& InfoOf(const XVolume& inVolume);
// "grey8", "mask", ...; ValueError naming the known ones otherwise.
XPixelType ParsePixelType(const std::string& inName);
py::dtype DtypeOf(const PixelInfo& inInfo);

// ---- coordinates: Python speaks (z, y, x), the library (x, y, z)

struct ZYX {
  SInt64 z = 0, y = 0, x = 0;
};
// (z, y, x), or (y, x) with z = inDefaultZ: 0 for an origin, 1 for a shape.
ZYX ToZYX(const py::object& inValue, const char* inWhat, SInt64 inDefaultZ = 0);
X3DRect BoxOf(const ZYX& inOrigin, const ZYX& inShape);
py::tuple OriginOf(const X3DRect& inBox);
py::tuple ShapeOf(const X3DRect& inBox);

// ---- running library work

// The progress callback of the calls running on this thread, and what it
// left behind: a Python exception it raised (or a KeyboardInterrupt) is
// raised again in place of the library's cancel.
class ProgressScope {
 public:
  explicit ProgressScope(py::object inCallback);
  ~ProgressScope();
  ProgressScope(const ProgressScope&) = delete;
  ProgressScope& operator=(const ProgressScope&) = delete;

  static ProgressScope* Current();
  // Called from the library's sink with the GIL held; false cancels.
  bool Report(UInt64 inTotal, UInt64 inPosition, const XString& inMessage);
  // After the work has failed: raises what the callback left, if anything.
  void RaisePending();

 private:
  py::object itsCallback;
  std::optional<py::error_already_set> itsError;
  ProgressScope* itsParent;
};

// Runs library work with the GIL released, progress going to inProgress
// (None for no callback; Ctrl-C still cancels). Every call that may report
// progress must go through here or release the GIL itself: the library's
// sink takes the GIL, and a report made while holding it could deadlock.
template <class Work>
auto Run(const py::object& inProgress, Work&& inWork) -> decltype(inWork()) {
  ProgressScope scope(inProgress);
  try {
    py::gil_scoped_release release;
    return inWork();
  } catch (const XException& e) {
    scope.RaisePending();
    // A cancel asked for from outside ends with the work it stopped.
    if (e.GetErrorNumber() == kErrCancelled) XProgress::ClearCancelRequest();
    throw;
  }
}

// Refuses work that replaces a volume's storage while views lock it.
void RequireNoViews(const PyVolume& inVolume, const char* inWhat);

// ---- the families; each adds its part to the module

void BindErrors(py::module_& m);
void BindProgress(py::module_& m);
void BindVolumes(py::module_& m);
void BindRegions(py::module_& m);
void BindTools(py::module_& m);
void BindFilters(py::module_& m);
void BindSegmentation(py::module_& m);
void BindMeasurement(py::module_& m);
void BindRendering(py::module_& m);
void BindROIs(py::module_& m);
void BindFiles(py::module_& m);
void BindBench(py::module_& m);

}  // namespace mirelan::python
