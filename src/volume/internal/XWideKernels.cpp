#include "volume/internal/XWideKernels.h"

#include <immintrin.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/XInstructionSet.h"

namespace mirelan {

namespace {

// ---------------------------------------------------------------- minimum and maximum

// GCC's vector of kBytes bytes of T (a typedef in a class: the attribute
// does not apply to a dependent alias).
template <class T, int kBytes>
struct XVector {
  typedef T Type __attribute__((vector_size(kBytes)));
};

// One body for every width: GCC's vector types become the instructions of
// the target of the function it is inlined into. Integers may be folded in
// any lane order; floats use sixteen lanes, element i in lane i % 16, folded
// as the plain loop folds them (tail first, then lanes 0 to 15), so that
// even the sign of a zero comes out the same on every path.
template <class T, int kBytes>
inline __attribute__((always_inline)) void MinMaxBody(const T* inRun, UInt64 inCount, T& ioLow, T& ioHigh) {
  using V = typename XVector<T, kBytes>::Type;
  constexpr int kLanes = kBytes / int(sizeof(T));
  constexpr int kVectors = std::is_floating_point_v<T> ? 16 / kLanes : 4;
  constexpr UInt64 kStep = UInt64(kLanes) * kVectors;
  // Lanes set through memory once, not element by element: element access
  // would keep the accumulators in memory through the whole loop.
  T lowLanes[kLanes], highLanes[kLanes];
  for (int l = 0; l < kLanes; ++l) lowLanes[l] = ioLow, highLanes[l] = ioHigh;
  V low[kVectors], high[kVectors];
  for (int k = 0; k < kVectors; ++k) {
    std::memcpy(&low[k], lowLanes, kBytes);
    std::memcpy(&high[k], highLanes, kBytes);
  }
  UInt64 i = 0;
  for (; i + kStep <= inCount; i += kStep)
#pragma GCC unroll 16
    for (int k = 0; k < kVectors; ++k) {
      V v;
      std::memcpy(&v, inRun + i + UInt64(k) * kLanes, kBytes);
      low[k] = v < low[k] ? v : low[k];
      high[k] = v > high[k] ? v : high[k];
    }
  for (; i < inCount; ++i) {
    const T v = inRun[i];
    ioLow = v < ioLow ? v : ioLow;
    ioHigh = v > ioHigh ? v : ioHigh;
  }
  for (int k = 0; k < kVectors; ++k)
    for (int l = 0; l < kLanes; ++l) {
      ioLow = low[k][l] < ioLow ? low[k][l] : ioLow;
      ioHigh = high[k][l] > ioHigh ? high[k][l] : ioHigh;
    }
}

template <class T>
void MinMaxSSE2(const T* inRun, UInt64 inCount, T& ioLow, T& ioHigh) {
  MinMaxBody<T, 16>(inRun, inCount, ioLow, ioHigh);
}

template <class T>
__attribute__((target("avx2"))) void MinMaxAVX2(const T* inRun, UInt64 inCount, T& ioLow, T& ioHigh) {
  MinMaxBody<T, 32>(inRun, inCount, ioLow, ioHigh);
}

template <class T>
__attribute__((target("avx512f,avx512bw,avx512vl"))) void MinMaxAVX512(const T* inRun, UInt64 inCount, T& ioLow,
                                                                      T& ioHigh) {
  MinMaxBody<T, 64>(inRun, inCount, ioLow, ioHigh);
}

template <class T>
void MinMax(const T* inRun, UInt64 inCount, T& ioLow, T& ioHigh) {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return MinMaxAVX512(inRun, inCount, ioLow, ioHigh);
    case XInstructionSet::kAVX2: return MinMaxAVX2(inRun, inCount, ioLow, ioHigh);
    case XInstructionSet::kSSE2: return MinMaxSSE2(inRun, inCount, ioLow, ioHigh);
  }
}

// ---------------------------------------------------------------- reversing bytes

// outDest[n - 1 - i] = inSource[i]. The wide forms reverse the bytes within
// each 16-byte lane with a byte shuffle, then the order of the lanes.
void ReverseTail(const UInt8* inSource, UInt8* outDest, UInt64 inCount, UInt64 inFrom) {
  UInt64 i = inFrom;
  for (; i + 8 <= inCount; i += 8) {
    UInt64 word;
    std::memcpy(&word, inSource + i, 8);
    word = __builtin_bswap64(word);
    std::memcpy(outDest + inCount - i - 8, &word, 8);
  }
  for (; i < inCount; ++i) outDest[inCount - 1 - i] = inSource[i];
}

// Byte j of every 16-byte lane takes byte 15 - j of the lane.
alignas(64) constexpr UInt8 kLaneReversal[64] = {
    15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,
    15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};

__attribute__((target("avx2"))) void ReverseAVX2(const UInt8* inSource, UInt8* outDest, UInt64 inCount) {
  const __m256i lane = _mm256_load_si256(reinterpret_cast<const __m256i*>(kLaneReversal));
  UInt64 i = 0;
  for (; i + 32 <= inCount; i += 32) {
    __m256i v = _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(inSource + i)), lane);
    v = _mm256_permute2x128_si256(v, v, 0x01);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(outDest + inCount - i - 32), v);
  }
  ReverseTail(inSource, outDest, inCount, i);
}

