// Fourier volumes: layouts and padding, whole-block arithmetic, transforms
// through FFTW, convolution, plans and best sizes, wisdom across a restart.
#include <fftw3.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <sstream>
#include <thread>

#include "NumericTestSupport.h"
#include "core/XUserPrefsSaver.h"
#include "numeric/X3DFFTW3Strategy.h"
#include "numeric/XVectorMathToolImp.h"
#include "volume/XGrey16Volume.h"

using namespace numerictest;

namespace {

using FourierVolumeTest = FourierTest;

// Every padding float of a volume in image space.
std::vector<float> PaddingOf(const XFourierVolume& inVolume) {
  std::vector<float> padding;
  XLock lock(inVolume, kLockRead);
  const auto& layout = inVolume.GetRealLayout();
  for (UInt32 z = 0; z < layout.GetDepth(); ++z)
    for (UInt32 y = 0; y < layout.GetHeight(); ++y)
      for (UInt32 x = layout.GetWidth(); x < layout.GetRowSize(); ++x)
        padding.push_back(inVolume.GetRealLayer(z)[y * layout.GetRowSize() + x]);
  return padding;
}

void FillRandom(XFourierVolume& ioVolume, unsigned inSeed, float inLow = -1.0f, float inHigh = 1.0f) {
  std::mt19937 engine(inSeed);
  std::uniform_real_distribution<float> distribution(inLow, inHigh);
  Fill(ioVolume, [&](SInt32, SInt32, SInt32) { return distribution(engine); });
}

float LargestDifference(const XFPVolume& inA, const XFPVolume& inB) {
  float largest = 0.0f;
  const X3DRect& b = inA.GetBounds();
  XLock lockA(inA, kLockRead);
  XLock lockB(inB, kLockRead);
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        largest = std::max(largest, std::fabs(inA.GetVoxel(x, y, z) - inB.GetVoxel(x, y, z)));
  return largest;
}

}  // namespace

// ---------------------------------------------------------------- the manager

TEST(FourierStrategyManager, MustExistBeforeAnyFourierVolume) {
  EXPECT_EQ(XFourierStrategyManager::GetManager(), nullptr);
  EXPECT_THROW(XFourierVolume(X3DRect(4, 4, 1)), XInternalError);
  EXPECT_THROW(XFourierStrategyManager::GetFFTStrategy(X3DRect()), XInternalError);
  {
    XFourierStrategyManager manager;
    EXPECT_THROW({ XFourierStrategyManager second; }, XInternalError);
    XFourierVolume volume(X3DRect(4, 4, 1));
    EXPECT_EQ(&volume.GetFourierStrategy(), &XFourierStrategyManager::GetFFTStrategyMT(X3DRect()));
    auto& single = static_cast<X3DFFTW3Strategy&>(XFourierStrategyManager::GetFFTStrategy(X3DRect()));
    auto& multi = static_cast<X3DFFTW3Strategy&>(XFourierStrategyManager::GetFFTStrategyMT(X3DRect()));
    EXPECT_EQ(single.GetSectionName(), "FFTW31-x86");
    EXPECT_EQ(multi.GetSectionName(), "FFTW31MT-x86");
    EXPECT_FALSE(single.IsMultiThreaded());
    EXPECT_TRUE(multi.IsMultiThreaded());
  }
  EXPECT_EQ(XFourierStrategyManager::GetManager(), nullptr);
}

// ---------------------------------------------------------------- layouts and storage

