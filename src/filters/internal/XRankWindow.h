// The window of the rank filters: a cube of positions around a voxel, each
// inside the source, counted as 0 (inside the larger volume a chunk was cut
// from, outside the chunk), or dropped. And the lanes that carry many
// windows at once through a selection network.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/XException.h"
#include "core/XTypes.h"
#include "filters/internal/XSelectionNetwork.h"
#include "geometry/X3DRect.h"

namespace mirelan {
namespace XFilterDetail {

// Where a position lies, as bits: in the source, and in the total rectangle
// (only where positions outside the source count as 0). A position's bits
// are those its three axes share; with neither it is dropped, with the
// total's alone it counts as 0.
enum XPlaceBits : UInt8 { kInSource = 1, kInTotal = 2 };

// One axis of the window: offsets low .. high, the source's range and the
// total range, all in 64 bits so that no sum of coordinate and offset wraps.
struct XWindowAxis {
  SInt64 low = 0, high = 0;      // offsets
  SInt64 s0 = 0, s1 = 0;         // the source, half-open
  SInt64 t0 = 0, t1 = 0;         // the total rectangle, half-open
  bool dropOutside = true;       // every position outside the source is dropped
  SInt64 hull0 = 0, hull1 = 0;   // positions that are not dropped lie in here

  XWindowAxis() = default;
  XWindowAxis(UInt32 inSize, SInt32 inS0, SInt32 inS1, SInt32 inT0, SInt32 inT1, bool inDrop)
      : low(-SInt64(inSize >> 1)), high(SInt64(inSize) - 1 - SInt64(inSize >> 1)), s0(inS0), s1(inS1), t0(inT0),
        t1(inT1), dropOutside(inDrop) {
    hull0 = dropOutside ? s0 : std::min(s0, t0);
    hull1 = dropOutside ? s1 : std::max(s1, t1);
  }
  UInt8 Bits(SInt64 inPosition) const {
    UInt8 bits = inPosition >= s0 && inPosition < s1 ? kInSource : 0;
    if (!dropOutside && inPosition >= t0 && inPosition < t1) bits |= kInTotal;
    return bits;
  }
  // The bits of a position inside both wherever they apply.
  UInt8 AllBits() const { return UInt8(kInSource | (dropOutside ? 0 : kInTotal)); }
  // The offsets worth visiting from a coordinate: the others are dropped.
  SInt64 FirstOffset(SInt64 inAt) const { return std::max(low, hull0 - inAt); }
  SInt64 LastOffset(SInt64 inAt) const { return std::min(high, hull1 - 1 - inAt); }
  // The coordinates from which every offset has all the bits.
  SInt64 FirstWhole() const { return dropOutside ? s0 - low : std::max(s0, t0) - low; }
  SInt64 EndWhole() const { return dropOutside ? s1 - high : std::min(s1, t1) - high; }
  // Positions that can be kept from one coordinate: at most the edge, at most the hull.
  UInt64 MaxKept() const { return UInt64(std::min<SInt64>(high - low + 1, hull1 - hull0)); }
};

// The largest window the filters hold one value of each position for.
constexpr UInt64 kMaxWindowValues = UInt64(1) << 26;

inline void CheckWindowValues(UInt64 inCount) {
  if (inCount > kMaxWindowValues) throw XException(kErrImpossibleSize, "the filter window is too large");
}

// Slots for a selection network's lanes: kLanes values of each slot.
template <class C>
class XLaneSlots {
 public:
  C* Get(UInt32 inSlots) {
    const size_t needed = size_t(inSlots) * XSelectionNetwork::kLanes;
    if (itsValues.size() < needed) itsValues.resize(needed, C(0));
    return itsValues.data();
  }

 private:
  std::vector<C> itsValues;
};

// Loads inLanes values, kStep apart in the source, into one slot.
template <int kStep, class C>
inline void LoadLanes(C* outSlot, const C* inSource, UInt32 inLanes) {
  if constexpr (kStep == 1) {
    std::memcpy(outSlot, inSource, sizeof(C) * inLanes);
  } else {
    for (UInt32 l = 0; l < inLanes; ++l) outSlot[l] = inSource[size_t(l) * kStep];
  }
}

template <int kStep, class C>
inline void StoreLanes(C* outDest, const C* inSlot, UInt32 inLanes) {
  if constexpr (kStep == 1) {
    std::memcpy(outDest, inSlot, sizeof(C) * inLanes);
  } else {
    for (UInt32 l = 0; l < inLanes; ++l) outDest[size_t(l) * kStep] = inSlot[l];
  }
}

}  // namespace XFilterDetail
}  // namespace mirelan
