// Voxels as plain bytes, for tools that only move voxels (flips, turns):
// one instantiation per voxel size serves every pixel type of that size.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "core/XException.h"
#include "core/XTypes.h"
#include "volume/internal/XWideKernels.h"

namespace mirelan {

template <std::size_t N>
struct XRawVoxel {
  UInt8 bytes[N];
};

// Calls inFn(v) with v a value of a type as wide as a voxel of the volume:
// UInt8, UInt16 or UInt32 for 1, 2 or 4 bytes (plain integers, which the
// compiler moves in vector registers), XRawVoxel<6> for 6. Any other size is
// a volume class this library does not have.
template <class Fn>
void XDispatchOnVoxelBytes(UInt32 inVoxelBytes, Fn&& inFn) {
  switch (inVoxelBytes) {
    case 1: inFn(UInt8()); break;
    case 2: inFn(UInt16()); break;
    case 4: inFn(UInt32()); break;
    case 6: inFn(XRawVoxel<6>{}); break;
    default: throw XException(kErrNotForPixelType, "unexpected voxel size");
  }
}

// Reverses a row of inWidth voxels into another row (not the same one).
// Fixed blocks of restrict voxels let the compiler use vector shuffles.
template <class V>
inline void XReverseBlock(const V* __restrict inSource, V* __restrict ioDestEnd) {
  for (int j = 0; j < 16; ++j) ioDestEnd[-1 - j] = inSource[j];
}

template <class V>
inline void XReverseRow(const V* inSource, V* ioDest, UInt32 inWidth) {
  // Bytes go through the byte shuffles of the widest vectors there are.
  if constexpr (std::is_same_v<V, UInt8>) return XWideReverseBytes(inSource, ioDest, inWidth);
  UInt32 x = 0;
  for (; x + 16 <= inWidth; x += 16) XReverseBlock(inSource + x, ioDest + inWidth - x);
  for (; x < inWidth; ++x) ioDest[inWidth - 1 - x] = inSource[x];
}

}  // namespace mirelan