TEST_F(FourierVolumeTest, LayoutsOfNarrowAndOddWidths) {
  struct Case {
    UInt32 width, rowSize, complexWidth;
  };
  for (Case c : {Case{1, 2, 1}, Case{2, 4, 2}, Case{3, 4, 2}, Case{8, 10, 5}, Case{9, 10, 5}}) {
    XFourierVolume volume(X3DRect(c.width, 3, 2));
    const auto& real = volume.GetRealLayout();
    const auto& complex = volume.GetComplexLayout();
    EXPECT_EQ(real.GetRowSize(), c.rowSize) << c.width;
    EXPECT_EQ(real.GetLayerSize(), c.rowSize * 3);
    EXPECT_EQ(real.GetEndPadding(), 4u);
    EXPECT_EQ(real.GetYPadding(), c.rowSize - c.width);
    EXPECT_EQ(real.GetZPadding(), 0u);
    EXPECT_EQ(complex.GetWidth(), c.complexWidth);
    EXPECT_EQ(complex.GetRowSize(), c.complexWidth);
    EXPECT_EQ(complex.GetEndPadding(), 2u);
    EXPECT_EQ(real.GetStorageSize(), complex.GetStorageSize());
    const UInt64 s = real.GetStorageSize();
    EXPECT_EQ(volume.GetDataSize(), s + 4 * (16 - s % 16));
    EXPECT_EQ(volume.GetRowVoxels(), c.rowSize);
    EXPECT_EQ(volume.GetPadVoxels(), 0u);
    EXPECT_EQ(volume.GetVolumeBytes(), (UInt64(c.rowSize) * 3 * 2 + 4) * 4);
    EXPECT_EQ(volume.GetTotalSize(), UInt64(c.rowSize) * 3 * 2);
    EXPECT_EQ(volume.GetTotalPadding(), UInt64(c.rowSize - c.width) * 3 * 2);
    XLock lock(volume, kLockRead);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(volume.GetFirstVoxelPtr()) % 16, 0u);
  }
}

TEST_F(FourierVolumeTest, SizesBeyondThe32BitLayoutsAreRefusedBeforeAllocating) {
  EXPECT_EQ(volumetest::ErrorOf([] { XFourierVolume(X3DRect(100000, 100000, 1)); }), kErrImpossibleSize);
  EXPECT_EQ(volumetest::ErrorOf([] { XFourierVolume(X3DRect(4096, 4096, 300)); }), kErrImpossibleSize);
}

TEST_F(FourierVolumeTest, VoxelsAndCopiesRespectThePaddedRows) {
  XFourierVolume volume(X3DRect(-2, 3, 1, 5, 7, 3));  // 7 x 4 x 2, rows of 8
  Fill(volume, [](SInt32 x, SInt32 y, SInt32 z) { return float(x * 100 + y * 10 + z); });
  {
    XLock lock(volume, kLockRead);
    EXPECT_EQ(volume.GetRealLayer(1)[2 * 8 + 3], float(1 * 100 + 5 * 10 + 2));
  }
  // Out to a plain volume, to a 16-bit one, and back into another Fourier volume.
  XFPVolume plain(volume.GetBounds());
  plain.CopyIn(volume, volume.GetBounds(), plain.GetBounds(), nullptr);
  EXPECT_EQ(At(plain, 4, 6, 2), 462.0f);
  XGrey16Volume grey(volume.GetBounds());
  volume.CopyOut(grey, volume.GetBounds(), grey.GetBounds(), nullptr);
  XFourierVolume fromGrey(grey.GetBounds());
  fromGrey.CopyIn(grey, grey.GetBounds(), fromGrey.GetBounds(), nullptr);
  EXPECT_EQ(At(fromGrey, 4, 6, 2), float(volumetest::VoxelAt(grey, 4, 6, 2)));
  XFourierVolume copy(plain);
  EXPECT_EQ(At(copy, -2, 3, 1), -169.0f);
  EXPECT_EQ(LargestDifference(copy, volume), 0.0f);
  XFourierVolume other(volume.GetBounds());
  other.CopyIn(volume, volume.GetBounds(), other.GetBounds(), nullptr);
  EXPECT_EQ(LargestDifference(other, volume), 0.0f);
  other.FourierTransform();
  EXPECT_THROW(other.CopyIn(volume, volume.GetBounds(), other.GetBounds(), nullptr), XInternalError);
  EXPECT_THROW(plain.CopyIn(volume, X3DRect(-2, 3, 1, 4, 7, 3), X3DRect(-2, 3, 1, 5, 7, 3), nullptr), XInternalError);
  // A plane without its padding.
  std::unique_ptr<XVolume> plane(volume.XYPlaneToVolume(1, false));
  EXPECT_EQ(plane->GetDepth(), 1u);
  EXPECT_EQ(At(*static_cast<XFPVolume*>(plane.get()), 0, 4, 2), 42.0f);
  EXPECT_THROW(volume.XYPlaneToVolume(2, false), XInternalError);
  EXPECT_THROW(volume.YZPlaneToVolume(0, false), XInternalError);
  EXPECT_THROW(volume.VolumeToXZPlane(plain, 0, 0), XInternalError);
}

