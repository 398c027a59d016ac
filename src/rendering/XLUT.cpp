#include "rendering/XLUT.h"

#include <vector>

#include "core/XException.h"

namespace mirelan {

namespace {

// What differs between colour and number entries.
template <class T>
struct XLUTEntry;

template <>
struct XLUTEntry<XARGB32Colour> {
  static XARGB32Colour InitialLastValue() { return XARGB32Colour(255, 0, 0, 0); }
  static XARGB32Colour Low() { return XARGB32Colour(255, 0, 0, 0); }
  static XARGB32Colour High() { return XARGB32Colour(255, 255, 255, 255); }
  // The cache ignores alpha.
  static bool SameForCache(const XARGB32Colour& a, const XARGB32Colour& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
  }
  // One-sided: only channels where the value is brighter than the entry
  // count, so an entry at least as bright in all three is at distance 0.
  static UInt32 Distance(const XARGB32Colour& inValue, const XARGB32Colour& inEntry) {
    auto over = [](UInt8 v, UInt8 e) { return v > e ? UInt32(v - e) : 0u; };
    return (over(inValue.red, inEntry.red) + over(inValue.green, inEntry.green) +
            over(inValue.blue, inEntry.blue)) / 3;
  }
  static UInt8 Step(UInt8 inStart, UInt8 inEnd, SInt64 inNum, SInt64 inDen) {
    SInt64 difference = SInt64(inEnd) - inStart;
    return UInt8(inStart + (difference * inNum) / inDen);  // C++ division truncates towards zero
  }
  static XARGB32Colour Interpolate(const XARGB32Colour& s, const XARGB32Colour& e, SInt64 inNum,
                                   SInt64 inDen) {
    return XARGB32Colour(Step(s.alpha, e.alpha, inNum, inDen), Step(s.red, e.red, inNum, inDen),
                         Step(s.green, e.green, inNum, inDen), Step(s.blue, e.blue, inNum, inDen));
  }
};

template <>
struct XLUTEntry<UInt8> {
  static UInt8 InitialLastValue() { return 0; }
  static UInt8 Low() { return 0; }
  static UInt8 High() { return 255; }
  static bool SameForCache(UInt8 a, UInt8 b) { return a == b; }
  static UInt32 Distance(UInt8 inValue, UInt8 inEntry) {
    return inValue > inEntry ? UInt32(inValue - inEntry) : UInt32(inEntry - inValue);
  }
  static UInt8 Interpolate(UInt8 s, UInt8 e, SInt64 inNum, SInt64 inDen) {
    return UInt8(s + ((SInt64(e) - s) * inNum) / inDen);
  }
};

}  // namespace

template <class T>
UInt32 XLUT<T>::sSeedCounter = 1;

template <class T>
XLUT<T>::XLUT(UInt32 inSize)
    : XBaseLUT(inSize, sizeof(T)), itsLastValue(XLUTEntry<T>::InitialLastValue()) {
  LUTChanged();
}

template <class T>
XLUT<T>::XLUT(const XLUT& inOther)
    : XBaseLUT(inOther), itsLastValue(XLUTEntry<T>::InitialLastValue()), itsSeed(inOther.itsSeed) {
  XAssert((itsData->GetDataSize() / sizeof(T)) == GetSize());
}

template <class T>
XLUT<T>& XLUT<T>::operator=(const XLUT& inOther) {
  if (this == &inOther) return *this;
  if (inOther.GetSize() == GetSize()) {
    *itsData = *inOther.itsData;
    XAssert((itsData->GetDataSize() / sizeof(T)) == GetSize());
    itsSeed = inOther.itsSeed;
  } else {
    XAssert(GetSize() > 1);  // the resampling divides by the last entry
    XLock writeLock(*this, kLockReadWrite);
    XLock readLock(inOther, kLockRead);
    const UInt32 sourceLast = inOther.GetLastEntry(), last = GetLastEntry();
    for (UInt32 i = 0; i <= last; ++i) Entries()[i] = inOther.Entries()[sourceLast * i / last];
    LUTChanged();
  }
  ResetLookupCache();
  return *this;
}

template <class T>
void XLUT<T>::MakeDefaultLUT() {
  MakeLinearLUT(0, GetLastEntry(), XLUTEntry<T>::Low(), XLUTEntry<T>::High());
}

template <class T>
void XLUT<T>::MakeLinearLUT(UInt32 inFrom, UInt32 inTo, const T& inLow, const T& inHigh) {
  if (GetSize() == 0) return;
  XAssert(inFrom <= GetLastEntry() && inTo <= GetLastEntry());
  XLock lock(*this, kLockReadWrite);
  SetValue(inFrom, inLow);
  SetValue(inTo, inHigh);
  Blend(inFrom, inTo);
}

template <class T>
void XLUT<T>::SetValue(UInt32 inIndex, const T& inValue) {
  Entries()[inIndex] = inValue;
  ResetLookupCache();
  LUTChanged();
}

template <class T>
void XLUT<T>::Fill(UInt32 inFrom, UInt32 inTo, const T& inValue) {
  if (GetSize() == 0) return;
  inFrom = std::min(inFrom, GetLastEntry());
  inTo = std::min(inTo, GetLastEntry());
  XLock lock(*this, kLockReadWrite);
  for (UInt64 i = inFrom; i <= inTo; ++i) SetValue(UInt32(i), inValue);
}

template <class T>
void XLUT<T>::Blend(UInt32 inFrom, UInt32 inTo) {
  if (GetSize() == 0) return;
  XLock lock(*this, kLockReadWrite);
  inFrom = std::min(inFrom, GetLastEntry());
  inTo = std::min(inTo, GetLastEntry());
  if (inTo <= inFrom) return;
  const T start = Entries()[inFrom], end = Entries()[inTo];
  const SInt64 span = SInt64(inTo) - inFrom;
  for (UInt64 i = UInt64(inFrom) + 1; i <= inTo; ++i)
    SetValue(UInt32(i), XLUTEntry<T>::Interpolate(start, end, SInt64(i - inFrom), span));
}

template <class T>
void XLUT<T>::Reverse(UInt32 inFrom, UInt32 inTo) {
  if (GetSize() == 0) return;
  inFrom = std::min(inFrom, GetLastEntry());
  inTo = std::min(inTo, GetLastEntry());
  XLock lock(*this, kLockReadWrite);
  const std::vector<T> copy(Entries(), Entries() + GetSize());
  for (UInt64 i = inFrom; i <= inTo; ++i) SetValue(UInt32(i), copy[inTo - (i - inFrom)]);
}

template <class T>
void XLUT<T>::CopyDataFrom(const XLUT& source, UInt32 sourceFrom, UInt32 sourceTo, UInt32 from,
                           UInt32 to) {
  XLock writeLock(*this, kLockReadWrite);
  XLock readLock(source, kLockRead);
  sourceFrom = std::min(sourceFrom, source.GetLastEntry());
  sourceTo = std::min(sourceTo, source.GetLastEntry());
  from = std::min(from, GetLastEntry());
  to = std::min(to, GetLastEntry());
  XAssert(to > from);  // the step divides by the target span
  const UInt32 span = to - from, sourceSpan = sourceTo - sourceFrom;
  const T* entries = source.Entries();
  for (UInt32 k = 0; k <= span; ++k) {
    const UInt32 index = sourceFrom + k * sourceSpan / span;
    // A descending source range wraps in the unsigned step and would land
    // outside the source table.
    XAssert(index <= source.GetLastEntry());
    SetValue(from + k, entries[index]);
  }
}

template <class T>
void XLUT<T>::IndexToValue(UInt32 inIndex, T& outValue) const {
  XLock lock(*this, kLockRead);
  outValue = Entries()[inIndex];
}

template <class T>
UInt32 XLUT<T>::ValueToIndex(const T& inValue) {
  if (itsLastIndex != 0xFFFFFFFF && XLUTEntry<T>::SameForCache(inValue, itsLastValue))
    return itsLastIndex;
  UInt32 best = 0;
  if (GetSize() != 0) {
    XLock lock(*this, kLockRead);
    const T* entries = Entries();
    UInt32 bestDistance = 0xFFFFFFFF;
    for (UInt32 i = 0;; ++i) {
      const UInt32 distance = XLUTEntry<T>::Distance(inValue, entries[i]);
      if (distance < bestDistance) {
        bestDistance = distance;
        best = i;
        if (distance == 0) break;
      }
      if (i == GetLastEntry()) break;
    }
  }
  itsLastValue = inValue;
  itsLastIndex = best;
  return best;
}

template class XLUT<XARGB32Colour>;
template class XLUT<UInt8>;

}  // namespace mirelan
