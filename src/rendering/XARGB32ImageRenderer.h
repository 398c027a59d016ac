// Renderers of 8-bit colour pixels in the two byte orders. They have no
// colours of their own and no table; gain, gamma and balance act per channel.
#pragma once

#include "core/XExport.h"
#include "rendering/XImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XARGB32ImageRenderer : public XImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12007;

  XARGB32ImageRenderer() = default;
  XARGB32ImageRenderer(const XARGB32ImageRenderer& inOther) = default;
  explicit XARGB32ImageRenderer(XStream& inStream);
  XARGB32ImageRenderer& operator=(const XARGB32ImageRenderer& inOther) = default;
  ~XARGB32ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XImageRenderer::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XARGB32ImageRenderer* Clone() const override { return new XARGB32ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // Untouched: the pixel as it is, alpha kept. Otherwise each channel
  // through the level table and its balance, alpha 255.
  void GetColour(const void* inPixel, XARGB32Colour& outColour) const override;
  // A row of pixels into words as they are, their bytes reversed when
  // inFormat is the other byte order.
  virtual void FastScanlineCopy(const XARGB32Colour* inSource, UInt32* outDest, UInt32 inCount,
                                XPixelFormat inFormat) const;

 protected:
  // Untouched: the pixels copied (alpha kept); otherwise the channel table.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XARGB32ImageRenderer(XStream& inStream, XOptions inOptions);
};

class MIRELAN_EXPORT XBGRA32ImageRenderer : public XImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12008;

  XBGRA32ImageRenderer() = default;
  XBGRA32ImageRenderer(const XBGRA32ImageRenderer& inOther) = default;
  explicit XBGRA32ImageRenderer(XStream& inStream);
  XBGRA32ImageRenderer& operator=(const XBGRA32ImageRenderer& inOther) = default;
  ~XBGRA32ImageRenderer() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XImageRenderer::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XBGRA32ImageRenderer* Clone() const override { return new XBGRA32ImageRenderer(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  // Untouched: the pixel as it is, alpha kept. Otherwise each channel
  // through the level table and its balance, alpha 255.
  void GetColour(const void* inPixel, XARGB32Colour& outColour) const override;
  // A row of pixels into words as they are, their bytes reversed when
  // inFormat is the other byte order.
  virtual void FastScanlineCopy(const XBGRA32Colour* inSource, UInt32* outDest, UInt32 inCount,
                                XPixelFormat inFormat) const;

 protected:
  // Untouched: the pixels copied (alpha kept); otherwise the channel table.
  void WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget, const X3DRect& inSourceRect,
                              const X3DRect& inTargetRect, const X3DRegion* inRegion,
                              XPixelFormat inFormat) const override;
  void ReadStream2_XBGRA32ImageRenderer(XStream& inStream, XOptions inOptions);
};

}  // namespace mirelan
