#include "numeric/XVolumeKaiserWindower.h"

#include <cmath>

#include "core/XException.h"
#include "volume/XFPVolume.h"

namespace mirelan {

namespace {

constexpr double kAlpha = 8.639379787500001;

}  // namespace

double XVolumeKaiserWindower::ModifiedBessel(double inX) {
  double sum = 1.0, denominator = 1.0;
  for (int k = 2; k <= 24; k += 2) {
    denominator *= double(k) * double(k);
    sum += std::pow(inX, k) / denominator;
  }
  return sum;
}

void XVolumeKaiserWindower::CalcKaiserBesselWindow(XFPVolume& ioFilter, XOriginLocation inOrigin) {
  const SInt64 length = ioFilter.GetWidth();
  const double i0 = ModifiedBessel(kAlpha);
  SInt64 first = 0, firstStep = 1, second = length - 1, secondStep = -1;
  if (inOrigin == kOriginAtCentre) {
    first = (length % 2 == 0) ? length / 2 - 1 : length / 2;
    firstStep = -1;
    second = first + 1;
    secondStep = 1;
  }
  XLock lock(ioFilter, kLockReadWrite);
  float* sample = ioFilter.GetBaseVoxelPtr();
  for (SInt64 i = 0; i < length / 2; ++i, first += firstStep, second += secondStep) {
    const double ratio = double(i) / (double(length) * 0.5);
    const double w = ModifiedBessel(kAlpha * std::sqrt(1.0 - ratio * ratio)) / i0;
    sample[first] = float(sample[first] * w);
    sample[second] = float(sample[second] * w);
  }
}

void XVolumeKaiserWindower::CalcFilterVolume(XFPVolume& outVolume, const XFPVolume& inXFilter,
                                             const XFPVolume& inYFilter, const XFPVolume& inZFilter) {
  const UInt32 imageWidth = outVolume.GetWidth(), imageHeight = outVolume.GetHeight();
  const UInt32 imageDepth = outVolume.GetDepth();
  XAssert(imageWidth == inXFilter.GetWidth());
  XAssert(imageHeight == inYFilter.GetWidth());
  XAssert(imageDepth == inZFilter.GetWidth());
  XLock xLock(inXFilter, kLockRead);
  XLock yLock(inYFilter, kLockRead);
  XLock zLock(inZFilter, kLockRead);
  XLock lock(outVolume, kLockReadWrite);
  const float* wx = inXFilter.GetBaseVoxelPtr();
  const float* wy = inYFilter.GetBaseVoxelPtr();
  const float* wz = inZFilter.GetBaseVoxelPtr();
  const X3DRect& b = outVolume.GetBounds();
  for (UInt32 z = 0; z < imageDepth; ++z)
    for (UInt32 y = 0; y < imageHeight; ++y) {
      float* row = outVolume.GetVoxelPtr(b.left, b.top + SInt32(y), b.front + SInt32(z));
      for (UInt32 x = 0; x < imageWidth; ++x) row[x] = wx[x] * wy[y] * wz[z];
    }
}

void XVolumeKaiserWindower::ApplyKaiserWindow(XFPVolume& ioVolume, XOriginLocation inOrigin) const {
  XFPVolume xFilter(ioVolume.GetWidth(), 1, 1), yFilter(ioVolume.GetHeight(), 1, 1);
  XFPVolume zFilter(ioVolume.GetDepth(), 1, 1);
  for (XFPVolume* filter : {&xFilter, &yFilter, &zFilter}) {
    filter->Fill(1.0f);
    CalcKaiserBesselWindow(*filter, inOrigin);
  }
  XFPVolume window(ioVolume.GetBounds());
  CalcFilterVolume(window, xFilter, yFilter, zFilter);
  ioVolume *= window;
}

}  // namespace mirelan
