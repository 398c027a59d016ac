// A half-open run of integers given by its first value and its length.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// Holds [first, first + length). Used for timepoint and channel ranges, which
// start at 1. The end is computed in 64 bits so that it never overflows.
class MIRELAN_EXPORT XRange {
 public:
  constexpr XRange() : itsFirst(0), itsLength(0) {}
  constexpr XRange(SInt32 inFirst, UInt32 inLength) : itsFirst(inFirst), itsLength(inLength) {}

  // The range [inFirst, inEnd); an end before the first gives an empty range at
  // inFirst. A length beyond 32 bits is cut to the largest one.
  static constexpr XRange FromEnds(SInt32 inFirst, SInt64 inEnd) {
    SInt64 length = inEnd > inFirst ? inEnd - inFirst : 0;
    return XRange(inFirst, static_cast<UInt32>(std::min<SInt64>(length, UINT32_MAX)));
  }

  constexpr SInt32 GetFirst() const { return itsFirst; }
  constexpr UInt32 GetLength() const { return itsLength; }
  // One past the last value.
  constexpr SInt64 GetEnd() const { return SInt64(itsFirst) + itsLength; }
  // The last value; meaningless for an empty range.
  constexpr SInt64 GetLast() const { return GetEnd() - 1; }

  constexpr void SetFirst(SInt32 inFirst) { itsFirst = inFirst; }
  constexpr void SetLength(UInt32 inLength) { itsLength = inLength; }

  constexpr bool IsEmpty() const { return itsLength == 0; }
  constexpr bool Contains(SInt64 inValue) const { return inValue >= itsFirst && inValue < GetEnd(); }
  // Closed: a range contains itself, and every range contains an empty one lying within it.
  constexpr bool Contains(const XRange& inOther) const {
    return inOther.itsFirst >= itsFirst && inOther.GetEnd() <= GetEnd();
  }
  constexpr bool Overlaps(const XRange& inOther) const {
    return !IsEmpty() && !inOther.IsEmpty() && inOther.itsFirst < GetEnd() &&
           itsFirst < inOther.GetEnd();
  }

  // Intersection, by clamping both ends into the other range: disjoint ranges
  // give an empty range lying on the near end of the other, as rectangles do.
  constexpr XRange Sect(const XRange& inOther) const {
    SInt64 low = std::clamp<SInt64>(itsFirst, inOther.itsFirst, inOther.GetEnd());
    SInt64 high = std::clamp<SInt64>(GetEnd(), inOther.itsFirst, inOther.GetEnd());
    return FromEnds(static_cast<SInt32>(low), high);
  }

  // The smallest range holding both. An empty operand adds nothing, unlike
  // rectangle union: a range is a set of values, not a position.
  constexpr XRange Union(const XRange& inOther) const {
    if (inOther.IsEmpty()) return *this;
    if (IsEmpty()) return inOther;
    return FromEnds(std::min(itsFirst, inOther.itsFirst), std::max(GetEnd(), inOther.GetEnd()));
  }

  constexpr XRange& operator&=(const XRange& inOther) { return *this = Sect(inOther); }
  constexpr XRange& operator|=(const XRange& inOther) { return *this = Union(inOther); }

  friend constexpr bool operator==(const XRange& inA, const XRange& inB) {
    return inA.itsFirst == inB.itsFirst && inA.itsLength == inB.itsLength;
  }
  friend constexpr bool operator!=(const XRange& inA, const XRange& inB) { return !(inA == inB); }

 private:
  SInt32 itsFirst;
  UInt32 itsLength;
};

}  // namespace mirelan
