#include "alignment/internal/XMergeKernels.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace mirelan {
namespace alignment {

namespace {

// One source for both paths: the compiler vectorises each for its target.
template <class C>
inline void MaxLoop(C* __restrict ioDest, const C* __restrict inSource, UInt64 inCount) {
  for (UInt64 i = 0; i < inCount; ++i) ioDest[i] = std::max(ioDest[i], inSource[i]);
}

template <class C>
inline void AddLoop(C* __restrict ioDest, const C* __restrict inSource, UInt64 inCount) {
  if constexpr (std::is_floating_point_v<C>) {
    for (UInt64 i = 0; i < inCount; ++i) ioDest[i] += inSource[i];
  } else {
    constexpr UInt32 kMax = std::numeric_limits<C>::max();
    for (UInt64 i = 0; i < inCount; ++i) ioDest[i] = C(std::min<UInt32>(UInt32(ioDest[i]) + inSource[i], kMax));
  }
}

template <class C>
__attribute__((target("avx2"))) void MaxAVX2(C* __restrict ioDest, const C* __restrict inSource, UInt64 inCount) {
  for (UInt64 i = 0; i < inCount; ++i) ioDest[i] = std::max(ioDest[i], inSource[i]);
}

template <class C>
__attribute__((target("avx2"))) void AddAVX2(C* __restrict ioDest, const C* __restrict inSource, UInt64 inCount) {
  if constexpr (std::is_floating_point_v<C>) {
    for (UInt64 i = 0; i < inCount; ++i) ioDest[i] += inSource[i];
  } else {
    constexpr UInt32 kMax = std::numeric_limits<C>::max();
    for (UInt64 i = 0; i < inCount; ++i) ioDest[i] = C(std::min<UInt32>(UInt32(ioDest[i]) + inSource[i], kMax));
  }
}

bool HasAVX2() {
  static const bool sHas = __builtin_cpu_supports("avx2") != 0;
  return sHas;
}

template <class C>
void Max(C* ioDest, const C* inSource, UInt64 inCount) {
  if (HasAVX2())
    MaxAVX2(ioDest, inSource, inCount);
  else
    MaxLoop(ioDest, inSource, inCount);
}

template <class C>
void Add(C* ioDest, const C* inSource, UInt64 inCount) {
  if (HasAVX2())
    AddAVX2(ioDest, inSource, inCount);
  else
    AddLoop(ioDest, inSource, inCount);
}

}  // namespace

void MaxRow(UInt8* ioDest, const UInt8* inSource, UInt64 inCount) { Max(ioDest, inSource, inCount); }
void MaxRow(UInt16* ioDest, const UInt16* inSource, UInt64 inCount) { Max(ioDest, inSource, inCount); }
void MaxRow(Float32* ioDest, const Float32* inSource, UInt64 inCount) { Max(ioDest, inSource, inCount); }
void AddRow(UInt8* ioDest, const UInt8* inSource, UInt64 inCount) { Add(ioDest, inSource, inCount); }
void AddRow(UInt16* ioDest, const UInt16* inSource, UInt64 inCount) { Add(ioDest, inSource, inCount); }
void AddRow(Float32* ioDest, const Float32* inSource, UInt64 inCount) { Add(ioDest, inSource, inCount); }

}  // namespace alignment
}  // namespace mirelan
