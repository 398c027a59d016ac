// Renderers of one-channel pixels: a grey level is shown along the ramp
// between a black colour and a white colour, or through the rainbow.
#pragma once

#include <limits>
#include <vector>

#include "core/XExport.h"
#include "rendering/XImageRenderer.h"

namespace mirelan {

class MIRELAN_EXPORT XBaseGreyImageRenderer : public XImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12002;

  static XVersion GetClassVersion() { return XVersion(kClassID, 2); }
  static XVersion GetSuperClassVersion() { return XImageRenderer::GetClassVersion(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  void SetBlackColour(const XARGB32Colour& inColour) override { itsBlackColour = inColour; }
  void SetWhiteColour(const XARGB32Colour& inColour) override { itsWhiteColour = inColour; }
  void SetRendererType(XRendererType inType) override { itsRendererType = inType; }
  XARGB32Colour GetBlackColour() const override { return itsBlackColour; }
  XARGB32Colour GetWhiteColour() const override { return itsWhiteColour; }
  XRendererType GetRendererType() const override { return itsRendererType; }
  bool IsMonochromatic() const override { return GetRendererType() == kRendererRamp; }

  // Adds 10 to 15, the red, green and blue of the black and white colours.
  bool HasProperty(UInt32 inProperty) const override;
  // 10 to 15 take the integer part of the value as an 8-bit channel.
  void SetProperty(UInt32 inProperty, Float64 inValue) override;
  Float64 GetProperty(UInt32 inProperty) const override;
  void CopyProperties(const XImageRenderer& inOther) override;

  // Also black colour (0, 0, 0) and white colour (255, 255, 255), alpha ignored.
  bool IsNormal() const override;
  bool IsNormalExceptForWhitePoint() const override;
  void Normalise() override;

  // The shared rainbow of 256 opaque colours: entry 0 black, entry i the
  // colour of the wavelength i / 255 * 230 + 420 nm (32-bit float). Made once,
  // read-only after.
  static const std::vector<XARGB32Colour>& GetRainbowLUT();
  static std::vector<XARGB32Colour> BuildRainbowLUT();

 protected:
  XBaseGreyImageRenderer() = default;
  XBaseGreyImageRenderer(const XBaseGreyImageRenderer& inOther);
  XBaseGreyImageRenderer& operator=(const XBaseGreyImageRenderer& inOther);

  // Whether both colours are pure black and pure white, alpha ignored.
  bool HasGreyColours() const;

  // The ends of the colour ramp: each channel of the black and white colour
  // times its balance, at most 255, cut to 8 bits.
  void GetRampColours(XARGB32Colour& outLow, XARGB32Colour& outHigh) const;
  // The display level of each input value 0 .. inCount - 1:
  // trunc(L(v)^gamma * 255) in 32-bit floats, with L(v) the clamped
  // ((v - black) * gain / (white - black) + offset).
  std::vector<UInt8> BuildLevelTable(UInt32 inCount) const;
  // Colours by level along the ramp, in 16.16 fixed point.
  void FillTableFromLevels(XIntToColourLUT& ioLUT, const std::vector<UInt8>& inLevels) const;
  // Grey renderers take a table as its two end colours and its range.
  void ApplyLUTSelf(const XIntToColourLUT& inLUT, bool inDetectDownward);

  // Word 0x00022EE2 and the renderer type.
  void WriteStreamSelf(XStream& inStream) const;
  void ReadStreamSelf(XStream& inStream);
  void ReadStream2_XBaseGreyImageRenderer(XStream& inStream, XOptions inOptions);

  XARGB32Colour itsBlackColour{255, 0, 0, 0};
  XARGB32Colour itsWhiteColour{255, 255, 255, 255};
  XRendererType itsRendererType = kRendererRamp;
};

// Grey renderers by pixel type: UInt8, UInt16 or Float32.
template <class T>
class MIRELAN_EXPORT XGreyImageRenderer : public XBaseGreyImageRenderer {
 public:
  static constexpr UInt16 kClassID = 12003;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XBaseGreyImageRenderer::GetClassVersion(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;

  Float64 GetMaxInputValue() const override { return Float64(std::numeric_limits<T>::max()); }

  // One entry for each input value, by the ramp.
  XIntToColourLUT* GetLUT() const override;
  void ApplyLUT(const XIntToColourLUT& inLUT) override { ApplyLUTSelf(inLUT, true); }

  // inPixel points at one T. At type 0 the level by the float formula of the
  // black and white points, gain, offset and gamma, each channel low + (high
  // - low) * level / 255; at type 1 the rainbow; any other type leaves the
  // colour as it was.
  void GetColour(const void* inPixel, XARGB32Colour& outColour) const override;
  // GetColour of the value converted to T.
  virtual void GetColourByIndex(Float64 inValue, XARGB32Colour& outColour) const;

 protected:
  XGreyImageRenderer() = default;
  XGreyImageRenderer(const XGreyImageRenderer& inOther) = default;
  XGreyImageRenderer& operator=(const XGreyImageRenderer& inOther) = default;

  // Word 12003, black colour, white colour.
  void WriteStreamSelf(XStream& inStream) const;
  void ReadStreamSelf(XStream& inStream);
  void ReadStream2_XGreyImageRenderer(XStream& inStream, XOptions inOptions);
};

extern template class XGreyImageRenderer<UInt8>;
extern template class XGreyImageRenderer<UInt16>;
extern template class XGreyImageRenderer<Float32>;

}  // namespace mirelan