__attribute__((target("avx512f,avx512bw"))) void ReverseAVX512(const UInt8* inSource, UInt8* outDest,
                                                               UInt64 inCount) {
  const __m512i lane = _mm512_load_si512(kLaneReversal);
  const __m512i lanes = _mm512_set_epi64(1, 0, 3, 2, 5, 4, 7, 6);  // 16-byte lanes 3, 2, 1, 0
  UInt64 i = 0;
  for (; i + 64 <= inCount; i += 64) {
    __m512i v = _mm512_shuffle_epi8(_mm512_loadu_si512(inSource + i), lane);
    v = _mm512_mask_permutexvar_epi64(v, 0xFF, lanes, v);  // every lane; the unmasked form trips a GCC 12 warning
    _mm512_storeu_si512(outDest + inCount - i - 64, v);
  }
  ReverseTail(inSource, outDest, inCount, i);
}

// ---------------------------------------------------------------- adding a value

// v + value in place, wrapping for integers; each element on its own, so
// every width gives the plain loop's result.
template <class T, int kBytes>
inline __attribute__((always_inline)) void AddBody(T* ioValues, UInt64 inCount, T inValue) {
  using V = typename XVector<T, kBytes>::Type;
  constexpr int kLanes = kBytes / int(sizeof(T));
  constexpr int kVectors = 4;
  T lanes[kLanes];
  for (int l = 0; l < kLanes; ++l) lanes[l] = inValue;
  V add;
  std::memcpy(&add, lanes, kBytes);
  UInt64 i = 0;
  for (; i + UInt64(kLanes) * kVectors <= inCount; i += UInt64(kLanes) * kVectors)
#pragma GCC unroll 4
    for (int k = 0; k < kVectors; ++k) {
      V v;
      std::memcpy(&v, ioValues + i + UInt64(k) * kLanes, kBytes);
      v += add;
      std::memcpy(ioValues + i + UInt64(k) * kLanes, &v, kBytes);
    }
  for (; i < inCount; ++i) ioValues[i] = T(ioValues[i] + inValue);
}

template <class T>
void AddSSE2(T* ioValues, UInt64 inCount, T inValue) {
  AddBody<T, 16>(ioValues, inCount, inValue);
}

template <class T>
__attribute__((target("avx2"))) void AddAVX2(T* ioValues, UInt64 inCount, T inValue) {
  AddBody<T, 32>(ioValues, inCount, inValue);
}

template <class T>
__attribute__((target("avx512f,avx512bw,avx512vl"))) void AddAVX512(T* ioValues, UInt64 inCount, T inValue) {
  AddBody<T, 64>(ioValues, inCount, inValue);
}

template <class T>
void Add(T* ioValues, UInt64 inCount, T inValue) {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return AddAVX512(ioValues, inCount, inValue);
    case XInstructionSet::kAVX2: return AddAVX2(ioValues, inCount, inValue);
    case XInstructionSet::kSSE2: return AddSSE2(ioValues, inCount, inValue);
  }
}

// ---------------------------------------------------------------- sums and saturating arithmetic

// The sums run on the baseline's 16-byte vectors on every processor: each
// has an instruction that does the work of several in generic vector code
// (sum of absolute differences, multiply-add of pairs), and they are bound
// by memory beyond the caches.

