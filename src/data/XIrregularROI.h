// Any set of voxels: the region is all there is.
#pragma once

#include "core/XExport.h"
#include "data/XROI.h"

namespace mirelan {

class MIRELAN_EXPORT XIrregularROI : public XROI {
 public:
  static constexpr UInt16 kClassID = 128;

  XIrregularROI() = default;
  explicit XIrregularROI(const X3DRegion& inRegion) : XROI(inRegion) {}
  // The polygon through the points (Create2DRegionFromPoints) extruded
  // through inRect across the plane of inPlaneMode.
  XIrregularROI(const XVector<XPoint>& inPoints, XPlaneMode inPlaneMode, const X3DRect& inRect);
  XIrregularROI(const XIrregularROI& inOther) = default;
  XIrregularROI& operator=(const XIrregularROI& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XROI::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  XIrregularROI* Clone() const override { return new XIrregularROI(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XIrregularROI(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  bool IsResizeable() const override { return false; }
  // A plain box.
  bool IsSimple() const override { return GetRegion().IsSimple(); }
  // Not resizeable: does nothing.
  void SetBounds(const X3DRect& inRect) override;
  // The region's own operations; all but Offset drop the path caches.
  void ClipToBounds(const X3DRect& inRect) override;
  void CentreOn(const X3DRect& inRect) override;
  void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Map(const X3DRect& inFromRect, const X3DRect& inToRect) override;
  // Moves the region and keeps each cache that can move with it: a 1-to-1
  // mapping and a move within the cache's plane. Others are replaced.
  void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
};

}  // namespace mirelan
