#include "rendering/XFPImageRenderer.h"

#include <cmath>
#include <memory>

#include "core/XLockable.h"
#include "core/XStream.h"
#include "rendering/XFloatToColourLUT.h"

namespace mirelan {

XFPImageRenderer::XFPImageRenderer(const XFloatToColourLUT& inLUT) {
  itsWhite = 1.0;
  ApplyLUT(inLUT);
}

XFPImageRenderer::XFPImageRenderer(XStream& inStream) {
  itsWhite = 1.0;
  ReadStream2_XFPImageRenderer(inStream, kReadAll);
}

bool XFPImageRenderer::IsNormal() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         GetWhite() == 255.0 && GetMinInputValue() == 0.0 && GetMaxInputValue() == 255.0 &&
         HasGreyColours();
}

bool XFPImageRenderer::IsNormalExceptForWhitePoint() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         HasGreyColours();
}

// The generic form rescales black and white between input ranges, but this
// class's input range is its black and white: the other's values are put
// back as they were.
void XFPImageRenderer::CopyProperties(const XImageRenderer& inOther) {
  const Float64 black = inOther.GetBlack(), white = inOther.GetWhite();
  XGreyImageRenderer<Float32>::CopyProperties(inOther);
  SetBlack(black);
  SetWhite(white);
}

// Entry i: x = clamp01(gain * i / 255 + offset), level = trunc(x^gamma * 255),
// each channel low + level * (high - low) / 255 in 32-bit floats.
XIntToColourLUT* XFPImageRenderer::GetLUT() const {
  std::unique_ptr<XFloatToColourLUT> lut(new XFloatToColourLUT(GetBlack(), GetWhite()));
  XARGB32Colour low, high;
  GetRampColours(low, high);
  const Float32 gain = Float32(GetGain()), offset = Float32(GetOffset()), gamma = Float32(GetGamma());
  auto channel = [](UInt8 l, UInt8 h, SInt32 level) {
    return UInt8(XTruncateToSInt32(l + level * (Float32(h) - Float32(l)) / 255.0f));
  };
  {
    XLock lock(*lut, kLockReadWrite);
    for (UInt32 i = 0; i < 256; ++i) {
      Float32 x = gain * (Float32(i) / 255.0f) + offset;
      if (!(x > 0.0f))
        x = 0.0f;
      else if (x > 1.0f)
        x = 1.0f;
      const SInt32 level = XTruncateToSInt32(std::pow(x, gamma) * 255.0f);
      lut->SetValue(i, XARGB32Colour(255, channel(low.red, high.red, level),
                                     channel(low.green, high.green, level),
                                     channel(low.blue, high.blue, level)));
    }
  }
  return lut.release();
}

void XFPImageRenderer::ApplyLUT(const XIntToColourLUT& inLUT) {
  const auto* floatLUT = dynamic_cast<const XFloatToColourLUT*>(&inLUT);
  if (!floatLUT) throw XException(kErrRendererHasNoLUT, "a float renderer takes only a float table");
  SetBlack(floatLUT->GetMin());
  SetWhite(floatLUT->GetMax());
  SetBlackColour(XARGB32Colour(255, 0, 0, 0));
  XARGB32Colour white;
  floatLUT->ValueToColour(floatLUT->GetMax(), white);
  SetWhiteColour(white);
  SetRendererType(kRendererRamp);
}

void XFPImageRenderer::ReadStream2_XFPImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XFPImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XFPImageRenderer(inStream, inOptions);
}

void XFPImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<Float32>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
