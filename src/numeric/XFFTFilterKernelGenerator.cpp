#include "numeric/XFFTFilterKernelGenerator.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "core/XException.h"
#include "numeric/XFourierVolume.h"

namespace mirelan {

namespace {

constexpr double kPi = 3.141592653589793;

double SquaredRadius(float inX, float inY, float inZ) {
  return double(inX) * inX + double(inY) * inY + double(inZ) * inZ;
}

}  // namespace

X3DRect XFFTFilterKernelGenerator::GetPaddedRect(const X3DRect& inRect, UInt32 inMargin) {
  const UInt32 depth = inRect.GetDepth();
  const UInt32 zMargin = depth <= 1 ? 0 : std::min(depth / 2, inMargin);
  X3DRect padded = inRect;
  padded.Grow(SInt32(inMargin), SInt32(inMargin), SInt32(zMargin));
  if (padded.GetWidth() & 1) padded.SetRight(padded.right + 1);
  if (padded.GetHeight() & 1) padded.SetBottom(padded.bottom + 1);
  return padded;
}

float XFFTFilterKernelGenerator::CalculateGaussianValue(float inX, float inY, float inZ, float inSigma) {
  const double sigma = inSigma;
  return float(std::exp(-SquaredRadius(inX, inY, inZ) / (2.0 * sigma * sigma)));
}

float XFFTFilterKernelGenerator::CalculateLaplacianValue(float inX, float inY, float inZ, float inSigma) {
  const double sigma = inSigma;
  const double q = SquaredRadius(inX, inY, inZ) / (2.0 * sigma * sigma);
  return float(-1.0 / (kPi * sigma * sigma * sigma * sigma) * (1.0 - q) * std::exp(-q));
}

float XFFTFilterKernelGenerator::CalculateSobelHorizontalValue(float inX, float inY, float, float) {
  // Rows y = -2 .. 2, columns abs(x) = 2, 1, 0.
  static const float kTable[5][3] = {{2, 3, 4}, {1, 2, 3}, {0, 0, 0}, {-1, -2, -3}, {-2, -3, -4}};
  if (!(std::fabs(inX) <= 2.0f && std::fabs(inY) <= 2.0f)) return 0.0f;
  if (inX != std::floor(inX) || inY != std::floor(inY)) return 0.0f;
  return kTable[int(inY) + 2][2 - int(std::fabs(inX))];
}

float XFFTFilterKernelGenerator::CalculateSobelVerticalValue(float inX, float inY, float inZ, float inSigma) {
  return CalculateSobelHorizontalValue(inY, inX, inZ, inSigma);
}

XFourierVolume* XFFTFilterKernelGenerator::CreateGaussianFilter(const X3DRect& inRect, float inSigma,
                                                                UInt32 inMargin) {
  return CreateFilterWithKernelFunction(inRect, inSigma, inMargin, CalculateGaussianValue);
}

XFourierVolume* XFFTFilterKernelGenerator::CreateLaplacianFilter(const X3DRect& inRect, float inSigma,
                                                                 UInt32 inMargin) {
  return CreateFilterWithKernelFunction(inRect, inSigma, inMargin, CalculateLaplacianValue);
}

XFourierVolume* XFFTFilterKernelGenerator::CreateSobelHorizontalFilter(const X3DRect& inRect, float inSigma,
                                                                       UInt32 inMargin) {
  return CreateFilterWithKernelFunction(inRect, inSigma, inMargin, CalculateSobelHorizontalValue);
}

XFourierVolume* XFFTFilterKernelGenerator::CreateSobelVerticalFilter(const X3DRect& inRect, float inSigma,
                                                                     UInt32 inMargin) {
  return CreateFilterWithKernelFunction(inRect, inSigma, inMargin, CalculateSobelVerticalValue);
}

XFourierVolume* XFFTFilterKernelGenerator::CreateFilterWithKernelFunction(const X3DRect& inRect, float inSigma,
                                                                          UInt32 inMargin,
                                                                          XKernelFunction inFunction) {
  const X3DRect padded = GetPaddedRect(inRect, inMargin);
  XFPVolume kernel(padded);
  kernel.Clear();
  const SInt32 width = SInt32(padded.GetWidth()), height = SInt32(padded.GetHeight());
  const SInt32 depth = SInt32(padded.GetDepth());
  float sum = 0.0f;
  {
    XLock lock(kernel, kLockReadWrite);
    float* voxel = kernel.GetBaseVoxelPtr();
    for (SInt32 plane = 0; plane < depth; ++plane)
      for (SInt32 row = 0; row < height; ++row)
        for (SInt32 column = 0; column < width; ++column) {
          const float value =
              inFunction(float(column - width / 2), float(row - height / 2), float(plane - depth / 2), inSigma);
          *voxel++ = value;
          sum += std::fabs(value);
        }
  }
  kernel /= sum;
  auto spectrum = std::make_unique<XFourierVolume>(kernel);
  spectrum->FourierTransform();
  return spectrum.release();
}

}  // namespace mirelan
