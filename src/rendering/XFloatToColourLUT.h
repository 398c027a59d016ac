// A colour table keyed by floating-point values over a range [minimum,
// maximum], mapped onto 256 entries.
#pragma once

#include "core/XExport.h"
#include "rendering/XIntToColourLUT.h"

namespace mirelan {

class MIRELAN_EXPORT XFloatToColourLUT : public XIntToColourLUT {
 public:
  static constexpr UInt16 kClassID = 22;

  // A copy of the 8-bit standard grey table over the given range.
  explicit XFloatToColourLUT(Float64 inMin = 0.0, Float64 inMax = 1.0);
  XFloatToColourLUT(const XFloatToColourLUT& inOther);
  // Takes the range too when the source is in fact a float table; else 0 to 1.
  explicit XFloatToColourLUT(const XIntToColourLUT& inOther);
  explicit XFloatToColourLUT(XStream& inStream);
  XFloatToColourLUT& operator=(const XFloatToColourLUT& inOther);
  // Takes the range when the source is in fact a float table; else keeps its own.
  XFloatToColourLUT& operator=(const XIntToColourLUT& inOther);
  ~XFloatToColourLUT() override = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  // Id 20, not the 23 of the base class: old streams name it so.
  static XVersion GetSuperClassVersion() { return XVersion(kOlderClassID, 0); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XStorable* Clone() const override { return new XFloatToColourLUT(*this); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  bool PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) override;

  Float64 GetMin() const { return itsMin; }
  Float64 GetMax() const { return itsMax; }
  void SetMin(Float64 inMin);
  void SetMax(Float64 inMax);

  // trunc((v - minimum) * scale) with v clamped to the range.
  SInt32 ValueToIndex(Float64 inValue) const;
  // The colour of a value; an index outside 0..255 takes entry 255.
  void ValueToColour(Float64 inValue, XARGB32Colour& outColour) const;
  // min(index, 255) * inverse scale + minimum.
  Float64 IndexToValue(UInt32 inIndex) const;
  // The value of the nearest entry, by the colour table's reverse lookup.
  Float64 ColourToValue(const XARGB32Colour& inColour);

 private:
  void UpdateScale();

  Float64 itsMin;
  Float64 itsMax;
  Float64 itsScale;         // 255 / (maximum - minimum)
  Float64 itsInverseScale;  // (maximum - minimum) / 255
};

}  // namespace mirelan
