// The two storable polylines: integer positions (X3DPolyLine, the outline of
// a polygon ROI and of drawn measurements) and float positions
// (X3DPolyLineF, the base of tracks and hierarchical polylines).
#pragma once

#include "core/XExport.h"
#include "core/XStorable.h"
#include "data/X3DPolyLineT.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class X3DPolyLineF;

class MIRELAN_EXPORT X3DPolyLine : public XStorable, public X3DPolyLineT<X3DPoint> {
 public:
  static constexpr UInt16 kClassID = 110;

  X3DPolyLine() = default;
  X3DPolyLine(const X3DPolyLine& inOther) = default;
  // The same graph with positions truncated to integers.
  explicit X3DPolyLine(const X3DPolyLineF& inOther);
  X3DPolyLine& operator=(const X3DPolyLine& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 2); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DPolyLine* Clone() const override { return new X3DPolyLine(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DPolyLine(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream, const XVersion& inTag);
  void WriteStreamSelf(XStream& inStream) const;

  // A copy with each position scaled about 0 by the ratios of the two boxes'
  // extents (in doubles), each coordinate truncated.
  X3DPolyLine RemapToRect(const X3DRect& inFromRect, const X3DRect& inToRect) const;
};

class MIRELAN_EXPORT X3DPolyLineF : public XStorable, public X3DPolyLineT<X3DPointF> {
 public:
  static constexpr UInt16 kClassID = 119;

  X3DPolyLineF() = default;
  X3DPolyLineF(const X3DPolyLineF& inOther) = default;
  // The same graph with float positions.
  explicit X3DPolyLineF(const X3DPolyLine& inOther);
  X3DPolyLineF& operator=(const X3DPolyLineF& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DPolyLineF* Clone() const override { return new X3DPolyLineF(*this); }
  // 12 bytes a node and 8 a line, with the counts, colour and population ID.
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DPolyLineF(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;
};

}  // namespace mirelan
