// An elliptic cylinder: the ellipse that fills the bounds' rectangle in the
// plane of the plane mode, extruded along the third axis through the bounds.
#pragma once

#include "core/XExport.h"
#include "data/XROI.h"

namespace mirelan {

class XMaskVolume;

class MIRELAN_EXPORT XEllipseROI : public XROI {
 public:
  static constexpr UInt16 kClassID = 130;

  XEllipseROI() = default;
  XEllipseROI(const X3DRect& inBounds, XPlaneMode inPlaneMode = kXYPlane);
  XEllipseROI(const XEllipseROI& inOther) = default;
  XEllipseROI& operator=(const XEllipseROI& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XROI::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  XEllipseROI* Clone() const override { return new XEllipseROI(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XEllipseROI(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  bool IsResizeable() const override { return true; }
  bool IsSimple() const override { return false; }
  X3DRect GetBounds() const override { return itsBounds; }
  // Equal bounds change nothing; others rebuild the region and drop the caches.
  void SetBounds(const X3DRect& inRect) override;
  // Each applies the box operation of its name to the bounds and sets them.
  void ClipToBounds(const X3DRect& inRect) override;
  void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void CentreOn(const X3DRect& inRect) override;
  void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Map(const X3DRect& inFromRect, const X3DRect& inToRect) override;

  XPlaneMode GetPlaneMode() const { return itsPlaneMode; }
  void SetPlaneMode(XPlaneMode inPlaneMode);
  // The XY, XZ or YZ bounds of the box by the plane mode.
  XRect GetEllipseRect() const;

  // An ellipse cut in its own plane stays an ellipse, one voxel thick (an
  // empty one when the plane lies outside the bounds); cut across, it is
  // an XIrregularROI of the region's slice.
  XROI* XYMergeToROICopy() const override;
  XROI* XYPlaneToROICopy(SInt32 inPlane) const override;
  XROI* XZPlaneToROICopy(SInt32 inPlane) const override;
  XROI* YZPlaneToROICopy(SInt32 inPlane) const override;

  // Sets to 255 the ellipse that touches all four sides of the mask's front
  // plane (midpoint algorithm; a mask 1 wide or 1 high is filled whole) and
  // clears the rest of the plane.
  static void FillEllipseMask(XMaskVolume& ioMask);

 protected:
  void UpdateRegion() override;

 private:
  static XRect EllipseRectOf(const X3DRect& inBounds, XPlaneMode inPlaneMode);
  static X3DRegion BuildRegion(const X3DRect& inBounds, XPlaneMode inPlaneMode);

  X3DRect itsBounds;
  XPlaneMode itsPlaneMode = kXYPlane;
};

}  // namespace mirelan
