#include "filters/internal/XSelectionNetwork.h"

#include <immintrin.h>

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "core/XException.h"

namespace mirelan {

namespace {

// Batcher's odd-even merge sort for inSize (a power of two) wires: pairs
// (i, j), i < j, after which wire i holds the smaller value.
std::vector<std::pair<UInt32, UInt32>> OddEvenMergeSort(UInt32 inSize) {
  std::vector<std::pair<UInt32, UInt32>> pairs;
  for (UInt32 p = 1; p < inSize; p *= 2)
    for (UInt32 k = p; k >= 1; k /= 2)
      for (UInt32 j = k % p; j + k < inSize; j += 2 * k)
        for (UInt32 i = 0; i < std::min(k, inSize - j - k); ++i)
          if ((i + j) / (p * 2) == (i + j + k) / (p * 2)) pairs.emplace_back(i + j, i + j + k);
  return pairs;
}

// Every step is the same, without a branch: the smaller value goes to one
// slot and the larger to another. A step of which only one result is needed
// sends the other to the spare slot past the values. Both results are made
// before either is stored, since a result may go back to an input's slot.
// The two forms are written out apart: a vector type of AVX2 must not cross
// a function that is not compiled for it.
constexpr UInt32 kLanes = XSelectionNetwork::kLanes;

// SSE2, which every x86-64 processor has; it lacks unsigned 16-bit min and
// max, made here from a saturating difference.
template <class T>
void RunSSE2(const std::vector<XSelectionNetwork::XOp>& inOps, T* ioSlots) {
  constexpr size_t kVectors = kLanes * sizeof(T) / sizeof(__m128i);
  for (const XSelectionNetwork::XOp& op : inOps) {
    const __m128i* a = reinterpret_cast<const __m128i*>(ioSlots + size_t(op.a) * kLanes);
    const __m128i* b = reinterpret_cast<const __m128i*>(ioSlots + size_t(op.b) * kLanes);
    __m128i low[kVectors], high[kVectors];
    for (size_t i = 0; i < kVectors; ++i) {
      const __m128i x = _mm_loadu_si128(a + i), y = _mm_loadu_si128(b + i);
      if constexpr (sizeof(T) == 1) {
        low[i] = _mm_min_epu8(x, y);
        high[i] = _mm_max_epu8(x, y);
      } else {
        const __m128i excess = _mm_subs_epu16(x, y);
        low[i] = _mm_sub_epi16(x, excess);
        high[i] = _mm_add_epi16(y, excess);
      }
    }
    __m128i* toLow = reinterpret_cast<__m128i*>(ioSlots + size_t(op.low) * kLanes);
    __m128i* toHigh = reinterpret_cast<__m128i*>(ioSlots + size_t(op.high) * kLanes);
    for (size_t i = 0; i < kVectors; ++i) _mm_storeu_si128(toLow + i, low[i]);
    for (size_t i = 0; i < kVectors; ++i) _mm_storeu_si128(toHigh + i, high[i]);
  }
}

template <class T>
__attribute__((target("avx2"))) void RunAVX2(const std::vector<XSelectionNetwork::XOp>& inOps, T* ioSlots) {
  constexpr size_t kVectors = kLanes * sizeof(T) / sizeof(__m256i);
  for (const XSelectionNetwork::XOp& op : inOps) {
    const __m256i* a = reinterpret_cast<const __m256i*>(ioSlots + size_t(op.a) * kLanes);
    const __m256i* b = reinterpret_cast<const __m256i*>(ioSlots + size_t(op.b) * kLanes);
    __m256i low[kVectors], high[kVectors];
    for (size_t i = 0; i < kVectors; ++i) {
      const __m256i x = _mm256_loadu_si256(a + i), y = _mm256_loadu_si256(b + i);
      if constexpr (sizeof(T) == 1) {
        low[i] = _mm256_min_epu8(x, y);
        high[i] = _mm256_max_epu8(x, y);
      } else {
        low[i] = _mm256_min_epu16(x, y);
        high[i] = _mm256_max_epu16(x, y);
      }
    }
    __m256i* toLow = reinterpret_cast<__m256i*>(ioSlots + size_t(op.low) * kLanes);
    __m256i* toHigh = reinterpret_cast<__m256i*>(ioSlots + size_t(op.high) * kLanes);
    for (size_t i = 0; i < kVectors; ++i) _mm256_storeu_si256(toLow + i, low[i]);
    for (size_t i = 0; i < kVectors; ++i) _mm256_storeu_si256(toHigh + i, high[i]);
  }
}

bool HasAVX2() {
  static const bool sHas = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return sHas;
}

}  // namespace

void XSelectionNetwork::Run(UInt8* ioSlots) const {
  if (HasAVX2())
    RunAVX2(itsOps, ioSlots);
  else
    RunSSE2(itsOps, ioSlots);
}

void XSelectionNetwork::Run(UInt16* ioSlots) const {
  if (HasAVX2())
    RunAVX2(itsOps, ioSlots);
  else
    RunSSE2(itsOps, ioSlots);
}

void XSelectionNetwork::RunWithoutAVX2(UInt8* ioSlots) const { RunSSE2(itsOps, ioSlots); }
void XSelectionNetwork::RunWithoutAVX2(UInt16* ioSlots) const { RunSSE2(itsOps, ioSlots); }

// A sorting network for the next power of two, pruned to one output. The
// wires past the count hold "larger than anything": a step with such a wire
// as the larger side does nothing, and with it as the smaller side only
// swaps which slot a wire lives in. Then, going backwards from the output,
// steps whose results are never needed go, and steps of which only one
// result is needed shrink to a min or a max.
XSelectionNetwork::XSelectionNetwork(UInt32 inCount, UInt32 inRank) : itsCount(inCount) {
  UInt32 size = 1;
  while (size < inCount) size *= 2;
  std::vector<bool> padding(size);
  std::vector<UInt32> slotOf(size);
  for (UInt32 w = 0; w < size; ++w) {
    padding[w] = w >= inCount;
    slotOf[w] = w;
  }
  std::vector<std::pair<UInt32, UInt32>> steps;
  for (const auto& [i, j] : OddEvenMergeSort(size)) {
    if (padding[j]) continue;
    if (padding[i]) {
      padding[i] = false;
      padding[j] = true;
      std::swap(slotOf[i], slotOf[j]);
      continue;
    }
    steps.emplace_back(slotOf[i], slotOf[j]);
  }
  itsOutput = slotOf[inRank];
  std::vector<bool> needed(inCount);
  needed[itsOutput] = true;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    const UInt32 a = step->first, b = step->second;
    if (!needed[a] && !needed[b]) continue;
    const UInt32 spare = inCount;
    itsOps.push_back({UInt16(a), UInt16(b), UInt16(needed[a] ? a : spare), UInt16(needed[b] ? b : spare)});
    needed[a] = needed[b] = true;
  }
  std::reverse(itsOps.begin(), itsOps.end());
}

const XSelectionNetwork& XSelectionNetwork::Get(UInt32 inCount, UInt32 inRank) {
  XAssert(inCount >= 1 && inCount <= kMaxCount && inRank < inCount);
  static std::mutex sMutex;
  static std::map<std::pair<UInt32, UInt32>, std::unique_ptr<XSelectionNetwork>> sNetworks;
  std::lock_guard<std::mutex> guard(sMutex);
  auto& slot = sNetworks[{inCount, inRank}];
  if (!slot) slot.reset(new XSelectionNetwork(inCount, inRank));
  return *slot;
}

}  // namespace mirelan
