// Kernels with forms for SSE2, AVX2 and AVX-512, chosen at each call from
// XGetInstructionSet(), or with one SSE2 form where a single baseline
// instruction does the work. Every form gives the same result as the plain
// loop it replaces, bit for bit.
#pragma once

#include "core/XTypes.h"

namespace mirelan {

// Folds the run into ioLow and ioHigh: v < low takes v, v > high takes v (so
// a NaN never enters), in the order of the sixteen-lane plain loop.
void XWideMinMax(const UInt8* inRun, UInt64 inCount, UInt8& ioLow, UInt8& ioHigh);
void XWideMinMax(const UInt16* inRun, UInt64 inCount, UInt16& ioLow, UInt16& ioHigh);
void XWideMinMax(const UInt32* inRun, UInt64 inCount, UInt32& ioLow, UInt32& ioHigh);
void XWideMinMax(const Float32* inRun, UInt64 inCount, Float32& ioLow, Float32& ioHigh);

// a + b and a - b within [0, max] of the type, into a. The arrays may be
// the same but must not overlap otherwise.
void XWideSaturatingAdd(UInt8* ioA, const UInt8* inB, UInt64 inCount);
void XWideSaturatingAdd(UInt16* ioA, const UInt16* inB, UInt64 inCount);
void XWideSaturatingSubtract(UInt8* ioA, const UInt8* inB, UInt64 inCount);
void XWideSaturatingSubtract(UInt16* ioA, const UInt16* inB, UInt64 inCount);

// outDest[inCount - 1 - i] = inSource[i]: a row of bytes reversed into
// another one (the two must not overlap).
void XWideReverseBytes(const UInt8* inSource, UInt8* outDest, UInt64 inCount);

// v + inValue for every value, in place; integers wrap.
void XWideAdd(UInt8* ioValues, UInt64 inCount, UInt8 inValue);
void XWideAdd(UInt16* ioValues, UInt64 inCount, UInt16 inValue);
void XWideAdd(UInt32* ioValues, UInt64 inCount, UInt32 inValue);
void XWideAdd(Float32* ioValues, UInt64 inCount, Float32 inValue);

// The exact sum of the run.
UInt64 XWideSum(const UInt8* inRun, UInt64 inCount);
UInt64 XWideSum(const UInt16* inRun, UInt64 inCount);

// v + delta kept within [0, max] of the type, in place. Made once for many
// runs: the lane pattern is set up here, not per run. With inSkipAlpha every
// fourth byte from the first (the alpha of ARGB words) stays as it is.
template <class T>
class XWideClampedShift {
 public:
  XWideClampedShift(SInt32 inDelta, bool inSkipAlpha = false);
  void Apply(T* ioValues, UInt64 inCount) const;

  static constexpr int kMaxLanes = 64 / int(sizeof(T));

 private:
  bool itsAdd;  // else subtract
  alignas(64) T itsLanes[kMaxLanes];  // the size of the change per lane (0 for alpha)
};

extern template class XWideClampedShift<UInt8>;
extern template class XWideClampedShift<UInt16>;

// (red + green + blue) / 3 of 4-byte colour words into bytes; the channels
// lie at the given byte offsets of each word.
void XWideColourAverage(const UInt8* inWords, UInt8* outGrey, UInt64 inCount, UInt32 inRedByte, UInt32 inGreenByte,
                        UInt32 inBlueByte);

// The running CRC-32 (reflected, polynomial 0x04C11DB7) of zlib's crc32:
// inChecksum is the checksum so far, the result the checksum with the bytes.
UInt32 XWideCRC32(UInt32 inChecksum, const UInt8* inBytes, UInt64 inCount);

}  // namespace mirelan
