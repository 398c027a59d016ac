// What the non-linear filter does with a neighbourhood: a plug-in that turns
// the values of a window into one value.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// A plug-in gets the centre voxel's value and the window's values (see
// XNonLinearFilterVolumeTool for what the vector holds at the border), may
// reorder the vector, and returns the new value of the centre voxel.
//
// One plug-in object serves every voxel, and the filter calls it from the
// core's worker threads at once: it must hold no state of its own per call.
class MIRELAN_EXPORT XNonLinearFilterPlugin {
 public:
  virtual ~XNonLinearFilterPlugin();

  Float32 FilterKernelPixels(Float32 inCentre, XVector<Float32>& ioPixels) const {
    return FilterKernelPixelsSelf(inCentre, ioPixels);
  }

 protected:
  virtual Float32 FilterKernelPixelsSelf(Float32 inCentre, XVector<Float32>& ioPixels) const = 0;
};

// The lower median of the whole vector (rank (n - 1) / 2), by the quick
// selection of the rank filters, which leaves the vector partly reordered.
class MIRELAN_EXPORT XMedianFilterPlugin : public XNonLinearFilterPlugin {
 protected:
  Float32 FilterKernelPixelsSelf(Float32 inCentre, XVector<Float32>& ioPixels) const override;
};

// A sharpening: with lo and hi the smallest and largest values of the
// vector, the result is lo when hi lies further from the centre than lo does,
// else hi (so a centre exactly between them gives hi). The vector is not
// reordered.
class MIRELAN_EXPORT XAntiMedianFilterPlugin : public XNonLinearFilterPlugin {
 protected:
  Float32 FilterKernelPixelsSelf(Float32 inCentre, XVector<Float32>& ioPixels) const override;
};

}  // namespace mirelan
