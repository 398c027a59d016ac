// Renderer of 16-bit-per-channel colour pixels.
#pragma once

#include "core/XExport.h"
#include "rendering/XImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XRGB48ImageRenderer : public XImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12009;

  XRGB48ImageRenderer() { itsWhite = 65535.0; }
  XRGB48ImageRenderer(const XRGB48ImageRenderer& inOther) = default;
  explicit XRGB48ImageRenderer(XStream& inStream);
  XRGB48ImageRenderer& operator=(const XRGB48ImageRenderer& inOther) = default;
  ~XRGB48ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XImageRenderer::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XRGB48ImageRenderer* Clone() const override { return new XRGB48ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  Float64 GetMaxInputValue() const override { return 65535.0; }

  // By the same choice as the render loops, for one pixel.
  void GetColour(const void* inPixel, XARGB32Colour& outColour) const override;

 protected:
  // Untouched but for a white point of 1023, 4095, 16383 or 65535: top bits
  // per channel; untouched but for another white: a fixed scale; a gamma of
  // 1: per channel in doubles; otherwise a table of 65536 levels.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XRGB48ImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
