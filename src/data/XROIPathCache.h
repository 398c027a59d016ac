// The outlines of a ROI on one plane, kept for drawing, with the key they
// were made for: the plane and the source, target and clip rectangles.
// Caches are shared between copies of a ROI and replaced, never changed,
// while shared, so a path vector handed out stays valid for its holder.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XRefCountable.h"
#include "geometry/XPoint.h"
#include "geometry/XRect.h"

namespace mirelan {

// Closed polylines in the target coordinates of a drawing.
using XROIPaths = XVector<XVector<XPoint>>;

class MIRELAN_EXPORT XROIPathCache : public XRefCountable {
 public:
  // An impossible key: no request matches it and it cannot be offset.
  XROIPathCache();
  XROIPathCache(const XROIPathCache& inOther) = default;
  XROIPathCache& operator=(const XROIPathCache& inOther) = default;

  // The plane is equal and the three rectangles equal in all four
  // coordinates, compared as floats.
  bool IsValidFor(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                  const XRectF& inClipRect) const;
  // The three rectangles are equal to one another, so the mapping is 1 to 1
  // and a moved region moves its outline by the same amount.
  bool CanOffset() const;
  // Adds to every point of every path.
  void Offset(SInt32 inDX, SInt32 inDY);
  void Set(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect, const XRectF& inClipRect,
           const XROIPaths& inPaths);

  SInt32 GetPlane() const { return itsPlane; }
  const XROIPaths& GetPaths() const { return itsPaths; }

 private:
  SInt32 itsPlane;
  XRectF itsSourceRect;
  XRectF itsTargetRect;
  XRectF itsClipRect;
  XROIPaths itsPaths;
};

}  // namespace mirelan
