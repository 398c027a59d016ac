#include "volume/XVolumeScaler.h"

namespace mirelan {

XVolumeScaler::XVolumeScaler(const X3DRect& inSource, const X3DRect& inDest, UInt64 inXStride,
                             UInt64 inYStride, UInt64 inZStride)
    : itsSource(inSource), itsDest(inDest), itsXStride(inXStride), itsYStride(inYStride), itsZStride(inZStride) {
  FillArray(itsX, inSource.GetWidth(), inDest.GetWidth(), inXStride);
  FillArray(itsY, inSource.GetHeight(), inDest.GetHeight(), inYStride);
  FillArray(itsZ, inSource.GetDepth(), inDest.GetDepth(), inZStride);
}

XImageScaler::XImageScaler(const XRect& inSource, const XRect& inDest, UInt64 inXStride, UInt64 inYStride)
    : itsSource(inSource), itsDest(inDest), itsXStride(inXStride), itsYStride(inYStride) {
  XVolumeScaler::FillArray(itsX, inSource.GetWidth(), inDest.GetWidth(), inXStride);
  XVolumeScaler::FillArray(itsY, inSource.GetHeight(), inDest.GetHeight(), inYStride);
}

void XVolumeScaler::FillArray(std::vector<UInt64>& outTable, UInt32 inSourceLength, UInt32 inDestLength,
                              UInt64 inStride) {
  outTable.resize(inDestLength);
  UInt64 sum = 0;
  for (UInt32 i = 0; i < inDestLength; ++i, sum += inSourceLength)
    outTable[i] = (sum / inDestLength) * inStride;
}

}  // namespace mirelan
