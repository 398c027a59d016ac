// Float to integer coordinates without undefined behaviour: truncation
// towards zero that saturates at the ends of the 32-bit range; NaN gives 0.
#pragma once

#include <cmath>
#include <limits>

#include "core/XTypes.h"

namespace mirelan {

inline SInt32 XSaturatingCoord(Float64 inValue) {
  if (std::isnan(inValue)) return 0;
  if (inValue >= 2147483647.0) return std::numeric_limits<SInt32>::max();
  if (inValue <= -2147483648.0) return std::numeric_limits<SInt32>::min();
  return static_cast<SInt32>(inValue);
}

}  // namespace mirelan
