// Masks: one byte per voxel on Grey8 storage, 255 set and 0 clear; readers
// take any byte above 127 as set.
#pragma once

#include "core/XExport.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

class MIRELAN_EXPORT XMaskVolume : public XGrey8Volume {
 public:
  static constexpr UInt16 kClassID = 115;
  static constexpr UInt16 kLegacyClassID = 5;

  XMaskVolume();
  XMaskVolume(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  explicit XMaskVolume(const X3DRect& inBounds);
  XMaskVolume(const XMaskVolume& inOther) = default;
  explicit XMaskVolume(XStream& inStream);

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XGrey8Volume::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }

  using XVolume::Clone;
  using XVolume::CloneWithoutCopy;
  XMaskVolume* Clone() const override { return new XMaskVolume(*this); }
  XMaskVolume* CloneWithoutCopy(const X3DRect& inRect) const override;
  XString GetDescription() const override { return "1-bit Mask Image"; }
  bool IsPlaneRendererSupported(const XImageRenderer& inRenderer) const override;

  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XMaskVolume(XStream& inStream, XOptions inOptions = kReadAll);
  void WriteStreamSelf(XStream& inStream) const;

  // Every byte becomes 255 if above inThreshold, else 0.
  void Threshold(UInt8 inThreshold);

 protected:
  void ReadMaskLayer(XStream& inStream);

 private:
  // Legacy mask images kept rows padded to 4 bytes with every byte inverted.
  // The packed layer calls this on the block it read: it makes a new block
  // with rows of the width and each byte restored.
  static XMemoryHandle ReadMaskImageStream(const XMemoryHandle& inStored, UInt32 inWidth, UInt32 inHeight);
  template <class T>
  friend class XPackedVolume;
};

}  // namespace mirelan
