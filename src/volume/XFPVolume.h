// 32-bit float volumes; the base of the Fourier volumes.
#pragma once

#include "core/XExport.h"
#include "volume/XNumberVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XFPVolume : public XNumberVolume<Float32> {
 public:
  static constexpr UInt16 kClassID = 107;
  static constexpr UInt16 kLegacyClassID = 2;

  XFPVolume();
  XFPVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XFPVolume(const X3DRect& inBounds);
  XFPVolume(const XFPVolume& inOther) = default;
  explicit XFPVolume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XNumberVolume<Float32>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XFPVolume* Clone() const override { return new XFPVolume(*this); }
  XFPVolume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "Floating-point Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XFPVolume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadFPLayer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
