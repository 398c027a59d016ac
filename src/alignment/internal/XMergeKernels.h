// Row kernels of the merges' usual case (contribution exactly 1.0), with a
// path for processors that have AVX2, chosen once at run time.
#pragma once

#include "core/XTypes.h"

namespace mirelan {
namespace alignment {

// ioDest[i] = max(ioDest[i], inSource[i]).
void MaxRow(UInt8* ioDest, const UInt8* inSource, UInt64 inCount);
void MaxRow(UInt16* ioDest, const UInt16* inSource, UInt64 inCount);
void MaxRow(Float32* ioDest, const Float32* inSource, UInt64 inCount);
// ioDest[i] = min(ioDest[i] + inSource[i], largest value); floats add plainly.
void AddRow(UInt8* ioDest, const UInt8* inSource, UInt64 inCount);
void AddRow(UInt16* ioDest, const UInt16* inSource, UInt64 inCount);
void AddRow(Float32* ioDest, const Float32* inSource, UInt64 inCount);

}  // namespace alignment
}  // namespace mirelan
