#include "rendering/XGreyImageRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "core/XLockable.h"
#include "core/XStream.h"
#include "rendering/XIntToColourLUT.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

namespace {

bool IsProperColourProperty(UInt32 inProperty) {
  return inProperty >= kPropertyBlackRed && inProperty <= kPropertyWhiteBlue;
}

}  // namespace

XBaseGreyImageRenderer::XBaseGreyImageRenderer(const XBaseGreyImageRenderer& inOther)
    : XImageRenderer(inOther),
      itsBlackColour(inOther.GetBlackColour()),
      itsWhiteColour(inOther.GetWhiteColour()),
      itsRendererType(inOther.GetRendererType()) {}

XBaseGreyImageRenderer& XBaseGreyImageRenderer::operator=(const XBaseGreyImageRenderer& inOther) {
  if (this == &inOther) return *this;
  XImageRenderer::operator=(inOther);
  itsBlackColour = inOther.GetBlackColour();
  itsWhiteColour = inOther.GetWhiteColour();
  itsRendererType = inOther.GetRendererType();
  return *this;
}

// ---------------------------------------------------------------- properties

bool XBaseGreyImageRenderer::HasProperty(UInt32 inProperty) const {
  return IsProperColourProperty(inProperty) || XImageRenderer::HasProperty(inProperty);
}

void XBaseGreyImageRenderer::SetProperty(UInt32 inProperty, Float64 inValue) {
  if (!IsProperColourProperty(inProperty)) return XImageRenderer::SetProperty(inProperty, inValue);
  const UInt8 channel = UInt8(XTruncateToSInt32(inValue));
  XARGB32Colour colour = inProperty <= kPropertyBlackBlue ? GetBlackColour() : GetWhiteColour();
  switch ((inProperty - kPropertyBlackRed) % 3) {
    case 0: colour.red = channel; break;
    case 1: colour.green = channel; break;
    default: colour.blue = channel; break;
  }
  if (inProperty <= kPropertyBlackBlue)
    SetBlackColour(colour);
  else
    SetWhiteColour(colour);
}

Float64 XBaseGreyImageRenderer::GetProperty(UInt32 inProperty) const {
  if (!IsProperColourProperty(inProperty)) return XImageRenderer::GetProperty(inProperty);
  const XARGB32Colour colour = inProperty <= kPropertyBlackBlue ? GetBlackColour() : GetWhiteColour();
  switch ((inProperty - kPropertyBlackRed) % 3) {
    case 0: return colour.red;
    case 1: return colour.green;
    default: return colour.blue;
  }
}

void XBaseGreyImageRenderer::CopyProperties(const XImageRenderer& inOther) {
  XImageRenderer::CopyProperties(inOther);
  for (UInt32 property = kPropertyBlackRed; property <= kPropertyWhiteBlue; ++property)
    if (inOther.HasProperty(property))
      SetProperty(property, UInt8(XTruncateToSInt32(inOther.GetProperty(property))));
}

// ------------------------------------------------------------- normal state

bool XBaseGreyImageRenderer::HasGreyColours() const {
  const XARGB32Colour black = GetBlackColour(), white = GetWhiteColour();
  return (black.GetARGB() & 0x00FFFFFF) == 0 && (white.GetARGB() & 0x00FFFFFF) == 0x00FFFFFF;
}

bool XBaseGreyImageRenderer::IsNormal() const { return XImageRenderer::IsNormal() && HasGreyColours(); }

bool XBaseGreyImageRenderer::IsNormalExceptForWhitePoint() const {
  return XImageRenderer::IsNormalExceptForWhitePoint() && HasGreyColours();
}

void XBaseGreyImageRenderer::Normalise() {
  XImageRenderer::Normalise();
  SetBlackColour(XARGB32Colour(255, 0, 0, 0));
  SetWhiteColour(XARGB32Colour(255, 255, 255, 255));
}

// ------------------------------------------------------------------- tables

void XBaseGreyImageRenderer::GetRampColours(XARGB32Colour& outLow, XARGB32Colour& outHigh) const {
  XGetRampColours(*this, outLow, outHigh);
}

std::vector<UInt8> XBaseGreyImageRenderer::BuildLevelTable(UInt32 inCount) const {
  return XBuildLevelTable(*this, inCount);
}

void XBaseGreyImageRenderer::FillTableFromLevels(XIntToColourLUT& ioLUT,
                                                 const std::vector<UInt8>& inLevels) const {
  XARGB32Colour low, high;
  GetRampColours(low, high);
  const std::array<XARGB32Colour, 256> colours = XTableColoursByLevel(low, high);
  XLock lock(ioLUT, kLockReadWrite);
  for (UInt32 i = 0; i < inLevels.size() && i <= ioLUT.GetLastEntry(); ++i) ioLUT.SetValue(i, colours[inLevels[i]]);
}

