// 32-bit grey volumes, the label volumes of connected components. The class
// has an id but no registry entry: it cannot be made from a stream through
// the registry, only by its own stream constructor. It has no plane renderer.
#pragma once

#include "core/XExport.h"
#include "volume/XNumberVolume.h"

namespace mirelan {

class MIRELAN_EXPORT XGrey32Volume : public XIntegerVolume<UInt32> {
 public:
  static constexpr UInt16 kClassID = 111;

  XGrey32Volume();
  XGrey32Volume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XGrey32Volume(const X3DRect& inBounds);
  XGrey32Volume(const XGrey32Volume& inOther) = default;
  explicit XGrey32Volume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XIntegerVolume<UInt32>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XGrey32Volume* Clone() const override { return new XGrey32Volume(*this); }
  XGrey32Volume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "32-bit Grayscale Image"; }

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XGrey32Volume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

 protected:
  MIRELAN_DECLARE_COPY_OUT_CELLS
  void ReadGrey32Layer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