// ---------------------------------------------------------------- padding semantics

TEST_F(FourierVolumeTest, ReductionsRefillThePaddingFirst) {
  XFourierVolume volume(X3DRect(5, 3, 2));
  Fill(volume, [](SInt32 x, SInt32 y, SInt32 z) { return float(5 + x + y + z); });
  volume.SetPadding(-100.0f);
  EXPECT_EQ(volume.FindMin(), 5.0f);
  volume.SetPadding(1000.0f);
  EXPECT_EQ(volume.FindMax(), 12.0f);
  Float32 low = 0, high = 0;
  volume.SetPadding(-1000.0f);
  volume.FindMinMax(low, high);
  EXPECT_EQ(low, 5.0f);
  EXPECT_EQ(high, 12.0f);
  // After FillReal the padding holds 1 too, but the sum counts voxels only.
  volume.FillReal(1.0f);
  EXPECT_EQ(volume.FindSum(), 5.0 * 3 * 2);
  EXPECT_NE(volume.FindSum(), double(volume.GetTotalSize()));
  for (float p : PaddingOf(volume)) EXPECT_EQ(p, 0.0f);
  // The reductions of the plain float volume walk the voxels only.
  volume.SetPadding(1e6f);
  EXPECT_EQ(volume.FindAbsSum(), 30.0);
  EXPECT_EQ(volume.FindMean(), 1.0f);
}

TEST_F(FourierVolumeTest, DivisionSetsTheDivisorsPaddingToOne) {
  XFourierVolume numerator(X3DRect(6, 2, 1)), divisor(X3DRect(6, 2, 1));
  Fill(numerator, [](SInt32 x, SInt32, SInt32) { return float(x + 1); });
  Fill(divisor, [](SInt32, SInt32, SInt32) { return 2.0f; });
  numerator.SetPadding(3.0f);
  divisor.SetPadding(0.0f);
  numerator.Divide(divisor);
  for (float p : PaddingOf(divisor)) EXPECT_EQ(p, 1.0f);  // the const divisor shows it
  for (float p : PaddingOf(numerator)) EXPECT_TRUE(std::isfinite(p));
  EXPECT_NEAR(At(numerator, 3, 1, 0), 2.0f, 1e-6f);
  numerator.MultiplyAndDivide(4.0f, divisor);
  EXPECT_NEAR(At(numerator, 3, 1, 0), 4.0f, 1e-6f);
  numerator.MultiplyAndDivide(divisor, 8.0f);
  EXPECT_NEAR(At(numerator, 3, 1, 0), 1.0f, 1e-6f);
  EXPECT_THROW(numerator.MultiplyAndDivide(divisor, 0.0f), XInternalError);
  numerator.Divide(0.5f);
  EXPECT_NEAR(At(numerator, 3, 1, 0), 2.0f, 1e-6f);
}

