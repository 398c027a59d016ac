#include "core/XInstructionSet.h"

#include <atomic>

namespace mirelan {

namespace {

XInstructionSet Detect() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
    return XInstructionSet::kAVX512;
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("sse4.1")) return XInstructionSet::kAVX2;
  return XInstructionSet::kSSE2;
}

std::atomic<XInstructionSet> sCap{XInstructionSet::kAVX512};

}  // namespace

XInstructionSet XGetProcessorInstructionSet() {
  static const XInstructionSet sDetected = Detect();
  return sDetected;
}

XInstructionSet XGetInstructionSet() {
  const XInstructionSet cap = sCap.load(std::memory_order_relaxed);
  const XInstructionSet own = XGetProcessorInstructionSet();
  return UInt8(cap) < UInt8(own) ? cap : own;
}

XInstructionSet XLimitInstructionSet(XInstructionSet inMost) { return sCap.exchange(inMost); }

bool XProcessorHasCarrylessMultiply() {
  static const bool sHas = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
  }();
  return sHas;
}

}  // namespace mirelan
