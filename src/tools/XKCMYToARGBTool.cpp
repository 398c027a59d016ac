#include "tools/XKCMYToARGBTool.h"

#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

XKCMYToARGBTool::~XKCMYToARGBTool() = default;

void XKCMYToARGBTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  XARGB32Volume& dest = DestAs<XARGB32Volume>(ioDest);
  if (dest.GetBounds().IsEmptyOrInsideOut()) return;
  // A block read from a stream need not have the spare bytes; the writes
  // behind the last voxel must stay inside it.
  const UInt64 lastVoxel = (UInt64(dest.GetDepth()) - 1) * dest.GetPlaneVoxels() +
                           (UInt64(dest.GetHeight()) - 1) * dest.GetRowVoxels() + dest.GetWidth() - 1;
  XAssert((lastVoxel + 4) * sizeof(XARGB32Colour) <= dest.GetDataSize());
  XCMYKHelper helper;
  XScanVolume(dest, nullptr, helper);
}

}  // namespace mirelan
