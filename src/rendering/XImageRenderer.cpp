#include "rendering/XImageRenderer.h"

#include <cmath>

#include "core/XStream.h"
#include "rendering/XIntToColourLUT.h"

namespace mirelan {

XImageRenderer::XImageRenderer(const XImageRenderer& inOther)
    : XStorable(inOther),
      itsOffset(inOther.GetOffset()),
      itsGain(inOther.GetGain()),
      itsGamma(inOther.GetGamma()),
      itsBlack(inOther.GetBlack()),
      itsWhite(inOther.GetWhite()),
      itsRedBalance(inOther.GetRedBalance()),
      itsGreenBalance(inOther.GetGreenBalance()),
      itsBlueBalance(inOther.GetBlueBalance()) {}

XImageRenderer& XImageRenderer::operator=(const XImageRenderer& inOther) {
  if (this == &inOther) return *this;
  itsOffset = inOther.GetOffset();
  itsGain = inOther.GetGain();
  itsGamma = inOther.GetGamma();
  itsBlack = inOther.GetBlack();
  itsWhite = inOther.GetWhite();
  itsRedBalance = inOther.GetRedBalance();
  itsGreenBalance = inOther.GetGreenBalance();
  itsBlueBalance = inOther.GetBlueBalance();
  return *this;
}

void XImageRenderer::SetColourBalance(Float64 inRed, Float64 inGreen, Float64 inBlue) {
  itsRedBalance = inRed;
  itsGreenBalance = inGreen;
  itsBlueBalance = inBlue;
}

// ---------------------------------------------------------------- properties

bool XImageRenderer::HasProperty(UInt32 inProperty) const { return inProperty >= 1 && inProperty <= 8; }

void XImageRenderer::SetProperty(UInt32 inProperty, Float64 inValue) {
  switch (inProperty) {
    case kPropertyBlack: SetBlack(inValue); break;
    case kPropertyWhite: SetWhite(inValue); break;
    case kPropertyGain: SetGain(inValue); break;
    case kPropertyOffset: SetOffset(inValue); break;
    case kPropertyGamma: SetGamma(inValue); break;
    case kPropertyRedBalance: SetColourBalance(inValue, GetGreenBalance(), GetBlueBalance()); break;
    case kPropertyGreenBalance: SetColourBalance(GetRedBalance(), inValue, GetBlueBalance()); break;
    case kPropertyBlueBalance: SetColourBalance(GetRedBalance(), GetGreenBalance(), inValue); break;
    default: break;
  }
}

Float64 XImageRenderer::GetProperty(UInt32 inProperty) const {
  switch (inProperty) {
    case kPropertyBlack: return GetBlack();
    case kPropertyWhite: return GetWhite();
    case kPropertyGain: return GetGain();
    case kPropertyOffset: return GetOffset();
    case kPropertyGamma: return GetGamma();
    case kPropertyRedBalance: return GetRedBalance();
    case kPropertyGreenBalance: return GetGreenBalance();
    case kPropertyBlueBalance: return GetBlueBalance();
    default: return 0.0;
  }
}

void XImageRenderer::CopyProperties(const XImageRenderer& inOther) {
  const bool sameClass = GetVersion().GetClassID() == inOther.GetVersion().GetClassID();
  const Float64 otherMin = inOther.GetMinInputValue(), otherMax = inOther.GetMaxInputValue();
  const Float64 thisMin = GetMinInputValue(), thisMax = GetMaxInputValue();
  // Between pixel types the points keep their place in the input range.
  auto map = [&](Float64 v) {
    return sameClass ? v : (v - otherMin) / (otherMax - otherMin) * (thisMax - thisMin) + thisMin;
  };
  if (inOther.HasProperty(kPropertyBlack)) SetBlack(map(inOther.GetBlack()));
  if (inOther.HasProperty(kPropertyWhite)) SetWhite(map(inOther.GetWhite()));
  for (UInt32 property = kPropertyGain; property <= kPropertyBlueBalance; ++property)
    if (inOther.HasProperty(property)) SetProperty(property, inOther.GetProperty(property));
}

// ------------------------------------------------------------- normal state

bool XImageRenderer::IsNormalExceptForWhitePoint() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         GetRedBalance() == 1.0 && GetGreenBalance() == 1.0 && GetBlueBalance() == 1.0;
}

bool XImageRenderer::IsNormal() const {
  return IsNormalExceptForWhitePoint() && GetWhite() == GetMaxInputValue();
}

void XImageRenderer::Normalise() {
  SetOffset(0.0);
  SetGain(1.0);
  SetGamma(1.0);
  SetBlack(GetMinInputValue());
  SetWhite(GetMaxInputValue());
  SetColourBalance(1.0, 1.0, 1.0);
}

// ------------------------------------------------------------------- tables

XIntToColourLUT* XImageRenderer::GetLUT() const {
  throw XException(kErrRendererHasNoLUT, "this renderer has no look-up table");
}

void XImageRenderer::ApplyLUT(const XIntToColourLUT&) {
  throw XException(kErrRendererHasNoLUT, "this renderer has no look-up table");
}

// --------------------------------------------------------------- luminance

UInt8 XImageRenderer::GetLuminance(Float64 inValue) const {
  const Float64 range = GetWhite() - GetBlack();
  const Float64 scale = range > 0.0 ? GetGain() / range : 0.0;
  Float64 x = (inValue - GetBlack()) * scale + GetOffset();
  if (x >= 1.0)
    x = 1.0;
  else if (x <= 0.0)
    x = 0.0;
  return UInt8(XTruncateToSInt32(std::pow(x, GetGamma()) * 255.0));
}

Float64 XImageRenderer::GetValueForLuminance(UInt8 inLuminance) const {
  Float64 x = std::pow(inLuminance / 255.0, 1.0 / GetGamma());
  if (x < 0.0) x = 0.0;
  if (x > 1.0) x = 1.0;
  return GetBlack() + (x - GetOffset()) / (GetGain() / (GetWhite() - GetBlack()));
}

// ------------------------------------------------------------------ streams

void XImageRenderer::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteFloat64S(itsOffset);
  inStream.WriteFloat64S(itsGain);
  inStream.WriteFloat64S(itsGamma);
  inStream.WriteFloat64S(itsBlack);
  inStream.WriteFloat64S(itsWhite);
  inStream.WriteFloat64S(itsRedBalance);
  inStream.WriteFloat64S(itsGreenBalance);
  inStream.WriteFloat64S(itsBlueBalance);
}

void XImageRenderer::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsOffset = inStream.ReadFloat64S();
  itsGain = inStream.ReadFloat64S();
  itsGamma = inStream.ReadFloat64S();
  itsBlack = inStream.ReadFloat64S();
  itsWhite = inStream.ReadFloat64S();
  itsRedBalance = inStream.ReadFloat64S();
  itsGreenBalance = inStream.ReadFloat64S();
  itsBlueBalance = inStream.ReadFloat64S();
}

void XImageRenderer::ReadStream2_XImageRenderer(XStream& inStream, XOptions) { ReadStreamSelf(inStream); }

void XImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
}

void XImageRenderer::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void XImageRenderer::ReadConcreteWord(XStream& inStream, const XVersion& inExpected) {
  ReadCheckedClassVersion(inStream, inExpected);
}

}  // namespace mirelan