TEST_F(FourierVolumeTest, WholeVolumeArithmetic) {
  XFourierVolume a(X3DRect(7, 3, 2)), b(X3DRect(7, 3, 2));
  Fill(a, [](SInt32 x, SInt32 y, SInt32 z) { return float(1 + x + 2 * y + 3 * z); });
  Fill(b, [](SInt32, SInt32, SInt32) { return 2.0f; });
  double dot = 0, chi = 0, chiSelf = 0, dotDivide = 0;
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 0; y < 3; ++y)
      for (SInt32 x = 0; x < 7; ++x) {
        const double v = 1 + x + 2 * y + 3 * z;
        dot += v * 2;
        dotDivide += v * 2 / 2;
        chi += (v - 2) * (v - 2) / 2;
        chiSelf += (v - 2) * (v - 2) / v;
      }
  a.SetPadding(55.0f);
  EXPECT_FLOAT_EQ(a.FindDotProduct(b), float(dot));
  EXPECT_FLOAT_EQ(a.FindDotProductDivide(b, b), float(dotDivide));
  EXPECT_FLOAT_EQ(a.CalcChiSquared(b, b), float(chi));
  EXPECT_NEAR(a.CalcChiSquared(b), float(chiSelf), 1e-4 * chiSelf);
  a.Add(1.0f);
  a.Subtract(b);
  a.Multiply(b);
  a.Add(b);
  a.Subtract(0.5f);
  a.Multiply(0.5f);  // ((v + 1 - 2) * 2 + 2 - 0.5) * 0.5 = v - 0.25
  EXPECT_FLOAT_EQ(At(a, 4, 2, 1), 1 + 4 + 4 + 3 - 0.25f);
  a.ClampValuesBelow(3.0f);
  a.ClampValuesAbove(10.0f);
  EXPECT_EQ(At(a, 0, 0, 0), 3.0f);
  EXPECT_EQ(At(a, 6, 2, 1), 10.0f);
  XFourierVolume constant(X3DRect(5, 4, 3));
  constant.FillReal(2.0f);
  constant.SetPadding(77.0f);
  EXPECT_NEAR(constant.FindWeightedEntropy(), lnf(2.0f), 1e-6f);
  XFourierVolume wrongSize(X3DRect(6, 3, 2));
  EXPECT_THROW(a.Add(wrongSize), XInternalError);
  a.FourierTransform();
  EXPECT_THROW(a.Add(1.0f), XInternalError);
  EXPECT_THROW(a.SetPadding(0.0f), XInternalError);
  EXPECT_THROW(a.GetTotalSize(), XInternalError);
}

// ---------------------------------------------------------------- transforms

TEST_F(FourierVolumeTest, RoundTripOfRandomDataWithinFloatRounding) {
  for (X3DRect box : {X3DRect(17, 12, 5), X3DRect(32, 16, 8), X3DRect(1, 7, 3), X3DRect(9, 1, 1)}) {
    for (bool multi : {false, true}) {
      XFourierStrategy& strategy = multi ? XFourierStrategyManager::GetFFTStrategyMT(box)
                                         : XFourierStrategyManager::GetFFTStrategy(box);
      XFourierVolume volume(box, strategy);
      FillRandom(volume, 5);
      XFPVolume original(box);
      original.CopyIn(volume, box, box, nullptr);
      volume.FourierTransform();
      EXPECT_TRUE(volume.IsInFourierSpace());
      EXPECT_THROW(volume.FourierTransform(), XInternalError);
      volume.InverseFourierTransform();
      EXPECT_TRUE(volume.IsInImageSpace());
      EXPECT_LT(LargestDifference(volume, original), 2e-6f) << box.GetWidth() << " " << multi;
    }
  }
}

TEST_F(FourierVolumeTest, ForwardTransformIsTheUnscaledHalfSpectrum) {
  XFourierVolume volume(X3DRect(6, 4, 2));
  Fill(volume, [](SInt32 x, SInt32, SInt32) { return std::cos(2 * 3.14159265358979 * x / 6.0) + 0.5; });
  volume.FourierTransform();
  XLock lock(volume, kLockRead);
  const auto* pairs = reinterpret_cast<const std::complex<float>*>(volume.GetFirstVoxelPtr());
  const float n = 6 * 4 * 2;
  EXPECT_NEAR(pairs[0].real(), 0.5f * n, 1e-4f);  // the DC term
  EXPECT_NEAR(pairs[1].real(), 0.5f * n, 1e-4f);  // kx = 1: half the cosine's energy
  EXPECT_NEAR(std::abs(pairs[2]), 0.0f, 1e-4f);
  EXPECT_NEAR(std::abs(pairs[4]), 0.0f, 1e-4f);   // ky = 1
}