void XBaseGreyImageRenderer::ApplyLUTSelf(const XIntToColourLUT& inLUT, bool inDetectDownward) {
  XLock lock(inLUT, kLockRead);
  SetBlackColour(XARGB32Colour(255, 0, 0, 0));
  XAssert(inLUT.GetLastTrueValue() <= inLUT.GetLastEntry());
  SetWhiteColour(inLUT.IndexToValue(inLUT.GetLastTrueValue()));
  if (inDetectDownward) {
    XAssert(inLUT.GetLastEntry() >= 255);
    // A table running from bright to dark shows its first colour as white.
    if (inLUT.IndexToValue(0).GetIntensity() > inLUT.IndexToValue(255).GetIntensity())
      SetWhiteColour(inLUT.IndexToValue(0));
  }
  SetBlack(0.0);
  SetWhite(inLUT.GetLastTrueValue());
  SetRendererType(kRendererRamp);
}

// ------------------------------------------------------------------ rainbow

std::vector<XARGB32Colour> XBaseGreyImageRenderer::BuildRainbowLUT() {
  std::vector<XARGB32Colour> rainbow(256, XARGB32Colour(255, 0, 0, 0));
  for (UInt32 i = 1; i < 256; ++i) {
    const Float32 nanometres = Float32(i) / 255.0f * 230.0f + 420.0f;
    rainbow[i].SetWavelength(nanometres);
  }
  return rainbow;
}

const std::vector<XARGB32Colour>& XBaseGreyImageRenderer::GetRainbowLUT() {
  static const std::vector<XARGB32Colour> sRainbow = BuildRainbowLUT();
  return sRainbow;
}

// ------------------------------------------------------------------ streams

void XBaseGreyImageRenderer::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.Write32(itsRendererType);
}

void XBaseGreyImageRenderer::ReadStreamSelf(XStream& inStream) {
  const XVersion version = ReadCheckedClassVersion(inStream, GetClassVersion());
  // Before version 2 there was no type: it stays as it is.
  if (version.GetClassVersion() >= 2) itsRendererType = XRendererType(inStream.Read32());
}

void XBaseGreyImageRenderer::ReadStream2_XBaseGreyImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void XBaseGreyImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBaseGreyImageRenderer(inStream, inOptions);
}

void XBaseGreyImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

// ------------------------------------------------------- XGreyImageRenderer

template <class T>
XIntToColourLUT* XGreyImageRenderer<T>::GetLUT() const {
  const Float64 count = GetMaxInputValue() + 1.0;
  XAssert(count <= 65536.0);
  std::unique_ptr<XIntToColourLUT> lut(new XIntToColourLUT(UInt32(count)));
  FillTableFromLevels(*lut, BuildLevelTable(UInt32(count)));
  return lut.release();
}

template <class T>
void XGreyImageRenderer<T>::GetColour(const void* inPixel, XARGB32Colour& outColour) const {
  T value;
  std::memcpy(&value, inPixel, sizeof(T));
  switch (GetRendererType()) {
    case kRendererRamp: {
      const XGreyShading shading(*this);
      outColour = shading.RampColourOf(shading.LevelOf(Float32(value)));
      break;
    }
    case kRendererRainbow:
      outColour = GetRainbowLUT()[XRainbowIndex(GetBlack(), GetWhite())(Float32(value))];
      break;
    default:
      break;
  }
}

template <class T>
void XGreyImageRenderer<T>::GetColourByIndex(Float64 inValue, XARGB32Colour& outColour) const {
  const T value = XTruncateTo<T>(inValue);
  GetColour(&value, outColour);
}

template <class T>
void XGreyImageRenderer<T>::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteARGB32(itsBlackColour.GetARGB());
  inStream.WriteARGB32(itsWhiteColour.GetARGB());
}

template <class T>
void XGreyImageRenderer<T>::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsBlackColour.SetARGB(inStream.ReadARGB32());
  itsWhiteColour.SetARGB(inStream.ReadARGB32());
}

template <class T>
void XGreyImageRenderer<T>::ReadStream2_XGreyImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBaseGreyImageRenderer(inStream, inOptions);
  ReadStreamSelf(inStream);
}

template <class T>
void XGreyImageRenderer<T>::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
}

template <class T>
void XGreyImageRenderer<T>::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XBaseGreyImageRenderer::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

template class XGreyImageRenderer<UInt8>;
template class XGreyImageRenderer<UInt16>;
template class XGreyImageRenderer<Float32>;

}  // namespace mirelan
