// A box ROI: the region is the box of its bounds.
#pragma once

#include "core/XExport.h"
#include "data/XROI.h"

namespace mirelan {

class MIRELAN_EXPORT XCuboidROI : public XROI {
 public:
  static constexpr UInt16 kClassID = 131;

  XCuboidROI() = default;
  explicit XCuboidROI(const X3DRect& inBounds);
  XCuboidROI(const XCuboidROI& inOther) = default;
  XCuboidROI& operator=(const XCuboidROI& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XROI::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  XCuboidROI* Clone() const override { return new XCuboidROI(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XCuboidROI(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  bool IsResizeable() const override { return true; }
  bool IsSimple() const override { return true; }
  X3DRect GetBounds() const override { return itsBounds; }
  // Equal bounds change nothing and keep the caches; others set the region
  // to the box and drop the caches.
  void SetBounds(const X3DRect& inRect) override;
  // Each applies the box operation of its name to the bounds and sets them.
  void ClipToBounds(const X3DRect& inRect) override;
  void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void CentreOn(const X3DRect& inRect) override;
  void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Map(const X3DRect& inFromRect, const X3DRect& inToRect) override;

  // The box directly, mapped in float arithmetic, clipped, as one path of
  // its corners; nothing when the plane lies outside the bounds.
  XROIPaths GetXYPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                       const XRectF& inClipRect) const override;

  // The XY bounds at z 0, depth 1.
  XROI* XYMergeToROICopy() const override;
  // The plane of the bounds; an empty cuboid when the plane lies outside.
  XROI* XYPlaneToROICopy(SInt32 inPlane) const override;
  XROI* XZPlaneToROICopy(SInt32 inPlane) const override;
  XROI* YZPlaneToROICopy(SInt32 inPlane) const override;

 protected:
  void UpdateRegion() override;

 private:
  X3DRect itsBounds;
};

}  // namespace mirelan
