// Counted loops in fixed blocks. The library builds with -O2, where GCC's
// vectorizer only takes loops whose trip count is a known multiple of the
// vector width; a block of constant length is one, so the bodies of the
// volume kernels become vector code while the remainder runs one by one.
#pragma once

#include "core/XTypes.h"

namespace mirelan {

constexpr UInt64 kXLoopBlock = 16;

// inBody(i) for every i in [0, inCount).
template <class Body>
inline void XForEachIndex(UInt64 inCount, Body&& inBody) {
  UInt64 i = 0;
  for (; i + kXLoopBlock <= inCount; i += kXLoopBlock)
    for (UInt64 k = 0; k < kXLoopBlock; ++k) inBody(i + k);
  for (; i < inCount; ++i) inBody(i);
}

// inBody(source + i, dest + i) for every i: two arrays that do not overlap.
// The loop lives here, where the pointers are restricted parameters; a
// lambda capturing them by reference would hide that from the vectorizer.
template <class S, class D, class Body>
inline void XForEachPair(const S* __restrict inSource, D* __restrict outDest, UInt64 inCount, Body inBody) {
  UInt64 i = 0;
  for (; i + kXLoopBlock <= inCount; i += kXLoopBlock)
    for (UInt64 k = 0; k < kXLoopBlock; ++k) inBody(inSource + i + k, outDest + i + k);
  for (; i < inCount; ++i) inBody(inSource + i, outDest + i);
}

// A reduction kept in one accumulator per lane of a block, so that the lanes
// update independently (vector code) and meet only at the end.
// inUpdate(accumulator, i) folds element i in; inMerge(a, b) folds b into a.
template <class Acc, class Update, class Merge>
inline Acc XReduceIndex(UInt64 inCount, const Acc& inStart, Update&& inUpdate, Merge&& inMerge) {
  Acc lanes[kXLoopBlock];
  for (UInt64 k = 0; k < kXLoopBlock; ++k) lanes[k] = inStart;
  UInt64 i = 0;
  for (; i + kXLoopBlock <= inCount; i += kXLoopBlock)
    for (UInt64 k = 0; k < kXLoopBlock; ++k) inUpdate(lanes[k], i + k);
  Acc total = inStart;
  for (; i < inCount; ++i) inUpdate(total, i);
  for (UInt64 k = 0; k < kXLoopBlock; ++k) inMerge(total, lanes[k]);
  return total;
}

}  // namespace mirelan
