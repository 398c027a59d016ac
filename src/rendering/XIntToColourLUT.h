// A storable table from integer pixel values to ARGB colours, with the bit
// depth it stands for. The grey renderers and the PICT codec use it.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMutex.h"
#include "core/XStorable.h"
#include "rendering/XLUT.h"

namespace mirelan {

class XStream;
class XARGB32Volume;

// Which way brightness may run through a table; 3 is "not known" (no cache).
enum XMonotonicityDirection : UInt32 {
  kMonotonicAny = 0,
  kMonotonicIncreasing = 1,
  kMonotonicDecreasing = 2,
  kMonotonicUnknown = 3,
};

// A bit mask of colour channels.
enum XRGBChannel : UInt32 {
  kRedChannel = 1,
  kGreenChannel = 2,
  kBlueChannel = 4,
  kAllChannels = 7,
};

inline XRGBChannel operator|(XRGBChannel a, XRGBChannel b) { return XRGBChannel(UInt32(a) | UInt32(b)); }

class MIRELAN_EXPORT XIntToColourLUT : public XStorable, public XLUT<XARGB32Colour> {
 public:
  static constexpr UInt16 kClassID = 23;
  // Streams from before the depth field name the table by this id.
  static constexpr UInt16 kOlderClassID = 20;

  // True depth is the highest set bit of the size, the last true value size - 1.
  explicit XIntToColourLUT(UInt32 inSize = 0);
  // Also takes the cached monotonicity answer; the mutex is its own.
  XIntToColourLUT(const XIntToColourLUT& inOther);
  explicit XIntToColourLUT(XStream& inStream);
  // Same size: entries, seed, depth and last true value are taken. Other
  // size: the source is resampled by true depths, and this table keeps its own.
  XIntToColourLUT& operator=(const XIntToColourLUT& inOther);
  ~XIntToColourLUT() override;

  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XStorable* Clone() const override { return new XIntToColourLUT(*this); }
  UInt64 GetStreamUsage() const override { return GetDataSize(); }
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  // Reads a table of the old form (no class word behind the object's tag)
  // at once and returns false; true for the current form.
  bool PreReadStream(XStream& inStream, const XVersion& inVersion, XOptions inOptions) override;

  // Black to full value in the channels of the mask, over 0 .. 2^depth - 1.
  virtual void MakeChannelLUT(XRGBChannel inChannels);
  // Black to the spectral colour of the wavelength over 0 .. 2^depth - 1.
  virtual void MakeWavelengthLUT(Float64 inNanometres);
  virtual void Wavelength(Float64 inNanometres, UInt32 inFrom, UInt32 inTo);

  UInt32 GetTrueDepth() const { return itsTrueDepth; }
  // Also sets the last true value to 2^depth - 1.
  void SetTrueDepth(UInt32 inDepth);
  UInt32 GetLastTrueValue() const { return itsLastTrueValue; }
  void SetLastTrueValue(UInt32 inValue) { itsLastTrueValue = inValue; }
  UInt32 GetLastValueForDepth() const { return MaxValueForDepth(itsTrueDepth); }

  // Whether the brightest channel never runs against the direction. Safe to
  // call from several threads at once.
  bool IsMonotonic(XMonotonicityDirection direction) const;

  // A new width x height x 1 volume showing the table left to right; the
  // caller owns it. Column x shows entry trunc(size / width * x).
  XARGB32Volume* GetImageOfLUT() const { return GetImageOfLUT(256, 50); }
  XARGB32Volume* GetImageOfLUT(UInt32 inWidth, UInt32 inHeight) const;
  // The first 256 entries; the table must have at least 256.
  XVector<XARGB32Colour> GetVectorOfColours() const;
  // Debugging aid: hands GetImageOfLUT(256, 50) to the volume's dump.
  void Dump() const;

  // The shared linear grey table of a depth (1 to 16; above 16 counts as 8).
  // Never change it: copy it.
  static const XIntToColourLUT& GetStandardLUT(UInt32 bitDepth);
  static void DisposeStandardLUTs();

  // 2^depth - 1, saturating at 32 bits.
  static UInt32 MaxValueForDepth(UInt32 inDepth) {
    return inDepth >= 32 ? 0xFFFFFFFFu : (UInt32(1) << inDepth) - 1;
  }
  // Position of the highest set bit (0 for 0 and 1).
  static UInt32 FloorLog2(UInt32 inValue);

 protected:
  // The body behind the class word; inVersion says which fields are there.
  void ReadBody(XStream& inStream, const XVersion& inVersion);
  // Whether the next word is a class word of this class (left unread).
  static bool NextWordIsClassWord(XStream& inStream);

 private:
  UInt32 itsTrueDepth;
  UInt32 itsLastTrueValue;
  mutable XMutex itsMonotonicityMutex{4000, false};
  mutable bool itsCachedMonotonic = false;
  mutable XMonotonicityDirection itsCachedDirection = kMonotonicUnknown;
  mutable UInt32 itsCachedSeed = 0;
};

}  // namespace mirelan
