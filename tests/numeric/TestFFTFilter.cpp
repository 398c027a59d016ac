// Filtering in Fourier space: the padded rectangle, the kernels and their
// cache, the tool with mirrored margins and unwrapping, plug-ins, and the
// Kaiser-Bessel window.
#include <cmath>

#include "NumericTestSupport.h"
#include "numeric/XFFTFilterKernelCache.h"
#include "numeric/XFFTFilterKernelGenerator.h"
#include "numeric/XFFTFilterVolumeTool.h"
#include "numeric/XVolumeKaiserWindower.h"
#include "rendering/XImageRenderer.h"
#include "volume/XGrey16Volume.h"

using namespace numerictest;
using Generator = XFFTFilterKernelGenerator;

namespace {

using FFTFilterTest = FourierTest;

// The kernel back in image space, as a plain volume.
std::unique_ptr<XFPVolume> SpatialKernel(const XFourierVolume& inSpectrum) {
  XFourierVolume copy(inSpectrum);
  copy.InverseFourierTransform();
  auto plain = std::make_unique<XFPVolume>(copy.GetBounds());
  plain->CopyIn(copy, copy.GetBounds(), copy.GetBounds(), nullptr);
  return plain;
}

std::unique_ptr<XVolume> Filter(const XVolume& inSource, const XFourierVolume* inKernel, UInt32 inMargin,
                                const XPtrVector<XFFTFilterVolumeToolPlugin>* inPlugins = nullptr) {
  XFFTFilterVolumeTool tool(inKernel, inPlugins, inMargin);
  return std::unique_ptr<XVolume>(tool.ApplyTool(inSource));
}

}  // namespace

TEST(FFTFilterPadding, MarginsAndEvenSizes) {
  // One plane: no margin in Z.
  EXPECT_EQ(Generator::GetPaddedRect(X3DRect(0, 0, 0, 64, 64, 1), 8), X3DRect(-8, -8, 0, 72, 72, 1));
  // Two planes, margin 8: z margin 1.
  EXPECT_EQ(Generator::GetPaddedRect(X3DRect(0, 0, 0, 16, 16, 2), 8), X3DRect(-8, -8, -1, 24, 24, 3));
  // Odd width 101 with margin 10: 121, made 122 on the right; odd depth stays.
  EXPECT_EQ(Generator::GetPaddedRect(X3DRect(0, 0, 0, 101, 37, 7), 10), X3DRect(-10, -10, -3, 112, 48, 10));
  // Margin 0 on an even image: no padding at all.
  EXPECT_EQ(Generator::GetPaddedRect(X3DRect(3, 4, 5, 35, 36, 6), 0), X3DRect(3, 4, 5, 35, 36, 6));
}

TEST(FFTFilterKernels, ValueFunctions) {
  EXPECT_EQ(Generator::CalculateGaussianValue(0, 0, 0, 2.0f), 1.0f);
  EXPECT_FLOAT_EQ(Generator::CalculateGaussianValue(1, 2, 0, 2.0f), float(std::exp(-5.0 / 8.0)));
  EXPECT_FLOAT_EQ(Generator::CalculateLaplacianValue(0, 0, 0, 1.0f), float(-1.0 / 3.141592653589793));
  EXPECT_FLOAT_EQ(Generator::CalculateLaplacianValue(1, 1, 0, 1.0f), 0.0f);  // q = 1: the zero crossing
  EXPECT_EQ(Generator::CalculateSobelHorizontalValue(0, -2, 5, 9.0f), 4.0f);
  EXPECT_EQ(Generator::CalculateSobelHorizontalValue(-2, 1, 0, 0.0f), -1.0f);
  EXPECT_EQ(Generator::CalculateSobelHorizontalValue(1, 0, 0, 0.0f), 0.0f);
  EXPECT_EQ(Generator::CalculateSobelHorizontalValue(3, 0, 0, 0.0f), 0.0f);
  EXPECT_EQ(Generator::CalculateSobelVerticalValue(-2, 1, 0, 0.0f), 3.0f);
}

