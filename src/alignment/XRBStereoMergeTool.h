// A red and cyan stereo pair in one ARGB32 image: red from the right eye's
// image, green and blue both from the left eye's first byte.
#pragma once

#include "core/XExport.h"

namespace mirelan {

class XARGB32Volume;

class MIRELAN_EXPORT XRBStereoMergeTool {
 public:
  XRBStereoMergeTool() = default;
  virtual ~XRBStereoMergeTool();

  // Over the union of the two bounds, which must be one plane deep. Each word
  // w (0xAARRGGBB) where the right image lies becomes
  // (right & 0x00ff0000) | ((left & 0xff) * 257): alpha 0, the right image's
  // red, the left image's blue spread over green and blue. Elsewhere the
  // result is the left image, or 0 outside it. The caller owns the result.
  virtual XARGB32Volume* MergeImages(const XARGB32Volume& inLeft, const XARGB32Volume& inRight);
};

}  // namespace mirelan