// Bytes by the sum of absolute differences against zero, which adds each
// group of eight into a 64-bit lane that cannot overflow.
UInt64 Sum8(const UInt8* inRun, UInt64 inCount) {
  const __m128i zero = _mm_setzero_si128();
  __m128i acc0 = zero, acc1 = zero;
  UInt64 i = 0;
  for (; i + 32 <= inCount; i += 32) {
    acc0 = _mm_add_epi64(acc0, _mm_sad_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(inRun + i)), zero));
    acc1 = _mm_add_epi64(acc1, _mm_sad_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(inRun + i + 16)), zero));
  }
  UInt64 lanes[2];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), _mm_add_epi64(acc0, acc1));
  UInt64 total = lanes[0] + lanes[1];
  for (; i < inCount; ++i) total += inRun[i];
  return total;
}

// 16-bit values less 32768, so that the signed multiply-add of pairs sums
// them into 32-bit lanes; a lane takes at most 65536 in size per step, so
// blocks of 16384 steps cannot overflow it. The 32768s go back at the end.
UInt64 Sum16(const UInt16* inRun, UInt64 inCount) {
  const __m128i bias = _mm_set1_epi16(SInt16(0x8000)), ones = _mm_set1_epi16(1);
  const auto pairs = [&](const UInt16* p) {
    return _mm_madd_epi16(_mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), bias), ones);
  };
  constexpr UInt64 kStep = 16, kBlockSteps = 16384;
  SInt64 total = 0;
  UInt64 i = 0;
  while (i + kStep <= inCount) {
    __m128i acc0 = _mm_setzero_si128(), acc1 = _mm_setzero_si128();
    const UInt64 steps = std::min(kBlockSteps, (inCount - i) / kStep);
    for (UInt64 s = 0; s < steps; ++s, i += kStep) {
      acc0 = _mm_add_epi32(acc0, pairs(inRun + i));
      acc1 = _mm_add_epi32(acc1, pairs(inRun + i + 8));
    }
    SInt32 lanes[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), _mm_add_epi32(acc0, acc1));
    total += SInt64(lanes[0]) + lanes[1] + lanes[2] + lanes[3] + SInt64(steps * kStep) * 32768;
  }
  UInt64 sum = UInt64(total);
  for (; i < inCount; ++i) sum += inRun[i];
  return sum;
}

// a + b, or a - b, kept within [0, max] of the type, in place, from
// inStart on: the part of the arrays shorter than a vector.
template <class T>
void SaturateTail(T* ioA, const T* inB, UInt64 inStart, UInt64 inCount, bool inAdd) {
  for (UInt64 i = inStart; i < inCount; ++i) {
    if (inAdd) {
      const T s = T(ioA[i] + inB[i]);  // below a exactly when it overflowed
      ioA[i] = s < ioA[i] ? std::numeric_limits<T>::max() : s;
    } else {
      ioA[i] = ioA[i] > inB[i] ? T(ioA[i] - inB[i]) : T(0);
    }
  }
}

// The same with each instruction set's saturating adds and subtracts.
template <class T, bool kAdd>
void SaturateSSE2(T* ioA, const T* inB, UInt64 inCount) {
  constexpr bool k8 = sizeof(T) == 1;
  UInt64 i = 0;
  for (; i + 16 / sizeof(T) <= inCount; i += 16 / sizeof(T)) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(ioA + i));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inB + i));
    const __m128i r = kAdd ? (k8 ? _mm_adds_epu8(a, b) : _mm_adds_epu16(a, b))
                            : (k8 ? _mm_subs_epu8(a, b) : _mm_subs_epu16(a, b));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(ioA + i), r);
  }
  SaturateTail(ioA, inB, i, inCount, kAdd);
}

template <class T, bool kAdd>
__attribute__((target("avx2"))) void SaturateAVX2(T* ioA, const T* inB, UInt64 inCount) {
  constexpr bool k8 = sizeof(T) == 1;
  UInt64 i = 0;
  for (; i + 32 / sizeof(T) <= inCount; i += 32 / sizeof(T)) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(ioA + i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(inB + i));
    const __m256i r = kAdd ? (k8 ? _mm256_adds_epu8(a, b) : _mm256_adds_epu16(a, b))
                            : (k8 ? _mm256_subs_epu8(a, b) : _mm256_subs_epu16(a, b));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(ioA + i), r);
  }
  SaturateTail(ioA, inB, i, inCount, kAdd);
}