TEST_F(FFTFilterTest, KernelsAreCentredAndSumToOneInAbsoluteValue) {
  const X3DRect image(0, 0, 0, 20, 15, 1);
  std::unique_ptr<XFourierVolume> sobel(Generator::CreateSobelHorizontalFilter(image, 1.0f, 3));
  EXPECT_TRUE(sobel->IsInFourierSpace());
  EXPECT_EQ(sobel->GetBounds(), Generator::GetPaddedRect(image, 3));  // 26 x 22
  auto spatial = SpatialKernel(*sobel);
  const X3DRect& b = spatial->GetBounds();
  const SInt32 cx = b.left + 13, cy = b.top + 11;
  EXPECT_NEAR(At(*spatial, cx, cy - 2, 0), 4.0f / 46, 1e-6f);
  EXPECT_NEAR(At(*spatial, cx + 2, cy + 2, 0), -2.0f / 46, 1e-6f);
  EXPECT_NEAR(spatial->FindAbsSum(), 1.0, 1e-5);

  std::unique_ptr<XFourierVolume> gauss(Generator::CreateGaussianFilter(X3DRect(0, 0, 0, 16, 16, 4), 1.5f, 4));
  EXPECT_EQ(gauss->GetDepth(), 8u);
  XLock lock(*gauss, kLockRead);
  EXPECT_NEAR(gauss->GetFirstVoxelPtr()[0], 1.0f, 1e-5f);  // the DC term is the kernel's sum
  std::unique_ptr<XFourierVolume> laplacian(Generator::CreateLaplacianFilter(image, 2.0f, 0));
  EXPECT_NEAR(SpatialKernel(*laplacian)->FindAbsSum(), 1.0, 1e-5);
}

TEST_F(FFTFilterTest, CacheKeepsOneKernelPerKey) {
  XFFTFilterKernelCache cache;
  const X3DRect image(5, 5, 0, 37, 29, 1);
  const XFourierVolume* first = cache.GetKernel(kGaussianKernel, image, 2.0f, 8);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(cache.GetKernel(kGaussianKernel, X3DRect(0, 0, 0, 32, 24, 1), 2.0f, 8), first);  // size, not position
  EXPECT_NE(cache.GetKernel(kGaussianKernel, image, 2.0f, 4), first);
  EXPECT_NE(cache.GetKernel(kGaussianKernel, image, 3.0f, 8), first);
  EXPECT_NE(cache.GetKernel(kLaplacianKernel, image, 2.0f, 8), first);
  EXPECT_NE(cache.GetKernel(kSobelVerticalKernel, image, 2.0f, 8), nullptr);
  EXPECT_EQ(cache.GetKernel(XKernelType(7), image, 2.0f, 8), nullptr);
}

TEST_F(FFTFilterTest, GaussianOfAnImpulseIsTheAnalyticKernel) {
  const double sigma = 2.5;
  XFPVolume image(X3DRect(0, 0, 0, 64, 64, 1));
  image.Fill(0.0f);
  Fill(image, [](SInt32 x, SInt32 y, SInt32) { return (x == 32 && y == 30) ? 1.0f : 0.0f; });
  XFFTFilterKernelCache cache;
  const UInt32 margin = 16;
  const XFourierVolume* kernel = cache.GetKernel(kGaussianKernel, image.GetBounds(), float(sigma), margin);
  auto filtered = Filter(image, kernel, margin);
  auto& result = dynamic_cast<XFPVolume&>(*filtered);
  // The kernel's normalisation: its sum over the padded plane (96 x 96).
  double norm = 0;
  for (int y = -48; y < 48; ++y)
    for (int x = -48; x < 48; ++x) norm += std::exp(-(x * x + y * y) / (2 * sigma * sigma));
  for (int dy = -8; dy <= 8; ++dy)
    for (int dx = -8; dx <= 8; ++dx) {
      const double expected = std::exp(-(dx * dx + dy * dy) / (2 * sigma * sigma)) / norm;
      ASSERT_NEAR(At(result, 32 + dx, 30 + dy, 0), expected, 2e-6) << dx << " " << dy;
    }
  EXPECT_NEAR(At(result, 2, 60, 0), 0.0f, 2e-6f);
  // Both renderers show the result's range.
  Float32 low = 0, high = 0;
  result.FindMinMax(low, high);
  EXPECT_EQ(result.GetPlaneRenderer().GetBlack(), low);
  EXPECT_EQ(result.GetPlaneRenderer().GetWhite(), high);
}

