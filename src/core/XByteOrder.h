// Byte orders and the buffer swapping the streams and volumes share.
#pragma once

#include <cstddef>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

enum XByteOrder : UInt8 { kLittleEndian = 0, kBigEndian = 1 };

// How a block of voxels is swapped: 0 not at all, 1 in 16-bit units, 2 in 32-bit units.
enum XByteSwapMode : UInt8 { kNoByteSwap = 0, kByteSwap16 = 1, kByteSwap32 = 2 };

constexpr XByteOrder GetByteOrderFromPlatform() {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return kBigEndian;
#else
  return kLittleEndian;
#endif
}

inline UInt16 SwapBytes16(UInt16 v) { return __builtin_bswap16(v); }
inline UInt32 SwapBytes32(UInt32 v) { return __builtin_bswap32(v); }
inline UInt64 SwapBytes64(UInt64 v) { return __builtin_bswap64(v); }

// In-place swaps of inCount units.
MIRELAN_EXPORT void SwapBuffer16(void* ioBuffer, UInt64 inCount);
MIRELAN_EXPORT void SwapBuffer32(void* ioBuffer, UInt64 inCount);
// Copies inBytes bytes from inSource to outDest swapping by inMode; a trailing
// part shorter than one unit is copied as it is. Source and destination may be equal.
MIRELAN_EXPORT void SwapBufferBytes(void* outDest, const void* inSource, UInt64 inBytes, XByteSwapMode inMode);

}  // namespace mirelan
