// 16-bit grey volumes.
#pragma once

#include "core/XExport.h"
#include "volume/XNumberVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XGrey16Volume : public XIntegerVolume<UInt16> {
 public:
  static constexpr UInt16 kClassID = 106;

  XGrey16Volume();
  XGrey16Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XGrey16Volume(const X3DRect& inBounds);
  XGrey16Volume(const XGrey16Volume& inOther) = default;
  explicit XGrey16Volume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XIntegerVolume<UInt16>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XGrey16Volume* Clone() const override { return new XGrey16Volume(*this); }
  XGrey16Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "16-bit Grayscale Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XGrey16Volume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadGrey16Layer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
