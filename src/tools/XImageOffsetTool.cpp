#include "tools/XImageOffsetTool.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include "tools/internal/XScanLoop.h"
#include "volume/internal/XWideKernels.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

XImageOffsetTool::~XImageOffsetTool() = default;

template <class Channel>
XImageOffsetTable<Channel>::XImageOffsetTable(Float32 inOffset)
    : itsTable(size_t(std::numeric_limits<Channel>::max()) + 1) {
  for (size_t v = 0; v < itsTable.size(); ++v) itsTable[v] = XClampTruncate<Channel>(Float32(v) - inOffset);
  // The shift the middle of the range shows, tried on every value.
  const SInt64 middle = SInt64(itsTable.size() / 2);
  const SInt64 shift = SInt64(itsTable[size_t(middle)]) - middle;
  const SInt64 top = SInt64(itsTable.size()) - 1;
  itsIsClampedShift = true;
  for (size_t v = 0; v < itsTable.size() && itsIsClampedShift; ++v) {
    const SInt64 expected = std::clamp<SInt64>(SInt64(v) + shift, 0, top);
    itsIsClampedShift = SInt64(itsTable[v]) == expected;
  }
  itsShift = SInt32(shift);
}

template class XImageOffsetTable<UInt8>;
template class XImageOffsetTable<UInt16>;

namespace {

// A whole row at a time: the voxels' channels as one array (alpha of ARGB
// words, the first byte of each, is passed over), through the clamped shift
// in vector code or else through the table.
template <class T, class Channel>
class XOffsetRunHelper : public XScanHelperBase {
 public:
  static constexpr bool kSkipAlpha = std::is_same_v<T, XARGB32Colour>;

  explicit XOffsetRunHelper(Float32 inOffset)
      : itsTable(inOffset), itsShift(itsTable.GetShift(), kSkipAlpha) {}
  template <class V>
  void ScanPixel(T* ioVoxel, V& ioVolume, SInt32 inX, SInt32 inY, SInt32 inZ) {
    ScanRun(ioVoxel, 1, ioVolume, inX, inY, inZ);
  }
  template <class V>
  void ScanRun(T* ioRun, SInt32 inCount, V&, SInt32, SInt32, SInt32) {
    auto* channels = reinterpret_cast<Channel*>(ioRun);
    const UInt64 count = UInt64(inCount) * (sizeof(T) / sizeof(Channel));
    if (itsTable.IsClampedShift()) {
      itsShift.Apply(channels, count);
      return;
    }
    for (UInt64 i = 0; i < count; ++i)
      if (!kSkipAlpha || i % 4) channels[i] = itsTable[channels[i]];
  }

 private:
  XImageOffsetTable<Channel> itsTable;
  XWideClampedShift<Channel> itsShift;
};

}  // namespace

template <class V, class Helper>
void XImageOffsetTool::Run(const XVolume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  Helper helper(itsOffset);
  XScanVolume(DestAs<V>(ioDest), nullptr, helper, kScanProgressPerRowTimed);
}

template <class V>
void XImageOffsetTool::RunTable(const XVolume& inSource, XVolume& ioDest) {
  using T = typename V::Voxel;
  using Channel = std::conditional_t<sizeof(T) % 2 == 0 && !std::is_same_v<T, XARGB32Colour>, UInt16, UInt8>;
  Run<V, XOffsetRunHelper<T, Channel>>(inSource, ioDest);
}

void XImageOffsetTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  RunTable<XGrey8Volume>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  RunTable<XGrey16Volume>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Run<XFPVolume, XImageOffsetHelper<Float32>>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  RunTable<XARGB32Volume>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  RunTable<XRGB48Volume>(inSource, ioDest);
}

}  // namespace mirelan
