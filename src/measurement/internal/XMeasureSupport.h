// Small pieces the measuring tools share.
#pragma once

#include <memory>

#include "volume/XColourVolumes.h"

namespace mirelan {

// An ARGB32 copy of a BGRA32 volume: the measuring tools read BGRA data as
// ARGB, as every scanning tool does, but never write anything back.
inline std::unique_ptr<XARGB32Volume> XCopyAsARGB32(const XBGRA32Volume& inVolume) {
  const X3DRect& bounds = inVolume.GetBounds();
  auto copy = std::make_unique<XARGB32Volume>(bounds);
  copy->CopyIn(inVolume, bounds, bounds, nullptr);
  return copy;
}

// A scanning tool's per-type slots take the volume by reference for change;
// the measuring tools only read, and walk it under a read lock.
template <class V>
inline const V& XAsConst(V& inVolume) {
  return inVolume;
}

}  // namespace mirelan