TEST_F(FourierVolumeTest, SpectrumArithmeticNeedsFourierSpace) {
  const X3DRect box(8, 4, 2);
  XFourierVolume a(box), b(box);
  FillRandom(a, 1);
  FillRandom(b, 2, 0.5f, 1.5f);
  EXPECT_THROW(a.ComplexMagnitude(), XInternalError);
  a.FourierTransform();
  b.FourierTransform();
  XFourierVolume product(a);
  product.ComplexMultiply(b);
  product.ComplexDivide(b);
  XFourierVolume sum(a);
  sum.ComplexAdd(b);
  sum.ComplexSubtract(b);
  sum.ComplexMultiply(2.0f);
  XFourierVolume magnitude(a), reciprocal(b);
  magnitude.ComplexMagnitude();
  reciprocal.ComplexReciprocal();
  XLock lock(a, kLockRead);
  const UInt32 pairs = a.GetComplexLayout().GetLayerSize() * 2;
  auto pairsOf = [](const XFourierVolume& v) {
    XLock l(v, kLockRead);
    return std::vector<std::complex<float>>(reinterpret_cast<const std::complex<float>*>(v.GetFirstVoxelPtr()),
                                            reinterpret_cast<const std::complex<float>*>(v.GetFirstVoxelPtr()) + 5 * 4 * 2);
  };
  const auto pa = pairsOf(a), pb = pairsOf(b), pp = pairsOf(product), ps = pairsOf(sum), pm = pairsOf(magnitude),
             pr = pairsOf(reciprocal);
  ASSERT_EQ(pairs, 40u);
  for (UInt32 i = 0; i < pairs; ++i) {
    EXPECT_LT(std::abs(pp[i] - pa[i]), 1e-4f * (1 + std::abs(pa[i])));
    EXPECT_LT(std::abs(ps[i] - 2.0f * pa[i]), 1e-4f * (1 + std::abs(pa[i])));
    EXPECT_NEAR(pm[i].real(), std::norm(pa[i]), 1e-4f * (1 + std::norm(pa[i])));
    EXPECT_EQ(pm[i].imag(), 0.0f);
    EXPECT_LT(std::abs(pr[i] * pb[i] - 1.0f), 1e-5f);
  }
  XFourierVolume other(X3DRect(8, 4, 3));
  other.FourierTransform();
  EXPECT_THROW(product.ComplexMultiply(other), XInternalError);
}

TEST_F(FourierVolumeTest, ConvolveTransformsOnlyWhatIsInImageSpace) {
  const X3DRect box(8, 6, 4);
  XFourierVolume a(box), impulse(box);
  FillRandom(a, 11);
  XFPVolume original(box);
  original.CopyIn(a, box, box, nullptr);
  impulse.FillReal(0.0f);
  Fill(impulse, [](SInt32 x, SInt32 y, SInt32 z) { return (x | y | z) == 0 ? 1.0f : 0.0f; });
  XFPVolume impulseBefore(box);
  impulseBefore.CopyIn(impulse, box, box, nullptr);
  // Both in image space: both return there; the second carries a round trip's rounding.
  a.Convolve(impulse);
  EXPECT_TRUE(a.IsInImageSpace());
  EXPECT_TRUE(impulse.IsInImageSpace());
  EXPECT_LT(LargestDifference(a, original), 2e-6f);
  EXPECT_LT(LargestDifference(impulse, impulseBefore), 1e-6f);
  // The second already in Fourier space: it stays there, untouched.
  impulse.FourierTransform();
  XFourierVolume spectrum(impulse);
  a.TransposeConvolve(impulse);
  EXPECT_TRUE(a.IsInImageSpace());
  EXPECT_TRUE(impulse.IsInFourierSpace());
  EXPECT_TRUE(impulse == spectrum);
  EXPECT_LT(LargestDifference(a, original), 4e-6f);
  // A shifted impulse shifts the image circularly.
  XFourierVolume shift(box);
  Fill(shift, [](SInt32 x, SInt32 y, SInt32 z) { return (x == 1 && y == 0 && z == 0) ? 1.0f : 0.0f; });
  a.Convolve(shift);
  EXPECT_NEAR(At(a, 3, 2, 1), At(original, 2, 2, 1), 1e-5f);
  EXPECT_NEAR(At(a, 0, 2, 1), At(original, 7, 2, 1), 1e-5f);
  XFourierVolume wrong(X3DRect(8, 6, 3));
  EXPECT_THROW(a.Convolve(wrong), XInternalError);
}

