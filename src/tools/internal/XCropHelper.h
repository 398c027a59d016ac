// Finds the tight box of the set bytes of a mask (above 127) and counts them.
#pragma once

#include <algorithm>
#include <cstring>

#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the word search takes the first byte as the lowest");

class XCropHelper {
 public:
  // The limits start inverted, at the far side of the volume on each axis,
  // so that the first set voxel moves all six.
  template <class V>
  void SetupForScan(V& inVolume) {
    const X3DRect& b = inVolume.GetBounds();
    itsLeft = b.right;
    itsRight = b.left;
    itsTop = b.bottom;
    itsBottom = b.top;
    itsFront = b.back;
    itsBack = b.front;
    itsCount = 0;
    itsEmpty = true;
  }
  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32 inX, SInt32 inY, SInt32 inZ) {
    if (*inVoxel > 127) Widen(inX, inX + 1, inY, inZ, 1);
  }
  // A row at a time: the set bytes are those with the top bit, so a word of
  // eight is tested, counted and searched with bit operations.
  template <class V>
  void ScanRun(const UInt8* inRun, SInt32 inCount, V&, SInt32 inX, SInt32 inY, SInt32 inZ) {
    constexpr UInt64 kTop = 0x8080808080808080ull;
    SInt32 first = -1, last = -1;
    UInt64 count = 0;
    SInt32 i = 0;
    for (; i + 8 <= inCount; i += 8) {
      UInt64 word;
      std::memcpy(&word, inRun + i, sizeof(word));
      const UInt64 set = word & kTop;
      if (set == 0) continue;
      count += ((set >> 7) * 0x0101010101010101ull) >> 56;  // bytes with the top bit
      // Little-endian words: the lowest set bit is the first byte.
      if (first < 0) first = i + __builtin_ctzll(set) / 8;
      last = i + (63 - __builtin_clzll(set)) / 8;
    }
    for (; i < inCount; ++i) {
      if (inRun[i] > 127) {
        ++count;
        if (first < 0) first = i;
        last = i;
      }
    }
    if (count) Widen(inX + first, inX + last + 1, inY, inZ, count);
  }
  template <class V>
  void FinishedScanning(V&) {}

  bool IsEmpty() const { return itsEmpty; }
  UInt64 GetCount() const { return itsCount; }
  // The tight box; all zero when no byte was set.
  X3DRect GetLimit() const {
    if (itsEmpty) return X3DRect();
    return X3DRect(itsLeft, itsTop, itsFront, itsRight, itsBottom, itsBack);
  }
  // The set bytes fill their box.
  bool IsRect() const { return GetLimit().GetVolume() == itsCount; }

 private:
  void Widen(SInt32 inLeft, SInt32 inRight, SInt32 inY, SInt32 inZ, UInt64 inCount) {
    itsLeft = std::min(itsLeft, inLeft);
    itsRight = std::max(itsRight, inRight);
    itsTop = std::min(itsTop, inY);
    itsBottom = std::max(itsBottom, inY + 1);
    itsFront = std::min(itsFront, inZ);
    itsBack = std::max(itsBack, inZ + 1);
    itsCount += inCount;
    itsEmpty = false;
  }

  SInt32 itsLeft = 0, itsRight = 0, itsTop = 0, itsBottom = 0, itsFront = 0, itsBack = 0;
  UInt64 itsCount = 0;
  bool itsEmpty = true;
};

}  // namespace mirelan
