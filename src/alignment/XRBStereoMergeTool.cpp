#include "alignment/XRBStereoMergeTool.h"

#include <memory>

#include "core/XLockable.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

XRBStereoMergeTool::~XRBStereoMergeTool() = default;

XARGB32Volume* XRBStereoMergeTool::MergeImages(const XARGB32Volume& inLeft, const XARGB32Volume& inRight) {
  X3DRect resultRect = inLeft.GetBounds();
  resultRect.Union(inRight.GetBounds());
  XAssert(resultRect.GetDepth() == 1);
  auto result = std::make_unique<XARGB32Volume>(resultRect);
  result->Clear();
  result->CopyIn(inLeft, inLeft.GetBounds(), inLeft.GetBounds(), nullptr);
  const X3DRect& r = inRight.GetBounds();
  XLock lockRight(inRight, kLockRead);
  XLock lockResult(*result, kLockReadWrite);
  for (SInt32 y = r.top; y < r.bottom; ++y) {
    const XARGB32Colour* right = inRight.GetVoxelPtr(r.left, y, r.front);
    XARGB32Colour* out = result->GetVoxelPtr(r.left, y, r.front);
    for (UInt32 x = 0; x < r.GetWidth(); ++x) {
      // The low byte of the 0xAARRGGBB word, times 257, fills its two lowest bytes.
      const UInt8 leftLow = out[x].blue;
      out[x] = XARGB32Colour(0, right[x].red, leftLow, leftLow);
    }
  }
  return result.release();
}

}  // namespace mirelan
