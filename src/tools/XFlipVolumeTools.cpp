#include "tools/XFlipVolumeTools.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <typeinfo>

#include "core/XProgress.h"
#include "tools/internal/XRawVoxel.h"
#include "volume/XPackedVolume.h"

namespace mirelan {

namespace {

// Base and byte strides of a packed volume, read once before the loops.
template <class Byte>
struct XPlaneWalk {
  Byte* itsBase;
  ptrdiff_t itsRowBytes;
  ptrdiff_t itsPlaneBytes;

  Byte* Row(UInt32 inY, UInt32 inZ) const { return itsBase + inZ * itsPlaneBytes + inY * itsRowBytes; }
};

template <class V>
auto WalkOf(V& inVolume) {
  using Byte = std::conditional_t<std::is_const_v<V>, const UInt8, UInt8>;
  return XPlaneWalk<Byte>{inVolume.GetBasePtr(), static_cast<ptrdiff_t>(inVolume.GetRowBytes()),
                          static_cast<ptrdiff_t>(inVolume.GetPlaneBytes())};
}

using XSourceWalk = XPlaneWalk<const UInt8>;
using XDestWalk = XPlaneWalk<UInt8>;

template <class V>
void FlipRowsH(const XSourceWalk& inSource, const XDestWalk& inDest, UInt32 inWidth, UInt32 inHeight,
               UInt32 inDepth, bool inSame) {
  XProgress progress(inDepth, kProgressStandard, 2000, false);
  for (UInt32 z = 0; z < inDepth; ++z) {
    for (UInt32 y = 0; y < inHeight; ++y) {
      V* d = reinterpret_cast<V*>(inDest.Row(y, z));
      if (inSame)
        std::reverse(d, d + inWidth);
      else
        XReverseRow(reinterpret_cast<const V*>(inSource.Row(y, z)), d, inWidth);
    }
    progress.Increment();
  }
}

void FlipRowsV(const XSourceWalk& inSource, const XDestWalk& inDest, size_t inRowLength, UInt32 inHeight,
               UInt32 inDepth, bool inSame) {
  XProgress progress(inDepth, kProgressStandard, 2000, false);
  for (UInt32 z = 0; z < inDepth; ++z) {
    if (inSame) {
      for (UInt32 y = 0; y < inHeight / 2; ++y)
        std::swap_ranges(inDest.Row(y, z), inDest.Row(y, z) + inRowLength, inDest.Row(inHeight - 1 - y, z));
    } else {
      for (UInt32 y = 0; y < inHeight; ++y)
        std::memcpy(inDest.Row(inHeight - 1 - y, z), inSource.Row(y, z), inRowLength);
    }
    progress.Increment();
  }
}

// Locks for a flip: read the source and write the whole destination, or
// read and write a volume flipped onto itself.
class XFlipLocks {
 public:
  XFlipLocks(const XBasePackedVolume& inSource, XBasePackedVolume& ioDest)
      : itsSame(&inSource == &ioDest),
        itsSourceLock(inSource, itsSame ? kLockReadWrite : kLockRead),
        itsDestLock(ioDest, itsSame ? kLockReadWrite : kLockWrite) {}
  bool IsSame() const { return itsSame; }

 private:
  bool itsSame;
  XLock itsSourceLock;
  XLock itsDestLock;
};

}  // namespace

// ================================================================ XFlipHVolumeTool

XFlipHVolumeTool::~XFlipHVolumeTool() = default;

void XFlipHVolumeTool::ApplyToolSelf(const XVolume& inSource, XVolume& ioDest) {
  XAssert(typeid(inSource) == typeid(ioDest));
  const XBasePackedVolume* source = dynamic_cast<const XBasePackedVolume*>(&inSource);
  if (!source) throw XException(kErrNotForPixelType);
  Flip(*source, static_cast<XBasePackedVolume&>(ioDest));
}

void XFlipHVolumeTool::Flip(const XBasePackedVolume& inSource, XBasePackedVolume& ioDest) {
  XAssert(inSource.GetBounds() == ioDest.GetBounds());
  XFlipLocks locks(inSource, ioDest);
  const XSourceWalk source = WalkOf(inSource);
  const XDestWalk dest = WalkOf(ioDest);
  const UInt32 width = ioDest.GetWidth(), height = ioDest.GetHeight(), depth = ioDest.GetDepth();
  XDispatchOnVoxelBytes(ioDest.GetVoxelBytes(), [&](auto inVoxel) {
    FlipRowsH<decltype(inVoxel)>(source, dest, width, height, depth, locks.IsSame());
  });
}

// ================================================================ XFlipVVolumeTool

XFlipVVolumeTool::~XFlipVVolumeTool() = default;

void XFlipVVolumeTool::Flip(const XBasePackedVolume& inSource, XBasePackedVolume& ioDest) {
  XAssert(inSource.GetBounds() == ioDest.GetBounds());
  XFlipLocks locks(inSource, ioDest);
  const size_t rowLength = size_t(ioDest.GetWidth()) * ioDest.GetVoxelBytes();
  FlipRowsV(WalkOf(inSource), WalkOf(ioDest), rowLength, ioDest.GetHeight(), ioDest.GetDepth(), locks.IsSame());
}

}  // namespace mirelan
