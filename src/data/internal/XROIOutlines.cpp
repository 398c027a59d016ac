#include "data/internal/XROIOutlines.h"

#include "volume/X3DRegion.h"

namespace mirelan {

namespace XROIOutlines {

XROIPaths GetPlaneOutline(const X3DRegion& inRegion, XPlaneMode inMode, const X3DRegion* inClip) {
  X3DRegion region(inRegion);
  if (inClip) region.Sect(*inClip);
  if (region.IsEmpty()) return XROIPaths();
  const X3DRect& b = region.GetBounds();
  XRect box = inMode == kXZPlane ? b.GetXZBounds() : inMode == kYZPlane ? b.GetYZBounds() : b.GetXYBounds();
  // The corners in the order of the tracer's outlines, closed.
  return XROIPaths{{XPoint(box.left, box.top), XPoint(box.right, box.top), XPoint(box.right, box.bottom),
                    XPoint(box.left, box.bottom), XPoint(box.left, box.top)}};
}

}  // namespace XROIOutlines

}  // namespace mirelan
