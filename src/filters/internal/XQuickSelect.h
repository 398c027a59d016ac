// The one selection of the rank filters: an in-place quick selection that
// leaves the values partly reordered and returns the lower median.
#pragma once

#include <cstddef>
#include <utility>

#include "core/XException.h"
#include "core/XTypes.h"

namespace mirelan {

// The value of rank (inCount - 1) >> 1 among ioValues[0 .. inCount - 1],
// compared with T's own operators (unsigned for integers, float for floats).
// The steps are fixed, not only the result: the order it leaves behind, and
// with NaN or zeros of both signs among floats the value it picks, follow
// from them, and the non-linear filter's border rule depends on that order.
//
// Each round puts the median of the first, middle and last elements at the
// low end, moves the middle element next to it, partitions the rest around
// the low element with two inward scans, puts the pivot in place and keeps
// the side that holds the rank. The scans need no bounds tests: the first
// round's exchanges leave an element on each side that stops them.
template <class T>
T XQuickSelect(T* ioValues, size_t inCount) {
  XAssert(inCount > 0);
  T* a = ioValues;
  ptrdiff_t low = 0;
  ptrdiff_t high = ptrdiff_t(inCount) - 1;
  const ptrdiff_t rank = high >> 1;
  for (;;) {
    if (high <= low) return a[rank];
    if (high == low + 1) {
      if (a[low] > a[high]) std::swap(a[low], a[high]);
      return a[rank];
    }
    const ptrdiff_t middle = (low + high) >> 1;
    if (a[middle] > a[high]) std::swap(a[middle], a[high]);
    if (a[low] > a[high]) std::swap(a[low], a[high]);
    if (a[middle] > a[low]) std::swap(a[middle], a[low]);
    std::swap(a[middle], a[low + 1]);
    ptrdiff_t ll = low + 1;
    ptrdiff_t hh = high;
    for (;;) {
      do ++ll;
      while (a[low] > a[ll]);
      do --hh;
      while (a[hh] > a[low]);
      if (hh < ll) break;
      std::swap(a[ll], a[hh]);
    }
    std::swap(a[low], a[hh]);
    if (hh <= rank) low = ll;
    if (hh >= rank) high = hh - 1;
  }
}

}  // namespace mirelan
