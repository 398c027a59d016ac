// A polygon ROI: an outline polyline and a region stored side by side. Here
// neither feeds the other: the region comes from the stream or is set with
// it, and a polygon is edited by replacing it. So the box operations work
// out a new box and stop there, and CentreOn, Grow, Shrink and Map do
// nothing.
#pragma once

#include "core/XExport.h"
#include "data/X3DPolyLine.h"
#include "data/XROI.h"

namespace mirelan {

class MIRELAN_EXPORT XPolygonROI : public XROI {
 public:
  static constexpr UInt16 kClassID = 129;

  XPolygonROI() = default;
  XPolygonROI(const X3DPolyLine& inPolyLine, const X3DRegion& inRegion);
  XPolygonROI(const XPolygonROI& inOther) = default;
  XPolygonROI& operator=(const XPolygonROI& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XROI::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  XPolygonROI* Clone() const override { return new XPolygonROI(*this); }
  UInt64 GetStreamUsage() const override { return XROI::GetStreamUsage() + 8 + itsPolyLine.GetStreamUsage(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XPolygonROI(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  bool IsResizeable() const override { return true; }
  bool IsSimple() const override { return false; }
  // ClipToBounds.
  void SetBounds(const X3DRect& inRect) override;
  void ClipToBounds(const X3DRect& inRect) override;
  void Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void CentreOn(const X3DRect& inRect) override;
  void Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) override;
  void Map(const X3DRect& inFromRect, const X3DRect& inToRect) override;

  const X3DPolyLine& GetPolyLine() const { return itsPolyLine; }
  // Stores the outline only; the region stays as it is.
  void SetPolyLine(const X3DPolyLine& inPolyLine) { itsPolyLine = inPolyLine; }
  // Replaces the region, and with it the outlines drawn.
  void SetRegion(const X3DRegion& inRegion);

 private:
  X3DPolyLine itsPolyLine;
};

}  // namespace mirelan
