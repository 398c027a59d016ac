#include "measurement/XVolumeRGBSplitTool.h"

#include <memory>

#include "core/XLockable.h"
#include "core/XProgress.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// Copies red, green and blue of every voxel of inSource into the three grey
// volumes, which have the source's bounds.
template <class Grey, class Source>
void Split(const Source& inSource, XPtrVector<XVolume>& outVolumes) {
  using T = typename Grey::Voxel;
  const X3DRect& bounds = inSource.GetBounds();
  std::unique_ptr<Grey> channels[3] = {std::make_unique<Grey>(bounds), std::make_unique<Grey>(bounds),
                                       std::make_unique<Grey>(bounds)};
  {
    XLock sourceLock(inSource, kLockRead);
    XLock lock0(*channels[0], kLockWrite), lock1(*channels[1], kLockWrite), lock2(*channels[2], kLockWrite);
    XProgress progress(bounds.GetDepth(), kProgressStandard, 2000, false);
    T* rows[3];
    for (SInt32 z = bounds.front; z < bounds.back; ++z, progress.Increment())
      for (SInt32 y = bounds.top; y < bounds.bottom; ++y) {
        const auto* colours = inSource.GetVoxelPtr(bounds.left, y, z);
        for (int k = 0; k < 3; ++k) rows[k] = channels[k]->GetVoxelPtr(bounds.left, y, z);
        for (UInt32 x = 0; x < bounds.GetWidth(); ++x) {
          rows[0][x] = T(colours[x].red);
          rows[1][x] = T(colours[x].green);
          rows[2][x] = T(colours[x].blue);
        }
      }
  }
  for (auto& channel : channels) {
    channel->CopyScalingFrom(inSource);
    outVolumes.push_back(std::move(channel));
  }
}

}  // namespace

void XVolumeRGBSplitTool::ApplyToolARGB32(const XARGB32Volume& inSource, XPtrVector<XVolume>& outVolumes) {
  Split<XGrey8Volume>(inSource, outVolumes);
}

void XVolumeRGBSplitTool::ApplyToolRGB48(const XRGB48Volume& inSource, XPtrVector<XVolume>& outVolumes) {
  Split<XGrey16Volume>(inSource, outVolumes);
}

}  // namespace mirelan