template <class T, bool kAdd>
__attribute__((target("avx512f,avx512bw"))) void SaturateAVX512(T* ioA, const T* inB, UInt64 inCount) {
  constexpr bool k8 = sizeof(T) == 1;
  UInt64 i = 0;
  for (; i + 64 / sizeof(T) <= inCount; i += 64 / sizeof(T)) {
    const __m512i a = _mm512_loadu_si512(ioA + i);
    const __m512i b = _mm512_loadu_si512(inB + i);
    const __m512i r = kAdd ? (k8 ? _mm512_adds_epu8(a, b) : _mm512_adds_epu16(a, b))
                            : (k8 ? _mm512_subs_epu8(a, b) : _mm512_subs_epu16(a, b));
    _mm512_storeu_si512(ioA + i, r);
  }
  SaturateTail(ioA, inB, i, inCount, kAdd);
}

template <class T, bool kAdd>
void Saturate(T* ioA, const T* inB, UInt64 inCount) {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return SaturateAVX512<T, kAdd>(ioA, inB, inCount);
    case XInstructionSet::kAVX2: return SaturateAVX2<T, kAdd>(ioA, inB, inCount);
    case XInstructionSet::kSSE2: return SaturateSSE2<T, kAdd>(ioA, inB, inCount);
  }
}

// ---------------------------------------------------------------- clamped addition

// v + d within [0, max]: adds min(d, max - v) when adding, takes off min(d,
// v) when subtracting, lane by lane with the lane's own d (0 leaves a lane
// alone). The pattern of d repeats within every vector, so the tail takes
// its lane's d by the same index.
template <class T, int kBytes>
inline __attribute__((always_inline)) void ShiftBody(T* ioValues, UInt64 inCount, bool inAdd, const T* inLanes) {
  using V = typename XVector<T, kBytes>::Type;
  constexpr int kLanes = kBytes / int(sizeof(T));
  constexpr T kMax = std::numeric_limits<T>::max();
  V d;
  std::memcpy(&d, inLanes, kBytes);
  const V top = V{} + kMax;
  UInt64 i = 0;
  for (; i + kLanes <= inCount; i += kLanes) {
    V v;
    std::memcpy(&v, ioValues + i, kBytes);
    if (inAdd) {
      const V room = top - v;
      v = v + (room < d ? room : d);
    } else {
      v = v - (v < d ? v : d);
    }
    std::memcpy(ioValues + i, &v, kBytes);
  }
  for (; i < inCount; ++i) {
    const T lane = inLanes[i % kLanes];
    const T v = ioValues[i];
    ioValues[i] = inAdd ? T(kMax - v < lane ? kMax : v + lane) : T(v < lane ? 0 : v - lane);
  }
}

template <class T>
void ShiftSSE2(T* ioValues, UInt64 inCount, bool inAdd, const T* inLanes) {
  ShiftBody<T, 16>(ioValues, inCount, inAdd, inLanes);
}
template <class T>
__attribute__((target("avx2"))) void ShiftAVX2(T* ioValues, UInt64 inCount, bool inAdd, const T* inLanes) {
  ShiftBody<T, 32>(ioValues, inCount, inAdd, inLanes);
}
template <class T>
__attribute__((target("avx512f,avx512bw,avx512vl"))) void ShiftAVX512(T* ioValues, UInt64 inCount, bool inAdd,
                                                                     const T* inLanes) {
  ShiftBody<T, 64>(ioValues, inCount, inAdd, inLanes);
}

// ---------------------------------------------------------------- colour to grey

// x / 3 for x up to 98303 as a multiply and a shift.
constexpr UInt32 kThirdMultiplier = 43691;
constexpr UInt32 kThirdShift = 17;

template <int kBytes>
inline __attribute__((always_inline)) void AverageBody(const UInt8* inWords, UInt8* outGrey, UInt64 inCount,
                                                       UInt32 inRed, UInt32 inGreen, UInt32 inBlue) {
  using V = typename XVector<UInt32, kBytes>::Type;
  constexpr int kLanes = kBytes / 4;
  using Bytes = typename XVector<UInt8, kLanes>::Type;
  const UInt32 red = 8 * inRed, green = 8 * inGreen, blue = 8 * inBlue;
  UInt64 i = 0;
  for (; i + kLanes <= inCount; i += kLanes) {
    V w;
    std::memcpy(&w, inWords + 4 * i, kBytes);
    const V sum = ((w >> red) & 0xFF) + ((w >> green) & 0xFF) + ((w >> blue) & 0xFF);
    const Bytes grey = __builtin_convertvector((sum * kThirdMultiplier) >> kThirdShift, Bytes);
    std::memcpy(outGrey + i, &grey, kLanes);
  }
  for (; i < inCount; ++i) {
    const UInt8* w = inWords + 4 * i;
    outGrey[i] = UInt8((UInt32(w[inRed]) + w[inGreen] + w[inBlue]) / 3);
  }
}

