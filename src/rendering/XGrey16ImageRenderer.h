// Renderer of 16-bit grey pixels.
#pragma once

#include "core/XExport.h"
#include "rendering/XGreyImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XGrey16ImageRenderer : public XGreyImageRenderer<UInt16> {
 public:
  static constexpr UInt16 kClassID = 12006;

  XGrey16ImageRenderer() { itsWhite = 65535.0; }
  XGrey16ImageRenderer(const XGrey16ImageRenderer& inOther) = default;
  explicit XGrey16ImageRenderer(const XIntToColourLUT& inLUT);
  explicit XGrey16ImageRenderer(XStream& inStream);
  XGrey16ImageRenderer& operator=(const XGrey16ImageRenderer& inOther) = default;
  ~XGrey16ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XGreyImageRenderer<UInt16>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XGrey16ImageRenderer* Clone() const override { return new XGrey16ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // As the 8-bit form, but a table running downward is not detected.
  void ApplyLUT(const XIntToColourLUT& inLUT) override { ApplyLUTSelf(inLUT, false); }

 protected:
  // Rainbow; untouched but for a white point of 1023, 4095, 16383 or 65535:
  // the value's top bits; untouched but for another white, or a gamma of 1,
  // straight in fixed point on the same-size path; otherwise the level table.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XGrey16ImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
