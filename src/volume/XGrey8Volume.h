// 8-bit grey volumes.
#pragma once

#include "core/XExport.h"
#include "volume/XNumberVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XGrey8Volume : public XIntegerVolume<UInt8> {
 public:
  static constexpr UInt16 kClassID = 105;
  // The lossy grey form, read as this class.
  static constexpr UInt16 kLossyClassID = 12101;

  XGrey8Volume();
  XGrey8Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XGrey8Volume(const X3DRect& inBounds);
  XGrey8Volume(const XGrey8Volume& inOther) = default;
  // Reads every stored form: layered, legacy image, and the lossy grey form
  // (whose image is left undecoded with inSkipData).
  explicit XGrey8Volume(XStream& inStream, bool inSkipData = false);

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XIntegerVolume<UInt8>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XGrey8Volume* Clone() const override { return new XGrey8Volume(*this); }
  XGrey8Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "256 Grays Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XGrey8Volume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;
  // Reads the lossy form when the version names class 12100, the colour id:
  // a grey lossy stream (12101) is recognised by the stream constructor only.
  bool PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) override;
  void WriteStreamLossyCompressed(XStream& inStream, SInt32 inQuality) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadGrey8Layer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