void AverageSSE2(const UInt8* inWords, UInt8* outGrey, UInt64 inCount, UInt32 r, UInt32 g, UInt32 b) {
  AverageBody<16>(inWords, outGrey, inCount, r, g, b);
}
__attribute__((target("avx2"))) void AverageAVX2(const UInt8* inWords, UInt8* outGrey, UInt64 inCount, UInt32 r,
                                                 UInt32 g, UInt32 b) {
  AverageBody<32>(inWords, outGrey, inCount, r, g, b);
}
__attribute__((target("avx512f,avx512bw,avx512vl"))) void AverageAVX512(const UInt8* inWords, UInt8* outGrey,
                                                                        UInt64 inCount, UInt32 r, UInt32 g, UInt32 b) {
  AverageBody<64>(inWords, outGrey, inCount, r, g, b);
}

// ---------------------------------------------------------------- CRC-32

// One step of the fold: inInto carried over 128 bits onto inNext.
__attribute__((target("pclmul,sse4.1"))) inline __m128i Fold(__m128i inInto, __m128i inNext, __m128i inK) {
  const __m128i low = _mm_clmulepi64_si128(inInto, inK, 0x00);
  return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(inInto, inK, 0x11), inNext), low);
}

__attribute__((target("pclmul,sse4.1"))) inline __m128i Load(const UInt8* inBytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(inBytes));
}

// The fold constants: x^(d+32) and x^(d-32) modulo the polynomial, bit
// reflected and shifted left once, for a fold over a distance of d bits.
constexpr UInt64 kFold512[2] = {0x0154442bd4, 0x01c6e41596};
constexpr UInt64 kFold2048[2] = {0x011542778a, 0x01322d1430};

// Processors with carry-less multiplication of 512-bit registers fold four
// of them, 256 bytes, per step; each 128-bit lane folds as the narrow form
// does, over 2048 bits. The four registers are then folded into one and its
// lanes handed on as the narrow form's four blocks, inBytes having moved on
// by a multiple of 256 bytes; inCount is at least 256.
__attribute__((target("avx512f,avx512vl,vpclmulqdq"))) inline __m512i Fold4(__m512i inInto, __m512i inNext,
                                                                         __m512i inK) {
  const __m512i low = _mm512_clmulepi64_epi128(inInto, inK, 0x00);
  return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(inInto, inK, 0x11), inNext, low, 0x96);  // a ^ b ^ c
}

__attribute__((target("avx512f,avx512vl,vpclmulqdq"))) void WideFoldStart(UInt32 inState, const UInt8*& ioBytes,
                                                                         UInt64& ioCount, __m128i outBlocks[4]) {
  __m512i z1 = _mm512_loadu_si512(ioBytes), z2 = _mm512_loadu_si512(ioBytes + 64);
  __m512i z3 = _mm512_loadu_si512(ioBytes + 128), z4 = _mm512_loadu_si512(ioBytes + 192);
  z1 = _mm512_xor_si512(z1, _mm512_zextsi128_si512(_mm_cvtsi32_si128(int(inState))));
  ioBytes += 256;
  ioCount -= 256;
  const SInt64 a1 = SInt64(kFold2048[0]), a2 = SInt64(kFold2048[1]);
  const __m512i k2048 = _mm512_set_epi64(a2, a1, a2, a1, a2, a1, a2, a1);
  for (; ioCount >= 256; ioBytes += 256, ioCount -= 256) {
    z1 = Fold4(z1, _mm512_loadu_si512(ioBytes), k2048);
    z2 = Fold4(z2, _mm512_loadu_si512(ioBytes + 64), k2048);
    z3 = Fold4(z3, _mm512_loadu_si512(ioBytes + 128), k2048);
    z4 = Fold4(z4, _mm512_loadu_si512(ioBytes + 192), k2048);
  }
  const SInt64 b1 = SInt64(kFold512[0]), b2 = SInt64(kFold512[1]);
  const __m512i k512 = _mm512_set_epi64(b2, b1, b2, b1, b2, b1, b2, b1);
  const __m512i z = Fold4(Fold4(Fold4(z1, z2, k512), z3, k512), z4, k512);
  _mm512_storeu_si512(outBlocks, z);
}

