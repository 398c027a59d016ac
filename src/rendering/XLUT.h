// A table of entries of one type, indexed from 0, with a change stamp (the
// seed) and a one-slot cache for reverse lookups. Instantiated for
// XARGB32Colour (colour tables) and UInt8 (number tables).
#pragma once

#include "core/XExport.h"
#include "rendering/XBaseLUT.h"
#include "volume/XColour.h"

namespace mirelan {

template <class T>
class MIRELAN_EXPORT XLUT : public XBaseLUT {
 public:
  // Allocates the entries but does not set them.
  explicit XLUT(UInt32 inSize);
  // Shares the entries and takes the source's seed: equal seeds mean equal entries.
  XLUT(const XLUT& inOther);
  // Same size: shares the entries and takes the seed. Other size: resamples
  // (entry i = source[source last * i / this last]) and takes a new seed.
  XLUT& operator=(const XLUT& inOther);
  ~XLUT() override = default;

  // Ramp from the low to the high value over the whole table: opaque black
  // to opaque white, or 0 to 255.
  void MakeDefaultLUT() override;
  void MakeLinearLUT(UInt32 inFrom, UInt32 inTo, const T& inLow, const T& inHigh);

  // Stores one entry, without a range check; the caller holds a write lock.
  virtual void SetValue(UInt32 inIndex, const T& inValue);
  // Sets the closed range, both ends clamped to the last entry.
  virtual void Fill(UInt32 inFrom, UInt32 inTo, const T& inValue);
  // Linear ramp from entry inFrom to entry inTo, per channel in signed arithmetic.
  void Blend(UInt32 inFrom, UInt32 inTo) override;
  void Reverse(UInt32 inFrom, UInt32 inTo) override;
  // Resamples the range inSourceFrom..inSourceTo of another table onto inFrom..inTo.
  virtual void CopyDataFrom(const XLUT& source, UInt32 sourceFrom, UInt32 sourceTo, UInt32 from,
                            UInt32 to);

  // No range check; the caller holds a lock.
  T& IndexToValue(UInt32 inIndex) { return Entries()[inIndex]; }
  const T& IndexToValue(UInt32 inIndex) const { return Entries()[inIndex]; }
  // Copies the entry out under a read lock of its own.
  void IndexToValue(UInt32 inIndex, T& outValue) const;

  // The index of the entry nearest to inValue; the last answer is cached.
  UInt32 ValueToIndex(const T& inValue);

  UInt32 GetSeed() const { return itsSeed; }
  // Takes a fresh seed: renderers holding tables derived from this one will redo them.
  void LUTChanged() { itsSeed = sSeedCounter++; }

 protected:
  T* Entries() const { return reinterpret_cast<T*>(GetDataPointer()); }
  void ResetLookupCache() { itsLastIndex = 0xFFFFFFFF; }

  T itsLastValue;
  UInt32 itsLastIndex = 0xFFFFFFFF;
  UInt32 itsSeed = 0;

 private:
  // One counter per entry type, shared by every table of that type.
  static UInt32 sSeedCounter;
};

extern template class XLUT<XARGB32Colour>;
extern template class XLUT<UInt8>;

}  // namespace mirelan
