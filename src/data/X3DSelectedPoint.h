// A marked voxel: a position with a colour and the population it belongs to.
#pragma once

#include "core/XExport.h"
#include "core/XStorable.h"
#include "geometry/XPoint.h"
#include "volume/XColour.h"

namespace mirelan {

class MIRELAN_EXPORT X3DSelectedPoint : public X3DPoint, public XStorable {
 public:
  static constexpr UInt16 kClassID = 118;

  X3DSelectedPoint() = default;
  X3DSelectedPoint(SInt32 inX, SInt32 inY, SInt32 inZ) : X3DPoint(inX, inY, inZ) {}
  explicit X3DSelectedPoint(const X3DPointT<SInt32>& inPoint) : X3DPoint(inPoint) {}
  // Float positions truncate.
  explicit X3DSelectedPoint(const X3DPointT<Float32>& inPoint) : X3DPoint(inPoint) {}
  X3DSelectedPoint(const XPointT<SInt32>& inPoint, SInt32 inZ) : X3DPoint(inPoint, inZ) {}
  X3DSelectedPoint(const XPointT<Float32>& inPoint, SInt32 inZ)
      : X3DPoint(X3DPointT<SInt32>(XPointT<SInt32>(inPoint), inZ)) {}
  X3DSelectedPoint(const X3DSelectedPoint& inOther) = default;
  X3DSelectedPoint& operator=(const X3DSelectedPoint& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DSelectedPoint* Clone() const override { return new X3DSelectedPoint(*this); }
  UInt64 GetStreamUsage() const override { return 4 + 12 + 4 + 8; }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DSelectedPoint(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  const XARGB32Colour& GetColour() const { return itsColour; }
  void SetColour(const XARGB32Colour& inColour) { itsColour = inColour; }
  UInt32 GetPopulationID() const { return itsPopulationID; }
  void SetPopulationID(UInt32 inID) { itsPopulationID = inID; }
  UInt32 GetPopulationIndex() const { return itsPopulationIndex; }
  void SetPopulationIndex(UInt32 inIndex) { itsPopulationIndex = inIndex; }

 private:
  XARGB32Colour itsColour{255, 0, 0, 0};  // opaque black
  UInt32 itsPopulationID = 0;
  UInt32 itsPopulationIndex = 0;
};

}  // namespace mirelan
