// Convolution with a small three-dimensional kernel, directly in image space,
// for kernels too small for the Fourier route.
#pragma once

#include <memory>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

class X3DRegion;

// Weights are given x fastest: index (z * height + y) * width + x. On
// construction they are normalised to sum to 1, unless they sum to exactly
// 0 (an edge detector), when they are kept as given.
//
// The voxel (x, y, z) of the result is the sum of the source's voxels in the
// window x - width / 2 .. and so on, each times its weight, plus the bias.
// At the border the window is clipped to the source: the weights outside go
// unused, without renormalisation, mirroring or fill, so a smoothing kernel
// darkens the edge. The sum runs plane, row, column in a float accumulator
// that is rounded to float after every product and sum (each worked in
// double). Sizes should be odd; with an even size the window runs one step
// fewer past the centre than before it, so every weight is used once.
//
// Stored results are truncated to the pixel type, without a test at the top
// (a sum beyond the range wraps: kernels for integer volumes must keep within
// it, as normalised ones do). With the clamp flag, results not above 0 store
// as 0; without it, -1 stores as 255 in 8 bits, and floats keep negative
// results. Colour volumes are filtered per channel; alpha is not written.
//
// Serves Grey8 (and masks), Grey16, ARGB32, RGB48 and FP. The tool needs a
// destination apart from its source; the work is split over the core's
// worker pool with the same result for every worker count.
class MIRELAN_EXPORT XSpatialFilterVolumeTool : public X1To1VolumeTool {
 public:
  XSpatialFilterVolumeTool(const Float32* weightArray, UInt32 inWidth, UInt32 inHeight, UInt32 inDepth,
                           Float32 inBias, bool inClamp);
  XSpatialFilterVolumeTool(const XSpatialFilterVolumeTool& inOther);
  XSpatialFilterVolumeTool& operator=(const XSpatialFilterVolumeTool& inOther);
  ~XSpatialFilterVolumeTool() override;

  UInt32 GetKernelWidth() const { return itsWidth; }
  UInt32 GetKernelHeight() const { return itsHeight; }
  UInt32 GetKernelDepth() const { return itsDepth; }
  // The weights after normalisation, width * height * depth of them.
  const Float32* GetWeights() const { return itsWeightArray.get(); }
  Float32 GetBias() const { return itsBias; }
  bool GetClamp() const { return itsClamp; }

  // The filter limited to a region: only voxels inside the region's box and,
  // for a region with a mask, where the mask byte is not 0 are computed;
  // the destination's other voxels stay as they are. Source and destination
  // are of one class and different objects. A null region is the whole extent.
  void ApplyToolInRegion(const XVolume& inSource, XVolume& ioDest, const X3DRegion* inRegion) const;

 protected:
  bool CanApplyInPlace() const override { return false; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  template <class V>
  void Walk(const XVolume& inSource, XVolume& ioDest, const X3DRegion* inRegion) const;

  UInt32 itsWidth;
  UInt32 itsHeight;
  UInt32 itsDepth;
  std::unique_ptr<Float32[]> itsWeightArray;
  Float32 itsBias;
  bool itsClamp;
};

}  // namespace mirelan