TEST_F(FFTFilterTest, OddSizesArePaddedAndARampKeepsItsValues) {
  // A linear ramp keeps its values under a symmetric kernel away from the
  // edges, and a constant everywhere: the margins mirror the image.
  XFPVolume image(X3DRect(0, 0, 0, 101, 37, 1));
  Fill(image, [](SInt32 x, SInt32 y, SInt32) { return float(1000 + 7 * x + 3 * y); });
  XFFTFilterKernelCache cache;
  const XFourierVolume* kernel = cache.GetKernel(kGaussianKernel, image.GetBounds(), 1.5f, 10);
  EXPECT_EQ(kernel->GetWidth(), 122u);
  EXPECT_EQ(kernel->GetHeight(), 58u);
  auto filtered = Filter(image, kernel, 10);
  auto& ramp = dynamic_cast<XFPVolume&>(*filtered);
  for (SInt32 y = 8; y < 29; y += 5)
    for (SInt32 x = 8; x < 93; x += 7) EXPECT_NEAR(At(ramp, x, y, 0), 1000 + 7 * x + 3 * y, 5e-3f);  // the kernel sums in float
  XFPVolume flat(image.GetBounds());
  flat.Fill(500.0f);
  auto flatFiltered = Filter(flat, kernel, 10);
  EXPECT_NEAR(At(static_cast<XFPVolume&>(*flatFiltered), 0, 0, 0), 500.0f, 1e-3f);
  EXPECT_NEAR(At(static_cast<XFPVolume&>(*flatFiltered), 100, 36, 0), 500.0f, 1e-3f);
  // A kernel of another size is refused.
  const XFourierVolume* other = cache.GetKernel(kGaussianKernel, image.GetBounds(), 1.5f, 4);
  EXPECT_THROW(Filter(image, other, 10), XInternalError);
}

TEST_F(FFTFilterTest, SixteenBitResultsConvertThroughTheResultsRange) {
  // The float result's renderer spans its minimum to maximum, and the
  // conversion carries that range onto the 16-bit input range.
  XGrey16Volume grey(X3DRect(0, 0, 0, 40, 30, 1));
  Fill(grey, [](SInt32 x, SInt32 y, SInt32) { return UInt16(1000 + 7 * x + 3 * y); });
  XFPVolume asFloat(grey.GetBounds());
  asFloat.CopyIn(grey, grey.GetBounds(), asFloat.GetBounds(), nullptr);
  XFFTFilterKernelCache cache;
  const XFourierVolume* kernel = cache.GetKernel(kGaussianKernel, grey.GetBounds(), 2.0f, 6);
  auto floatResult = Filter(asFloat, kernel, 6);
  auto greyResult = Filter(grey, kernel, 6);
  auto& reference = static_cast<XFPVolume&>(*floatResult);
  Float32 low = 0, high = 0;
  reference.FindMinMax(low, high);
  EXPECT_EQ(greyResult->GetPlaneRenderer().GetBlack(), low);
  EXPECT_EQ(greyResult->GetPlaneRenderer().GetWhite(), high);
  for (SInt32 y = 0; y < 30; y += 7)
    for (SInt32 x = 0; x < 40; x += 9) {
      const double expected = (At(reference, x, y, 0) - low) * 65535.0 / (high - low);
      EXPECT_NEAR(volumetest::VoxelAt(static_cast<XGrey16Volume&>(*greyResult), x, y, 0), expected, 1.0);
    }
}

