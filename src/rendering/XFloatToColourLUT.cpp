#include "rendering/XFloatToColourLUT.h"

#include <algorithm>

#include "core/XStream.h"

namespace mirelan {

namespace {

// Float to 32-bit integer as the processor's truncating conversion does it:
// NaN and out-of-range values give 0x80000000 instead of undefined behaviour.
SInt32 TruncateToSInt32(Float64 inValue) {
  if (!(inValue > -2147483649.0 && inValue < 2147483648.0)) return SInt32(0x80000000u);
  return SInt32(inValue);
}

}  // namespace

XFloatToColourLUT::XFloatToColourLUT(Float64 inMin, Float64 inMax)
    : XIntToColourLUT(XIntToColourLUT::GetStandardLUT(8)), itsMin(inMin), itsMax(inMax) {
  UpdateScale();
}

XFloatToColourLUT::XFloatToColourLUT(const XFloatToColourLUT& inOther)
    : XIntToColourLUT(inOther), itsMin(inOther.itsMin), itsMax(inOther.itsMax) {
  UpdateScale();
}

XFloatToColourLUT::XFloatToColourLUT(const XIntToColourLUT& inOther)
    : XIntToColourLUT(inOther), itsMin(0.0), itsMax(1.0) {
  if (const auto* floatTable = dynamic_cast<const XFloatToColourLUT*>(&inOther)) {
    itsMin = floatTable->itsMin;
    itsMax = floatTable->itsMax;
  }
  UpdateScale();
}

// The base reads itself (with its own fallback for old files); the word
// behind it is taken as it comes.
XFloatToColourLUT::XFloatToColourLUT(XStream& inStream) : XIntToColourLUT(inStream) {
  inStream.ReadVersion();
  itsMin = inStream.ReadFloat64S();
  itsMax = inStream.ReadFloat64S();
  UpdateScale();
}

XFloatToColourLUT& XFloatToColourLUT::operator=(const XFloatToColourLUT& inOther) {
  return *this = static_cast<const XIntToColourLUT&>(inOther);
}

XFloatToColourLUT& XFloatToColourLUT::operator=(const XIntToColourLUT& inOther) {
  if (this == &inOther) return *this;
  XIntToColourLUT::operator=(inOther);
  if (const auto* floatTable = dynamic_cast<const XFloatToColourLUT*>(&inOther)) {
    itsMin = floatTable->itsMin;
    itsMax = floatTable->itsMax;
    UpdateScale();
  }
  return *this;
}

void XFloatToColourLUT::UpdateScale() {
  itsScale = 1.0 / (itsMax - itsMin) * 255.0;
  itsInverseScale = (itsMax - itsMin) / 255.0;
}

void XFloatToColourLUT::SetMin(Float64 inMin) {
  itsMin = inMin;
  UpdateScale();
}

void XFloatToColourLUT::SetMax(Float64 inMax) {
  itsMax = inMax;
  UpdateScale();
}

SInt32 XFloatToColourLUT::ValueToIndex(Float64 inValue) const {
  const Float64 v = std::min(std::max(inValue, itsMin), itsMax);
  return TruncateToSInt32((v - itsMin) * itsScale);
}

void XFloatToColourLUT::ValueToColour(Float64 inValue, XARGB32Colour& outColour) const {
  SInt32 index = ValueToIndex(inValue);
  if (index < 0 || index > 255) index = 255;
  XAssert(UInt32(index) <= GetLastEntry());
  XLUT<XARGB32Colour>::IndexToValue(UInt32(index), outColour);
}

Float64 XFloatToColourLUT::IndexToValue(UInt32 inIndex) const {
  return std::min(inIndex, 255u) * itsInverseScale + itsMin;
}

Float64 XFloatToColourLUT::ColourToValue(const XARGB32Colour& inColour) {
  return IndexToValue(XLUT<XARGB32Colour>::ValueToIndex(inColour));
}

// The whole colour table with its own word, then 0x00000016, minimum and
// maximum as 64-bit floats.
void XFloatToColourLUT::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XIntToColourLUT::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteFloat64S(itsMin);
  inStream.WriteFloat64S(itsMax);
}

// An old-form table: the base has read itself; the rest follows as the
// stream constructor reads it.
bool XFloatToColourLUT::PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) {
  if (XIntToColourLUT::PreReadStream(inStream, inVersion, inOptions)) return true;
  inStream.ReadVersion();
  itsMin = inStream.ReadFloat64S();
  itsMax = inStream.ReadFloat64S();
  UpdateScale();
  return false;
}

void XFloatToColourLUT::ReadStream2(XStream& inStream, XOptions inOptions) {
  XIntToColourLUT::ReadStream2(inStream, inOptions);
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsMin = inStream.ReadFloat64S();
  itsMax = inStream.ReadFloat64S();
  UpdateScale();
}

}  // namespace mirelan
