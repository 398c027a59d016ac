// The vector instruction sets the library's hot kernels choose between at run
// time. The build targets baseline x86-64 (SSE2); kernels that gain from wider
// vectors carry AVX2 and AVX-512 forms too, with results identical on every
// path, and take the best the processor offers, unless capped here.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

enum class XInstructionSet : UInt8 {
  kSSE2 = 0,    // every x86-64 processor
  kAVX2 = 1,    // with SSE4.1
  kAVX512 = 2,  // F, BW and VL
};

// The best set of this processor.
MIRELAN_EXPORT XInstructionSet XGetProcessorInstructionSet();
// The set kernels use now: the processor's, capped by XLimitInstructionSet.
MIRELAN_EXPORT XInstructionSet XGetInstructionSet();
// Caps the set kernels use (tests run every path; a host may pin one for
// reproducible timing); returns the previous cap.
MIRELAN_EXPORT XInstructionSet XLimitInstructionSet(XInstructionSet inMost);
// Carry-less multiplication (PCLMULQDQ) with SSE4.1, for checksums.
MIRELAN_EXPORT bool XProcessorHasCarrylessMultiply();

}  // namespace mirelan
