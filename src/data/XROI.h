// A region of interest: a marked part of an image. Whatever its shape, a ROI
// holds one X3DRegion that is the truth of which voxels it covers, so a hit
// test is asked of the region. The shape classes add the parameters the
// region was built from, which a user can edit, and every ROI keeps a cache
// of outlines per drawing plane.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XRefCountable.h"
#include "core/XStorable.h"
#include "data/XROIPathCache.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"
#include "volume/X3DRegion.h"
#include "volume/XVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XROI : public XStorable {
 public:
  static constexpr UInt16 kClassID = 126;

  ~XROI() override;

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XROI* Clone() const override = 0;
  // That of the region.
  UInt64 GetStreamUsage() const override { return itsRegion.GetStreamUsage(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XROI(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  const X3DRegion& GetRegion() const { return itsRegion; }

  virtual bool IsResizeable() const = 0;
  virtual bool IsSimple() const = 0;
  // The region's bounds unless the shape keeps bounds of its own.
  virtual X3DRect GetBounds() const { return itsRegion.GetBounds(); }
  virtual void SetBounds(const X3DRect& inRect) = 0;
  virtual void ClipToBounds(const X3DRect& inRect) = 0;
  virtual void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) = 0;
  virtual void CentreOn(const X3DRect& inRect) = 0;
  virtual void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) = 0;
  virtual void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) = 0;
  virtual void Map(const X3DRect& inFromRect, const X3DRect& inToRect) = 0;

  // Closed outlines of one plane for drawing, in target coordinates: the
  // plane's slice of the region, mapped from inSourceRect to inTargetRect
  // and cut to inClipRect unless that is empty. The rectangles are in the
  // plane's own axes: (x, y) for XY, (x, z) for XZ, (z, y) for YZ. Paths
  // are cached per plane under the plane and the three rectangles.
  virtual XROIPaths GetXYPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                               const XRectF& inClipRect) const;
  virtual XROIPaths GetXZPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                               const XRectF& inClipRect) const;
  virtual XROIPaths GetYZPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                               const XRectF& inClipRect) const;
  // The outlines of the region projected along z (cached under plane 0).
  virtual XROIPaths GetXYMergePaths(const XRectF& inSourceRect, const XRectF& inTargetRect,
                                    const XRectF& inClipRect) const;

  // New ROIs one voxel thick, owned by the caller: the projection along z,
  // or one plane. Here an XIrregularROI of the region's slice; shapes that
  // stay themselves across a plane return their own kind.
  virtual XROI* XYMergeToROICopy() const;
  virtual XROI* XYPlaneToROICopy(SInt32 inPlane) const;
  virtual XROI* XZPlaneToROICopy(SInt32 inPlane) const;
  virtual XROI* YZPlaneToROICopy(SInt32 inPlane) const;

  // The caches as they stand, for a host that keeps paths beyond the next change.
  XRefPtr<XROIPathCache> GetXYPathCache() const { return itsXYPathCache; }
  XRefPtr<XROIPathCache> GetXZPathCache() const { return itsXZPathCache; }
  XRefPtr<XROIPathCache> GetYZPathCache() const { return itsYZPathCache; }
  XRefPtr<XROIPathCache> GetXYMergePathCache() const { return itsXYMergePathCache; }

  // The extreme coordinates of the points, right and bottom not incremented;
  // the empty rectangle for no points.
  static XRect GetBoundsOfPoints(const XVector<XPoint>& inPoints);
  // The closed polygon through the points as a region of depth 1 at z 0:
  // its outline by Bresenham lines and its interior by the even-odd rule
  // (see internal/XPolygonFill.h), cut to the bounds of the points, so that
  // points on their right and bottom edges fall outside.
  static X3DRegion Create2DRegionFromPoints(const XVector<XPoint>& inPoints);
  // The same cut to inRect. One point is the voxel at it whatever inRect.
  static X3DRegion Create2DRegionFromPoints(const XVector<XPoint>& inPoints, const XRect& inRect);
  // A flat region extruded along the third axis of the plane mode through
  // inRect: XY from front to back, XZ from top to bottom, YZ from left to
  // right. The flat region's (x, y) are the plane's own axes ((x, z) for XZ,
  // (z, y) for YZ). Any other mode gives the empty region.
  static X3DRegion Create3DRegionFrom2DRegion(const X3DRegion& inRegion, XPlaneMode inPlaneMode,
                                              const X3DRect& inRect);

 protected:
  XROI();
  explicit XROI(const X3DRegion& inRegion);
  // Copies share the path caches until one of them sets its own.
  XROI(const XROI& inOther) = default;
  XROI& operator=(const XROI& inOther) = default;

  // Rebuilds the region from the shape's parameters.
  virtual void UpdateRegion() {}
  // Replaces each of the four caches with a new empty one.
  void InvalidatePathCache();
  void SetRegion(const X3DRegion& inRegion) { itsRegion = inRegion; }
  X3DRegion& GetMutableRegion() { return itsRegion; }
  XRefPtr<XROIPathCache>& GetPathCache(XPlaneMode inMode, bool inMerge) const;

 private:
  XROIPaths GetPlanePaths(XPlaneMode inMode, bool inMerge, SInt32 inPlane, const XRectF& inSourceRect,
                          const XRectF& inTargetRect, const XRectF& inClipRect) const;

  X3DRegion itsRegion;
  // Drawing state: filling a cache does not change the ROI.
  mutable XRefPtr<XROIPathCache> itsXYPathCache;
  mutable XRefPtr<XROIPathCache> itsXZPathCache;
  mutable XRefPtr<XROIPathCache> itsYZPathCache;
  mutable XRefPtr<XROIPathCache> itsXYMergePathCache;
};

}  // namespace mirelan