bool UseWideFold() {
  static const bool sHas = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx512vl");
  }();
  return sHas && XGetInstructionSet() == XInstructionSet::kAVX512;
}

// Folding by carry-less multiplication, four blocks of 16 bytes at a time,
// then a Barrett reduction; inState is zlib's internal (inverted) state and
// inCount a multiple of 16, at least 64.
__attribute__((target("pclmul,sse4.1"))) UInt32 FoldCRC32(UInt32 inState, const UInt8* inBytes, UInt64 inCount) {
  alignas(16) static const UInt64 kK3K4[2] = {0x01751997d0, 0x00ccaa009e};
  alignas(16) static const UInt64 kK5K0[2] = {0x0163cd6124, 0x0000000000};
  alignas(16) static const UInt64 kPoly[2] = {0x01db710641, 0x01f7011641};
  __m128i x1, x2, x3, x4;
  if (inCount >= 512 && UseWideFold()) {
    __m128i blocks[4];
    WideFoldStart(inState, inBytes, inCount, blocks);
    x1 = blocks[0], x2 = blocks[1], x3 = blocks[2], x4 = blocks[3];
  } else {
    x1 = _mm_xor_si128(Load(inBytes), _mm_cvtsi32_si128(int(inState)));
    x2 = Load(inBytes + 16), x3 = Load(inBytes + 32), x4 = Load(inBytes + 48);
    inBytes += 64;
    inCount -= 64;
  }
  __m128i x0 = _mm_set_epi64x(SInt64(kFold512[1]), SInt64(kFold512[0]));
  while (inCount >= 64) {
    x1 = Fold(x1, Load(inBytes), x0);
    x2 = Fold(x2, Load(inBytes + 16), x0);
    x3 = Fold(x3, Load(inBytes + 32), x0);
    x4 = Fold(x4, Load(inBytes + 48), x0);
    inBytes += 64;
    inCount -= 64;
  }
  // Four lanes into one.
  x0 = _mm_load_si128(reinterpret_cast<const __m128i*>(kK3K4));
  x1 = Fold(Fold(Fold(x1, x2, x0), x3, x0), x4, x0);
  for (; inCount >= 16; inBytes += 16, inCount -= 16) x1 = Fold(x1, Load(inBytes), x0);
  // 128 bits to 64.
  __m128i x2b = _mm_clmulepi64_si128(x1, x0, 0x10);
  const __m128i mask = _mm_setr_epi32(~0, 0, ~0, 0);
  x1 = _mm_xor_si128(_mm_srli_si128(x1, 8), x2b);
  x0 = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kK5K0));
  x2b = _mm_srli_si128(x1, 4);
  x1 = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x1, mask), x0, 0x00), x2b);
  // Barrett reduction to 32 bits.
  x0 = _mm_load_si128(reinterpret_cast<const __m128i*>(kPoly));
  x2b = _mm_clmulepi64_si128(_mm_and_si128(x1, mask), x0, 0x10);
  x2b = _mm_clmulepi64_si128(_mm_and_si128(x2b, mask), x0, 0x00);
  x1 = _mm_xor_si128(x1, x2b);
  return UInt32(_mm_extract_epi32(x1, 1));
}

// zlib's crc32 takes 32-bit lengths.
UInt32 ZlibCRC32(UInt32 inChecksum, const UInt8* inBytes, UInt64 inCount) {
  while (inCount > 0) {
    const uInt slice = uInt(std::min<UInt64>(inCount, UInt64(1) << 30));
    inChecksum = UInt32(crc32(inChecksum, inBytes, slice));
    inBytes += slice;
    inCount -= slice;
  }
  return inChecksum;
}

}  // namespace

void XWideMinMax(const UInt8* inRun, UInt64 inCount, UInt8& ioLow, UInt8& ioHigh) {
  MinMax(inRun, inCount, ioLow, ioHigh);
}
void XWideMinMax(const UInt16* inRun, UInt64 inCount, UInt16& ioLow, UInt16& ioHigh) {
  MinMax(inRun, inCount, ioLow, ioHigh);
}
void XWideMinMax(const UInt32* inRun, UInt64 inCount, UInt32& ioLow, UInt32& ioHigh) {
  MinMax(inRun, inCount, ioLow, ioHigh);
}
void XWideMinMax(const Float32* inRun, UInt64 inCount, Float32& ioLow, Float32& ioHigh) {
  MinMax(inRun, inCount, ioLow, ioHigh);
}