TEST_F(FFTFilterTest, PlugInsRunOnTheTrimmedResult) {
  XFPVolume image(X3DRect(0, 0, 0, 32, 32, 1));
  Fill(image, [](SInt32 x, SInt32 y, SInt32) { return float((x / 8 + y / 8) % 2 * 100); });
  XFFTFilterKernelCache cache;
  const XFourierVolume* laplacian = cache.GetKernel(kLaplacianKernel, image.GetBounds(), 1.0f, 8);
  auto plain = Filter(image, laplacian, 8);
  EXPECT_LT(static_cast<XFPVolume&>(*plain).FindMin(), 0.0f);
  XPtrVector<XFFTFilterVolumeToolPlugin> absolute;
  absolute.push_back(new XAbsoluteValuePlugin);
  auto positive = Filter(image, laplacian, 8, &absolute);
  EXPECT_GE(static_cast<XFPVolume&>(*positive).FindMin(), 0.0f);
  EXPECT_FLOAT_EQ(static_cast<XFPVolume&>(*positive).FindMax(),
                  std::max(std::fabs(static_cast<XFPVolume&>(*plain).FindMin()), static_cast<XFPVolume&>(*plain).FindMax()));

  XPtrVector<XFFTFilterVolumeToolPlugin> enhancer;
  enhancer.push_back(new XLaplacianDetailEnhancerPlugin);
  auto enhanced = Filter(image, laplacian, 8, &enhancer);
  Float32 low = 0, high = 0;
  static_cast<XFPVolume&>(*enhanced).FindMinMax(low, high);
  EXPECT_EQ(low, 0.0f);
  EXPECT_FLOAT_EQ(high, float(image.GetPlaneRenderer().GetMaxInputValue()));
}

TEST_F(FFTFilterTest, PaddedImagesMirrorAboutTheEdges) {
  XFPVolume source(X3DRect(0, 0, 0, 4, 3, 2));
  Fill(source, [](SInt32 x, SInt32 y, SInt32 z) { return float(x + 1 + 10 * y + 100 * z); });
  const X3DRect padded = Generator::GetPaddedRect(source.GetBounds(), 2);  // (-2, -2, -1) to (6, 6, 3)
  ASSERT_EQ(padded, X3DRect(-2, -2, -1, 6, 6, 3));
  XFourierVolume volume(padded);
  XFFTFilterVolumeTool::PreparePaddedImage(source, volume);
  const float row[8] = {2, 1, 1, 2, 3, 4, 4, 3};  // the edge voxel repeated once
  for (int i = 0; i < 8; ++i) EXPECT_EQ(At(volume, i - 2, 0, 0), row[i]) << i;
  EXPECT_EQ(At(volume, 0, -1, 0), At(volume, 0, 0, 0));
  EXPECT_EQ(At(volume, 0, -2, 0), At(volume, 0, 1, 0));
  EXPECT_EQ(At(volume, -2, 5, 1), At(volume, -2, 0, 1));  // the widening row is a plain margin row
  EXPECT_EQ(At(volume, 5, 4, 0), At(volume, 5, 1, 0));
  EXPECT_EQ(At(volume, -1, -1, -1), At(volume, -1, -1, 0));
  EXPECT_EQ(At(volume, 3, 2, 2), At(volume, 3, 2, 1));
  EXPECT_EQ(At(volume, -1, -1, 2), 101.0f);
}

TEST_F(FFTFilterTest, UnwrappingSwapsDiagonalQuadrants) {
  XFourierVolume wrapped(X3DRect(1, 1, 0, 5, 3, 2));  // 4 x 2 x 2
  Fill(wrapped, [](SInt32 x, SInt32 y, SInt32 z) { return float(x + 10 * y + 100 * z); });
  XFPVolume out(wrapped.GetBounds());
  XFFTFilterVolumeTool::UnwrapFourierToFPImage(wrapped, out);
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 1; y < 3; ++y)
      for (SInt32 x = 1; x < 5; ++x)
        EXPECT_EQ(At(out, x, y, z), At(wrapped, 1 + (x - 1 + 2) % 4, 1 + (y - 1 + 1) % 2, z));
  XFourierVolume odd(X3DRect(0, 0, 0, 5, 2, 1));
  XFPVolume oddOut(odd.GetBounds());
  EXPECT_THROW(XFFTFilterVolumeTool::UnwrapFourierToFPImage(odd, oddOut), XInternalError);
}

