#include "numeric/XVolumeExtensionTool.h"

#include <algorithm>
#include <memory>

#include "core/XException.h"
#include "numeric/XFourierVolume.h"

namespace mirelan {

void XVolumeExtensionTool::ExtendLine(float* ioLine, ptrdiff_t inStride, UInt32 inLength, UInt32 inLowMargin,
                                      UInt32 inHighMargin) {
  const UInt32 m = std::max(inLowMargin, inHighMargin);
  if (m == 0) return;
  const float low = ioLine[ptrdiff_t(m) * inStride];
  const float high = ioLine[ptrdiff_t(inLength - 1 - m) * inStride];
  const float span = high - low;
  const float twiceM = float(2 * m);
  for (UInt32 i = 0; i < inLowMargin; ++i) {
    const float weight = float(m - i) / twiceM;
    ioLine[ptrdiff_t(i) * inStride] = span * weight + low;
  }
  for (UInt32 j = 0; j < inHighMargin; ++j) {
    const float weight = float(j + m) / twiceM;
    ioLine[ptrdiff_t(inLength - 1 - j) * inStride] = span * weight + high;
  }
}

void XVolumeExtensionTool::ExtendX(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin,
                                   UInt32 inSkipTop, UInt32 inSkipBottom, UInt32 inSkipFront, UInt32 inSkipBack) {
  XLock lock(ioVolume, kLockReadWrite);
  const auto& layout = ioVolume.GetRealLayout();
  for (UInt32 z = inSkipFront; z + inSkipBack < layout.GetDepth(); ++z)
    for (UInt32 y = inSkipTop; y + inSkipBottom < layout.GetHeight(); ++y)
      ExtendLine(ioVolume.GetRealLayer(z) + ptrdiff_t(y) * layout.GetRowSize(), 1, layout.GetWidth(), inLowMargin,
                 inHighMargin);
}

void XVolumeExtensionTool::ExtendY(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin,
                                   UInt32 inSkipFront, UInt32 inSkipBack) {
  XLock lock(ioVolume, kLockReadWrite);
  const auto& layout = ioVolume.GetRealLayout();
  for (UInt32 z = inSkipFront; z + inSkipBack < layout.GetDepth(); ++z)
    for (UInt32 x = 0; x < layout.GetWidth(); ++x)
      ExtendLine(ioVolume.GetRealLayer(z) + x, layout.GetRowSize(), layout.GetHeight(), inLowMargin, inHighMargin);
}

void XVolumeExtensionTool::ExtendZ(XFourierVolume& ioVolume, UInt32 inLowMargin, UInt32 inHighMargin) {
  XLock lock(ioVolume, kLockReadWrite);
  const auto& layout = ioVolume.GetRealLayout();
  for (UInt32 y = 0; y < layout.GetHeight(); ++y)
    for (UInt32 x = 0; x < layout.GetWidth(); ++x)
      ExtendLine(ioVolume.GetRealLayer(0) + ptrdiff_t(y) * layout.GetRowSize() + x, layout.GetLayerSize(),
                 layout.GetDepth(), inLowMargin, inHighMargin);
}

XFourierVolume* XVolumeExtensionTool::CreateXYZExtendedVolume(const XVolume& inSource, const X3DRect& inRect) {
  const X3DRect& source = inSource.GetBounds();
  XAssert(inRect.Contains(source));
  auto extended = std::make_unique<XFourierVolume>(inRect);
  extended->CopyIn(inSource, source, source, nullptr);
  const UInt32 left = UInt32(source.left - inRect.left), right = UInt32(inRect.right - source.right);
  const UInt32 top = UInt32(source.top - inRect.top), bottom = UInt32(inRect.bottom - source.bottom);
  const UInt32 front = UInt32(source.front - inRect.front), back = UInt32(inRect.back - source.back);
  ExtendX(*extended, left, right, top, bottom, front, back);
  ExtendY(*extended, top, bottom, front, back);
  ExtendZ(*extended, front, back);
  return extended.release();
}

XFPVolume* XVolumeExtensionTool::CreateXYZTrimmedVolume(const XFourierVolume& inFourier, const X3DRect& inRect) {
  XAssert(inFourier.GetBounds().Contains(inRect));
  auto trimmed = std::make_unique<XFPVolume>(inRect);
  trimmed->CopyIn(inFourier, inRect, inRect, nullptr);
  return trimmed.release();
}

}  // namespace mirelan