void XWideSaturatingAdd(UInt8* ioA, const UInt8* inB, UInt64 inCount) { Saturate<UInt8, true>(ioA, inB, inCount); }
void XWideSaturatingAdd(UInt16* ioA, const UInt16* inB, UInt64 inCount) { Saturate<UInt16, true>(ioA, inB, inCount); }
void XWideSaturatingSubtract(UInt8* ioA, const UInt8* inB, UInt64 inCount) {
  Saturate<UInt8, false>(ioA, inB, inCount);
}
void XWideSaturatingSubtract(UInt16* ioA, const UInt16* inB, UInt64 inCount) {
  Saturate<UInt16, false>(ioA, inB, inCount);
}

void XWideReverseBytes(const UInt8* inSource, UInt8* outDest, UInt64 inCount) {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return ReverseAVX512(inSource, outDest, inCount);
    case XInstructionSet::kAVX2: return ReverseAVX2(inSource, outDest, inCount);
    case XInstructionSet::kSSE2: return ReverseTail(inSource, outDest, inCount, 0);
  }
}

void XWideAdd(UInt8* ioValues, UInt64 inCount, UInt8 inValue) { Add(ioValues, inCount, inValue); }
void XWideAdd(UInt16* ioValues, UInt64 inCount, UInt16 inValue) { Add(ioValues, inCount, inValue); }
void XWideAdd(UInt32* ioValues, UInt64 inCount, UInt32 inValue) { Add(ioValues, inCount, inValue); }
void XWideAdd(Float32* ioValues, UInt64 inCount, Float32 inValue) { Add(ioValues, inCount, inValue); }

UInt64 XWideSum(const UInt8* inRun, UInt64 inCount) { return Sum8(inRun, inCount); }
UInt64 XWideSum(const UInt16* inRun, UInt64 inCount) { return Sum16(inRun, inCount); }

template <class T>
XWideClampedShift<T>::XWideClampedShift(SInt32 inDelta, bool inSkipAlpha) : itsAdd(inDelta >= 0) {
  const SInt64 size = std::min<SInt64>(inDelta < 0 ? -SInt64(inDelta) : SInt64(inDelta), std::numeric_limits<T>::max());
  for (int l = 0; l < kMaxLanes; ++l) itsLanes[l] = inSkipAlpha && l % 4 == 0 ? T(0) : T(size);
}

template <class T>
void XWideClampedShift<T>::Apply(T* ioValues, UInt64 inCount) const {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return ShiftAVX512(ioValues, inCount, itsAdd, itsLanes);
    case XInstructionSet::kAVX2: return ShiftAVX2(ioValues, inCount, itsAdd, itsLanes);
    case XInstructionSet::kSSE2: return ShiftSSE2(ioValues, inCount, itsAdd, itsLanes);
  }
}

template class XWideClampedShift<UInt8>;
template class XWideClampedShift<UInt16>;

void XWideColourAverage(const UInt8* inWords, UInt8* outGrey, UInt64 inCount, UInt32 inRedByte, UInt32 inGreenByte,
                        UInt32 inBlueByte) {
  switch (XGetInstructionSet()) {
    case XInstructionSet::kAVX512: return AverageAVX512(inWords, outGrey, inCount, inRedByte, inGreenByte, inBlueByte);
    case XInstructionSet::kAVX2: return AverageAVX2(inWords, outGrey, inCount, inRedByte, inGreenByte, inBlueByte);
    case XInstructionSet::kSSE2: return AverageSSE2(inWords, outGrey, inCount, inRedByte, inGreenByte, inBlueByte);
  }
}

UInt32 XWideCRC32(UInt32 inChecksum, const UInt8* inBytes, UInt64 inCount) {
  if (inCount < 64 || !XProcessorHasCarrylessMultiply()) return ZlibCRC32(inChecksum, inBytes, inCount);
  const UInt64 folded = inCount & ~UInt64(15);
  const UInt32 state = FoldCRC32(~inChecksum, inBytes, folded);
  return ZlibCRC32(~state, inBytes + folded, inCount - folded);
}

}  // namespace mirelan