// ---------------------------------------------------------------- Kaiser-Bessel window

namespace {

std::vector<float> Window(UInt32 inLength, XVolumeKaiserWindower::XOriginLocation inOrigin) {
  XFPVolume filter(inLength, 1, 1);
  filter.Fill(1.0f);
  XVolumeKaiserWindower::CalcKaiserBesselWindow(filter, inOrigin);
  return volumetest::Values(filter);
}

}  // namespace

TEST(KaiserWindow, PeaksAtTheOriginWithTheLoopsOwnAsymmetries) {
  EXPECT_EQ(XVolumeKaiserWindower::ModifiedBessel(0.0), 1.0);
  EXPECT_NEAR(XVolumeKaiserWindower::ModifiedBessel(2.0), std::cyl_bessel_i(0.0, 2.0), 1e-12);
  EXPECT_EQ(Window(1, XVolumeKaiserWindower::kOriginAtCorner), std::vector<float>{1.0f});
  EXPECT_EQ(Window(1, XVolumeKaiserWindower::kOriginAtCentre), std::vector<float>{1.0f});

  const auto corner = Window(5, XVolumeKaiserWindower::kOriginAtCorner);
  EXPECT_EQ(corner[0], 1.0f);
  EXPECT_EQ(corner[4], 1.0f);
  EXPECT_EQ(corner[2], 1.0f);  // the middle of an odd length is no cursor's
  EXPECT_EQ(corner[1], corner[3]);
  EXPECT_LT(corner[1], 1.0f);

  const auto centre = Window(5, XVolumeKaiserWindower::kOriginAtCentre);
  EXPECT_EQ(centre[2], 1.0f);
  EXPECT_EQ(centre[3], 1.0f);  // one sample off centre
  EXPECT_EQ(centre[1], centre[4]);
  EXPECT_EQ(centre[0], 1.0f);  // the sample no cursor reaches
  const auto even = Window(6, XVolumeKaiserWindower::kOriginAtCentre);
  EXPECT_EQ(even[2], 1.0f);
  EXPECT_EQ(even[3], 1.0f);
  EXPECT_EQ(even[0], even[5]);
  const double w2 = XVolumeKaiserWindower::ModifiedBessel(8.639379787500001 * std::sqrt(1 - (2 / 3.0) * (2 / 3.0))) /
                    XVolumeKaiserWindower::ModifiedBessel(8.639379787500001);
  EXPECT_FLOAT_EQ(even[0], float(w2));
}

TEST(KaiserWindow, TheVolumeIsMultipliedBySeparableWindows) {
  XFPVolume volume(X3DRect(0, 0, 0, 6, 4, 3));
  volume.Fill(2.0f);
  XVolumeKaiserWindower().ApplyKaiserWindow(volume, XVolumeKaiserWindower::kOriginAtCorner);
  const auto wx = Window(6, XVolumeKaiserWindower::kOriginAtCorner), wy = Window(4, XVolumeKaiserWindower::kOriginAtCorner),
             wz = Window(3, XVolumeKaiserWindower::kOriginAtCorner);
  EXPECT_EQ(At(volume, 2, 1, 1), 2.0f * (wx[2] * wy[1] * wz[1]));
  EXPECT_EQ(At(volume, 0, 0, 0), 2.0f);
  XFPVolume out(X3DRect(0, 0, 0, 6, 4, 3)), wrong(5, 1, 1);
  EXPECT_THROW(XVolumeKaiserWindower::CalcFilterVolume(out, wrong, wrong, wrong), XInternalError);
}