TEST_F(FourierVolumeTest, PlanningNeverTouchesTheCallersDataAndPlansAreKept) {
  auto& strategy = static_cast<X3DFFTW3Strategy&>(XFourierStrategyManager::GetFFTStrategy(X3DRect()));
  const size_t before = strategy.GetPlanCount();
  const X3DRect box(23, 11, 3);
  XFourierVolume volume(box, strategy);
  FillRandom(volume, 3);
  XFPVolume original(box);
  original.CopyIn(volume, box, box, nullptr);
  XFourierVolume sharing(volume);  // shares the block until one is written
  volume.FourierTransform();
  EXPECT_EQ(LargestDifference(sharing, original), 0.0f);
  volume.InverseFourierTransform();
  EXPECT_EQ(strategy.GetPlanCount(), before + 2);
  XFourierVolume again(box, strategy);
  again.FillReal(0.0f);
  again.FourierTransform();
  again.InverseFourierTransform();
  EXPECT_EQ(strategy.GetPlanCount(), before + 2);
}

TEST_F(FourierVolumeTest, TransformsFromSeveralThreadsAtOnce) {
  const X3DRect box(16, 12, 6);
  auto work = [&](bool inMulti, unsigned inSeed, float* outError) {
    XFourierStrategy& strategy = inMulti ? XFourierStrategyManager::GetFFTStrategyMT(box)
                                         : XFourierStrategyManager::GetFFTStrategy(box);
    float worst = 0.0f;
    for (int round = 0; round < 20; ++round) {
      XFourierVolume volume(box, strategy);
      FillRandom(volume, inSeed + round);
      XFPVolume original(box);
      original.CopyIn(volume, box, box, nullptr);
      volume.FourierTransform();
      volume.InverseFourierTransform();
      worst = std::max(worst, LargestDifference(volume, original));
    }
    *outError = worst;
  };
  float errors[3] = {1, 1, 1};
  std::thread first(work, false, 100, &errors[0]), second(work, true, 200, &errors[1]), third(work, false, 300, &errors[2]);
  first.join();
  second.join();
  third.join();
  for (float e : errors) EXPECT_LT(e, 2e-6f);
}

TEST_F(FourierVolumeTest, BestSizesAreMeasuredOncePerSize) {
  XFourierStrategy& strategy = XFourierStrategyManager::GetFFTStrategy(X3DRect());
  // Axes of 16 or less, and any axis with a range of 0, keep their lengths.
  const X3DRect small(2, 3, 1, 18, 19, 5);
  EXPECT_EQ(strategy.CalculateBestSize(small, 4), small);
  const X3DRect wide(0, 0, 0, 31, 8, 2);
  EXPECT_EQ(strategy.CalculateBestSize(wide, 0), wide);
  // Remembered by size alone: the range of a later request does not matter.
  EXPECT_EQ(strategy.CalculateBestSize(wide, 5), wide);
  const X3DRect odd(10, 10, 0, 27, 18, 3);  // 17 x 8 x 3
  const X3DRect best = strategy.CalculateBestSize(odd, 3);
  EXPECT_GE(best.GetWidth(), 17u);
  EXPECT_LE(best.GetWidth(), 19u);
  EXPECT_EQ(best.GetHeight(), 8u);
  EXPECT_EQ(best.GetDepth(), 3u);
  EXPECT_NEAR(best.GetHCentre(), odd.GetHCentre(), 1);
  EXPECT_EQ(best.top, odd.top);
  EXPECT_EQ(best.front, odd.front);
  EXPECT_EQ(strategy.CalculateBestSize(odd, 0), best);
  // The base strategy keeps every rectangle.
  struct Plain : XFourierStrategy {
    void SetRealLayout(XVolumeLayout<float>&, UInt32, UInt32, UInt32) const override {}
    void SetComplexLayout(XVolumeLayout<std::complex<float>>&, UInt32, UInt32, UInt32) const override {}
    void FourierTransform(XFourierVolume&) override {}
    void InverseFourierTransform(XFourierVolume&) override {}
  } plain;
  EXPECT_EQ(plain.CalculateBestSize(odd, 3), odd);
}

