// The path of an object through time: a float polyline whose nodes belong to
// successive timepoints from the first one on.
#pragma once

#include "core/XExport.h"
#include "data/X3DPolyLine.h"

namespace mirelan {

class MIRELAN_EXPORT X4DTrack : public X3DPolyLineF {
 public:
  static constexpr UInt16 kClassID = 120;

  X4DTrack() = default;
  explicit X4DTrack(UInt32 inFirstTimepoint) : itsFirstTimepoint(inFirstTimepoint) {}
  X4DTrack(const X4DTrack& inOther) = default;
  X4DTrack& operator=(const X4DTrack& inOther) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return X3DPolyLineF::GetClassVersion(); }

  XVersion GetVersion() const override { return GetClassVersion(); }
  X4DTrack* Clone() const override { return new X4DTrack(*this); }
  UInt64 GetStreamUsage() const override { return X3DPolyLineF::GetStreamUsage() + 8; }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X4DTrack(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;

  UInt32 GetFirstTimepoint() const { return itsFirstTimepoint; }
  void SetFirstTimepoint(UInt32 inTimepoint) { itsFirstTimepoint = inTimepoint; }

 private:
  UInt32 itsFirstTimepoint = 0;
};

}  // namespace mirelan
