// Renderer of masks: a byte of 128 or more is set and shows the white
// colour, anything below shows the black colour.
#pragma once

#include "core/XExport.h"
#include "rendering/XGrey8ImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XMaskImageRenderer : public XGrey8ImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12004;

  XMaskImageRenderer() = default;
  XMaskImageRenderer(const XMaskImageRenderer& inOther) = default;
  explicit XMaskImageRenderer(XStream& inStream);
  XMaskImageRenderer& operator=(const XMaskImageRenderer& inOther) = default;
  ~XMaskImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XGrey8ImageRenderer::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XMaskImageRenderer* Clone() const override { return new XMaskImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // A mask has no black point, white point or gamma to offer.
  bool HasProperty(UInt32 inProperty) const override;
  // The mean of the white colour's channels for a set value, of the black
  // colour's otherwise, through gain, offset and gamma.
  UInt8 GetLuminance(Float64 inValue) const override;
  // 256 entries: the first 128 the black colour's display, the rest the white's.
  XIntToColourLUT* GetLUT() const override;
  // Untouched: all ones for a set byte, 0 (transparent black) for a clear
  // one; otherwise the two colours as the mask shows them.
  void GetColour(const void* inPixel, XARGB32Colour& outColour) const override;

 protected:
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  // A colour as the mask shows it: each channel through gain, offset and gamma.
  XARGB32Colour GetShownColour(const XARGB32Colour& inColour) const;
  void ReadStream2_XMaskImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
