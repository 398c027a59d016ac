// Renderer of 8-bit grey pixels.
#pragma once

#include "core/XExport.h"
#include "rendering/XGreyImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XGrey8ImageRenderer : public XGreyImageRenderer<UInt8> {
 public:
  static constexpr UInt16 kClassID = 12005;

  XGrey8ImageRenderer() = default;
  XGrey8ImageRenderer(const XGrey8ImageRenderer& inOther) = default;
  // Black, white and the two colours taken from the table (see ApplyLUT).
  explicit XGrey8ImageRenderer(const XIntToColourLUT& inLUT);
  explicit XGrey8ImageRenderer(XStream& inStream);
  XGrey8ImageRenderer& operator=(const XGrey8ImageRenderer& inOther) = default;
  ~XGrey8ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XGreyImageRenderer<UInt8>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XGrey8ImageRenderer* Clone() const override { return new XGrey8ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

 protected:
  // Rainbow; untouched (the value as grey); a gamma of 1 on the same-size
  // path straight in fixed point; otherwise through the level table.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XGrey8ImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