// ---------------------------------------------------------------- wisdom

namespace {

// What FFTW knows now, as its wisdom string.
std::string CurrentWisdom() {
  char* text = fftwf_export_wisdom_to_string();
  std::string wisdom = text ? text : "";
  std::free(text);
  return wisdom;
}

void TransformOnce(const X3DRect& inBox) {
  XFourierVolume volume(inBox, XFourierStrategyManager::GetFFTStrategy(inBox));
  volume.FillReal(1.0f);
  volume.FourierTransform();
  volume.InverseFourierTransform();
}

}  // namespace

TEST(FourierWisdom, SurvivesARestartOfTheSameBuildOnly) {
  volumetest::RegisterVolumeClasses();
  {
    XUserPrefsSaver clear("FFTW31-x86");
    clear.RemoveAll();
    clear.Save();
  }
  const X3DRect box(30, 14, 5);
  std::string stored;
  {
    XFourierStrategyManager manager;
    TransformOnce(box);
    stored = CurrentWisdom();
  }
  // The single-threaded strategy wrote both keys; the other section stays empty.
  XUserPrefsSaver prefs("FFTW31-x86");
  EXPECT_EQ(prefs.GetString("BuildDate"), std::to_string(X3DFFTW3Strategy::GetBuildTime().GetMicroseconds()));
  EXPECT_EQ(prefs.GetString("Wisdom"), stored);
  EXPECT_FALSE(XUserPrefsSaver("FFTW31MT-x86").HasKey("Wisdom"));

  // A restart: FFTW forgets, the next manager reads the store back.
  fftwf_forget_wisdom();
  const std::string empty = CurrentWisdom();
  ASSERT_NE(empty, stored);
  {
    XFourierStrategyManager manager;
    EXPECT_NE(CurrentWisdom(), empty);
    // Planning this size needs no measuring now: wisdom alone can make the plan.
    std::vector<float> buffer(32 * 14 * 5 + 64);
    fftwf_plan plan = fftwf_plan_dft_r2c_3d(5, 14, 30, buffer.data(), reinterpret_cast<fftwf_complex*>(buffer.data()),
                                            FFTW_MEASURE | FFTW_WISDOM_ONLY);
    EXPECT_NE(plan, nullptr);
    if (plan) fftwf_destroy_plan(plan);
    fftwf_forget_wisdom();
  }
  // Wisdom of another build is ignored, and replaced at the end.
  {
    XUserPrefsSaver other("FFTW31-x86");
    other.SetString("BuildDate", "12345");
    other.Save();
  }
  fftwf_forget_wisdom();
  {
    XFourierStrategyManager manager;
    EXPECT_EQ(CurrentWisdom(), empty);
    std::vector<float> buffer(32 * 14 * 5 + 64);
    fftwf_plan plan = fftwf_plan_dft_r2c_3d(5, 14, 30, buffer.data(), reinterpret_cast<fftwf_complex*>(buffer.data()),
                                            FFTW_MEASURE | FFTW_WISDOM_ONLY);
    EXPECT_EQ(plan, nullptr);
  }
  prefs.Reload();
  EXPECT_EQ(prefs.GetString("BuildDate"), std::to_string(X3DFFTW3Strategy::GetBuildTime().GetMicroseconds()));
}
