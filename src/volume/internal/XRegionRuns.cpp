#include "volume/internal/XRegionRuns.h"

#include "core/XException.h"
#include "volume/X3DRegion.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

XRegionRuns::XRegionRuns(const X3DRegion* inRegion, const X3DRect& inBox) : itsBox(inBox) {
  if (!inRegion) return;
  itsBox.Sect(inRegion->GetBounds());
  AttachMask(inRegion->GetBounds(), inRegion->GetMask());
}

XRegionRuns::~XRegionRuns() = default;

void XRegionRuns::AttachMask(const X3DRect& inRegionBounds, const XMaskVolume* inMask) {
  if (!inMask || IsEmpty()) return;
  XAssert(inMask->GetBounds() == inRegionBounds);
  // A copy shares the mask's block and holds it for the walk.
  itsMask.reset(inMask->Clone());
  itsMaskLock = std::make_unique<XLock>(*itsMask, kLockRead);
  itsMaskBase = itsMask->GetBasePtr();
  itsMaskBounds = inRegionBounds;
  itsMaskRowBytes = static_cast<ptrdiff_t>(itsMask->GetRowBytes());
  itsMaskPlaneBytes = static_cast<ptrdiff_t>(itsMask->GetPlaneBytes());
}

bool XRegionRuns::CoversWhole(const X3DRegion* inRegion, const X3DRect& inRect) {
  return !inRegion || (inRegion->IsSimple() && inRegion->GetBounds().Contains(inRect));
}

}  // namespace mirelan
