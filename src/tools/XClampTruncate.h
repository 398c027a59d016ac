// A float result brought back into a voxel type, as the simple tools store it.
#pragma once

#include <limits>
#include <type_traits>

#include "core/XTypes.h"

namespace mirelan {

// Within [lowest, max] of T, then truncated. NaN gives 0 for the integer
// types and stays NaN for floats.
template <class T>
inline T XClampTruncate(Float64 inValue) {
  constexpr Float64 kLow = Float64(std::numeric_limits<T>::lowest());
  constexpr Float64 kHigh = Float64(std::numeric_limits<T>::max());
  if constexpr (std::is_integral_v<T>) {
    if (!(inValue > kLow)) return std::numeric_limits<T>::lowest();
    return inValue < kHigh ? T(inValue) : std::numeric_limits<T>::max();
  } else {
    return inValue < kLow ? std::numeric_limits<T>::lowest()
                          : (inValue > kHigh ? std::numeric_limits<T>::max() : T(inValue));
  }
}

}  // namespace mirelan
