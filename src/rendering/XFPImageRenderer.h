// Renderer of 32-bit float pixels. Its input range is its black and white
// points, 0 to 1 by default.
#pragma once

#include "core/XExport.h"
#include "rendering/XGreyImageRenderer.h"

namespace mirelan {

class XFloatToColourLUT;

class MIRELAN_EXPORT XFPImageRenderer : public XGreyImageRenderer<Float32> {
 public:
  static constexpr UInt16 kClassID = 12010;

  XFPImageRenderer() { itsWhite = 1.0; }
  XFPImageRenderer(const XFPImageRenderer& inOther) = default;
  explicit XFPImageRenderer(const XFloatToColourLUT& inLUT);
  explicit XFPImageRenderer(XStream& inStream);
  XFPImageRenderer& operator=(const XFPImageRenderer& inOther) = default;
  ~XFPImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XGreyImageRenderer<Float32>::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XFPImageRenderer* Clone() const override { return new XFPImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  Float64 GetMinInputValue() const override { return GetBlack(); }
  Float64 GetMaxInputValue() const override { return GetWhite(); }

  // Normal means the range 0 to 255 here, not the default 0 to 1; the
  // balances are not asked.
  bool IsNormal() const override;
  bool IsNormalExceptForWhitePoint() const override;
  // Black and white are taken as they are, never rescaled.
  void CopyProperties(const XImageRenderer& inOther) override;

  // An XFloatToColourLUT over black .. white, of 256 entries by the ramp.
  XIntToColourLUT* GetLUT() const override;
  // Needs an XFloatToColourLUT (else 2506): its range and its top colour.
  void ApplyLUT(const XIntToColourLUT& inLUT) override;

 protected:
  // Rainbow; untouched (0 to 255) in fixed point; from 0 over a range of at
  // least 255 (up to 32767) through 256 colours; otherwise per pixel in floats.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XFPImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
