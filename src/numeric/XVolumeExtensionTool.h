// The extended volume for Fourier work: an image placed in a larger box whose
// margins blend between opposite edges, which softens the wrap-around of a
// circular transform; and the cut back to the image.
#pragma once

#include <cstddef>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XVolume;
class XFPVolume;
class XFourierVolume;

class MIRELAN_EXPORT XVolumeExtensionTool {
 public:
  // A Fourier volume (image space) of inRect with the source copied in at its
  // own coordinates and the margins filled along X, then Y, then Z, each pass
  // also covering the margins of the earlier ones. Along a line with margins
  // a and b, m = max(a, b), L and R the samples at index m and length - 1 - m:
  // low sample i becomes (R - L) * (m - i) / (2m) + L, and the sample j places
  // from the high end (R - L) * (j + m) / (2m) + R. The high side thus is no
  // mirror image of the low side; that is the settled output.
  // Precondition: inRect contains the source's bounds. The caller owns the result.
  static XFourierVolume* CreateXYZExtendedVolume(const XVolume& inSource, const X3DRect& inRect);
  // The voxels of inRect as a new floating-point volume; the caller owns it.
  static XFPVolume* CreateXYZTrimmedVolume(const XFourierVolume& inFourier, const X3DRect& inRect);

 private:
  // Each pass works under a read-write lock, on the lines that lie in the
  // image along the axes not yet extended (the skips are those margins).
  static void ExtendX(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin, UInt32 inSkipTop,
                      UInt32 inSkipBottom, UInt32 inSkipFront, UInt32 inSkipBack);
  static void ExtendY(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin, UInt32 inSkipFront,
                      UInt32 inSkipBack);
  static void ExtendZ(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin);
  static void ExtendLine(float* ioLine, ptrdiff_t inStride, UInt32 inLength, UInt32 inLowMargin,
                         UInt32 inHighMargin);
};

}  // namespace mirelan
