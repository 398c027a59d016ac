#include "tools/XRGB24ToARGB32Tool.h"

#include "volume/XColourVolumes.h"

namespace mirelan {

XRGB24ToARGB32Tool::~XRGB24ToARGB32Tool() = default;

void XRGB24ToARGB32Tool::BGR24ToARGB32(const UInt8* inSource, UInt32 inRowBytes, XARGB32Volume& ioDest) {
  XAssert(inSource != nullptr);
  XLock lock(ioDest, kLockWrite);
  const UInt32 width = ioDest.GetWidth(), height = ioDest.GetHeight(), depth = ioDest.GetDepth();
  const UInt8* sourceRow = inSource;
  for (UInt32 z = 0; z < depth; ++z) {
    XARGB32Colour* destRow = ioDest.GetLayer(z);
    for (UInt32 y = 0; y < height; ++y, sourceRow += inRowBytes, destRow += ioDest.GetRowVoxels()) {
      const UInt8* s = sourceRow;
      for (UInt32 x = 0; x < width; ++x, s += 3) destRow[x] = XARGB32Colour(0, s[2], s[1], s[0]);
    }
  }
}

void XRGB24ToARGB32Tool::BGR24ToARGB32(const UInt8* inSource, XARGB32Volume& ioDest) {
  BGR24ToARGB32(inSource, ioDest.GetWidth() * 3, ioDest);
}

}  // namespace mirelan
