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
  // A row at a time: the set bytes are those with the top bit. They are
  // counted in one pass without branches, and only a row with any is
  // searched for its first and last, from either end a word at a time.
  template <class V>
  void ScanRun(const UInt8* inRun, SInt32 inCount, V&, SInt32 inX, SInt32 inY, SInt32 inZ) {
    const UInt64 count = CountSet(inRun, inCount);
    if (count == 0) return;
    Widen(inX + FirstSet(inRun, inCount), inX + LastSet(inRun, inCount) + 1, inY, inZ, count);
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

  static constexpr UInt64 kTop = 0x8080808080808080ull;

  static UInt64 Word(const UInt8* inBytes) {
    UInt64 word;
    std::memcpy(&word, inBytes, sizeof(word));
    return word;
  }
  // Bytes above 127: their top bits are summed in eight byte-wide lanes of
  // a word (at most 255 words a time, so that no lane overflows), and the
  // lanes added up once per block.
  static UInt64 CountSet(const UInt8* inRun, SInt32 inCount) {
    constexpr UInt64 kOnes = 0x0101010101010101ull, kPairs = 0x00FF00FF00FF00FFull;
    const SInt32 words = inCount / 8;
    UInt64 count = 0;
    for (SInt32 w = 0; w < words;) {
      const SInt32 blockEnd = std::min(words, w + 255);
      UInt64 lanes = 0;
      for (; w < blockEnd; ++w) lanes += (Word(inRun + 8 * w) >> 7) & kOnes;
      const UInt64 pairs = (lanes & kPairs) + ((lanes >> 8) & kPairs);
      count += (pairs * 0x0001000100010001ull) >> 48;
    }
    for (SInt32 i = words * 8; i < inCount; ++i) count += inRun[i] >> 7;
    return count;
  }
  // The index of the first and of the last byte above 127; the row has one.
  static SInt32 FirstSet(const UInt8* inRun, SInt32 inCount) {
    SInt32 i = 0;
    for (; i + 8 <= inCount; i += 8)
      if (const UInt64 set = Word(inRun + i) & kTop) return i + __builtin_ctzll(set) / 8;  // lowest byte first
    while (inRun[i] <= 127) ++i;
    return i;
  }
  static SInt32 LastSet(const UInt8* inRun, SInt32 inCount) {
    SInt32 i = inCount;
    for (; i >= 8; i -= 8)
      if (const UInt64 set = Word(inRun + i - 8) & kTop) return i - 8 + (63 - __builtin_clzll(set)) / 8;
    while (inRun[i - 1] <= 127) --i;
    return i - 1;
  }

  SInt32 itsLeft = 0, itsRight = 0, itsTop = 0, itsBottom = 0, itsFront = 0, itsBack = 0;
  UInt64 itsCount = 0;
  bool itsEmpty = true;
};

}  // namespace mirelan
