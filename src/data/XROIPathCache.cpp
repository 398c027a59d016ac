#include "data/XROIPathCache.h"

#include <limits>

namespace mirelan {

namespace {

// NaN sides: no rectangle compares equal to one, not even the same one.
const XRectF& ImpossibleRect() {
  static const XRectF sRect = [] {
    XRectF r;
    r.left = r.top = r.right = r.bottom = std::numeric_limits<Float32>::quiet_NaN();
    return r;
  }();
  return sRect;
}

bool SameFloats(const XRectF& inA, const XRectF& inB) {
  return inA.left == inB.left && inA.top == inB.top && inA.right == inB.right && inA.bottom == inB.bottom;
}

}  // namespace

XROIPathCache::XROIPathCache()
    : itsPlane(std::numeric_limits<SInt32>::min()),
      itsSourceRect(ImpossibleRect()),
      itsTargetRect(ImpossibleRect()),
      itsClipRect(ImpossibleRect()) {}

bool XROIPathCache::IsValidFor(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                               const XRectF& inClipRect) const {
  return itsPlane == inPlane && SameFloats(itsSourceRect, inSourceRect) && SameFloats(itsTargetRect, inTargetRect) &&
         SameFloats(itsClipRect, inClipRect);
}

bool XROIPathCache::CanOffset() const {
  return SameFloats(itsSourceRect, itsTargetRect) && SameFloats(itsTargetRect, itsClipRect);
}

void XROIPathCache::Offset(SInt32 inDX, SInt32 inDY) {
  for (XVector<XPoint>& path : itsPaths)
    for (XPoint& p : path) {
      p.x = XRectMath::Add(p.x, inDX);
      p.y = XRectMath::Add(p.y, inDY);
    }
}

void XROIPathCache::Set(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                        const XRectF& inClipRect, const XROIPaths& inPaths) {
  itsPlane = inPlane;
  itsSourceRect = inSourceRect;
  itsTargetRect = inTargetRect;
  itsClipRect = inClipRect;
  itsPaths = inPaths;
}

}  // namespace mirelan
