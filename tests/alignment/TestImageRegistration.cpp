// Registration: shifts by phase correlation confirmed in real space,
// rotations from magnitude spectra, orientation, and applying results.
#include <cmath>
#include <limits>

#include "AlignmentTestSupport.h"
#include "alignment/XImageCrossCorrelationTool.h"
#include "alignment/XImageRegistrationTool.h"
#include "core/XException.h"
#include "core/XWorkerPool.h"
#include "numeric/XFourierVolume.h"
#include "volume/X3DRegion.h"

using namespace aligntest;

namespace {

// Opens the private steps to the tests.
class RegistrationSteps : public XImageRegistrationTool {
 public:
  using XImageRegistrationTool::CalculateCoarseRotationMin;
  using XImageRegistrationTool::CreateMirroredImage;
  using XImageRegistrationTool::ExponentialWindow;
  using XImageRegistrationTool::FindLocalMaxima;
  using XImageRegistrationTool::GenerateAltCorrection;
  using XImageRegistrationTool::GetTargetImage;
  using XImageRegistrationTool::OffsetTranslation;
  using XImageRegistrationTool::PrepareRotationVolume;
  using XImageRegistrationTool::PrepareShiftVolume;
  using XImageRegistrationTool::TryShiftCorrelation;
  using XImageRegistrationTool::XPeakMap;
};

const float kMinusInfinity = -std::numeric_limits<float>::infinity();

class ShiftTest : public FourierTest {
 protected:
  BlobField itsField{7};
};

TEST_F(ShiftTest, IdenticalImagesGiveZeroShiftAndFullCorrelation) {
  auto image = Crop16(itsField, 96, 80, 1, 30, 40);
  XImageRegistrationTool tool;
  const XShiftResult result = tool.CalculateShift(*image, *image, nullptr);
  EXPECT_EQ(result.third, X3DPoint(0, 0, 0));
  EXPECT_NEAR(result.first, 1.0f, 1e-5f);
  EXPECT_GT(result.second, kMinusInfinity);
}

TEST_F(ShiftTest, RecoversShiftsInPlanesAndStacks) {
  struct Case {
    UInt32 d;
    int dx, dy;
  } cases[] = {{1, 7, -5}, {1, -12, 9}, {3, 4, 6}};
  for (const Case& c : cases) {
    auto anchor = Crop16(itsField, 96, 80, c.d, 40, 40);
    auto moved = Crop16(itsField, 96, 80, c.d, 40 + c.dx, 40 + c.dy);
    XImageRegistrationTool tool;
    const XShiftResult result = tool.CalculateShift(*anchor, *moved, nullptr);
    EXPECT_EQ(result.third, X3DPoint(c.dx, c.dy, 0)) << c.d << " " << c.dx << " " << c.dy;
    EXPECT_GT(result.first, 0.95f);
    // Applying the result fits the moved image onto the anchor where both are defined.
    std::unique_ptr<XVolume> fitted(tool.GetTranslatedImageCopy(*moved, result.third));
    auto& typed = static_cast<XGrey16Volume&>(*fitted);
    EXPECT_EQ(volumetest::VoxelAt(typed, 50, 40, 0), volumetest::VoxelAt(*anchor, 50, 40, 0));
  }
}

TEST_F(ShiftTest, SameResultForEveryWorkerCount) {
  auto anchor = Crop16(itsField, 64, 48, 4, 40, 40);
  auto moved = Crop16(itsField, 64, 48, 4, 53, 31);
  XImageRegistrationTool tool;
  XWorkerPool::SetWorkerCount(1);
  const XShiftResult alone = tool.CalculateShift(*anchor, *moved, nullptr);
  XWorkerPool::SetWorkerCount(3);
  const XShiftResult shared = tool.CalculateShift(*anchor, *moved, nullptr);
  XWorkerPool::SetWorkerCount(0);
  EXPECT_EQ(alone.third, X3DPoint(13, -9, 0));
  EXPECT_EQ(alone, shared);
}

TEST_F(ShiftTest, LargeShiftIsDecidedByRealSpaceCorrelation) {
  // Shifts beyond a fifth of the mirrored width (120) have two readings of
  // the peak. At 35 the direct one is right; at 65 the peak lies past the
  // middle and reads as -55, and its other reading must win. The window
  // weighs the overlap towards small readings, so a peak can land a voxel or two
  // short of the truth: real space picks among peaks, it does not refine.
  XImageRegistrationTool tool;
  for (int sx : {35, 65}) {
    auto anchor = Crop16(itsField, 100, 90, 1, 60, 60);
    auto moved = Crop16(itsField, 100, 90, 1, 60 + sx, 60);
    const XShiftResult result = tool.CalculateShift(*anchor, *moved, nullptr);
    EXPECT_NEAR(result.third.x, sx, 2) << sx;  // never the other reading, 120 away
    EXPECT_EQ(result.third.y, 0) << sx;
    EXPECT_GT(result.first, 0.9f) << sx;
  }
}

TEST_F(ShiftTest, RegionCutsBothImagesAlike) {
  auto anchor = Crop16(itsField, 120, 100, 1, 20, 20);
  auto moved = Crop16(itsField, 120, 100, 1, 26, 17);
  X3DRegion region(X3DRect(20, 10, 0, 100, 90, 1));
  XImageRegistrationTool tool;
  EXPECT_EQ(tool.CalculateShift(*anchor, *moved, &region).third, X3DPoint(6, -3, 0));
}

TEST_F(ShiftTest, FailuresAreResults) {
  // No overlap: nothing is tried.
  auto image = Crop16(itsField, 40, 30, 1, 0, 0);
  XShiftResult result(kMinusInfinity, kMinusInfinity, X3DPoint(0, 0, 0));
  RegistrationSteps::TryShiftCorrelation(*image, *image, 5.0f, X3DPoint(40, 0, 0), result);
  RegistrationSteps::TryShiftCorrelation(*image, *image, 5.0f, X3DPoint(0, -30, 0), result);
  RegistrationSteps::TryShiftCorrelation(*image, *image, 5.0f, X3DPoint(0, 0, 1), result);
  EXPECT_EQ(result.first, kMinusInfinity);
  EXPECT_EQ(result.third, X3DPoint(0, 0, 0));
  // A single overlapping column is enough.
  RegistrationSteps::TryShiftCorrelation(*image, *image, 5.0f, X3DPoint(39, 0, 0), result);
  EXPECT_GT(result.first, kMinusInfinity);
  EXPECT_EQ(result.second, 5.0f);

  // Constant images: the correlation is not a number and is never accepted.
  XGrey8Volume flat(64, 48, 1);
  flat.Fill(77);
  XImageRegistrationTool tool;
  const XShiftResult constant = tool.CalculateShift(flat, flat, nullptr);
  EXPECT_EQ(constant.first, kMinusInfinity);
  EXPECT_EQ(constant.second, kMinusInfinity);
  EXPECT_EQ(constant.third, X3DPoint(0, 0, 0));
}

TEST_F(ShiftTest, DriftingTimeLapseMatchesIndependentPhaseCorrelation) {
  const auto frames =
      ReadImageJStack16(std::string(MIRELAN_SHARED_DATA) + "/pystackreg_pc12_timelapse_unregistered_t5_u16.tif");
  if (frames.size() != 5) GTEST_SKIP() << "the PC12 time-lapse is not in the shared data";
  // Shifts of frames 1 to 4 against frame 0 by scikit-image 0.19.3's
  // phase_cross_correlation without upsampling, converted from its (dy, dx);
  // made by tests/alignment/pc12_reference_shifts.py.
  const X3DPoint expected[4] = {X3DPoint(0, 8, 0), X3DPoint(0, 14, 0), X3DPoint(1, 15, 0), X3DPoint(0, 12, 0)};
  XImageRegistrationTool tool;
  for (int t = 1; t < 5; ++t) {
    const XShiftResult result = tool.CalculateShift(*frames[0], *frames[t], nullptr);
    EXPECT_LE(std::abs(result.third.x - expected[t - 1].x), 1) << "frame " << t;
    EXPECT_LE(std::abs(result.third.y - expected[t - 1].y), 1) << "frame " << t;
    EXPECT_EQ(result.third.z, 0);
    EXPECT_GT(result.first, 0.5f) << "frame " << t;
  }
}

// ---- the steps

TEST(ShiftSteps, WrappedReadingsOfAPeak) {
  EXPECT_EQ(RegistrationSteps::OffsetTranslation(5, 10), 5);
  EXPECT_EQ(RegistrationSteps::OffsetTranslation(6, 10), -4);
  EXPECT_EQ(RegistrationSteps::OffsetTranslation(5, 11), 5);
  EXPECT_EQ(RegistrationSteps::OffsetTranslation(6, 11), -5);
  const X3DRect bounds(100, 50, 1);
  // 0.2 and 0.8 of the size are excluded; inside, the other reading.
  EXPECT_EQ(RegistrationSteps::GenerateAltCorrection(bounds, X3DPoint(20, 10, 0)), X3DPoint(20, 10, 0));
  EXPECT_EQ(RegistrationSteps::GenerateAltCorrection(bounds, X3DPoint(21, 11, 0)), X3DPoint(-79, -39, 0));
  EXPECT_EQ(RegistrationSteps::GenerateAltCorrection(bounds, X3DPoint(-30, -11, 0)), X3DPoint(70, 39, 0));
  EXPECT_EQ(RegistrationSteps::GenerateAltCorrection(bounds, X3DPoint(-3, 0, 0)), X3DPoint(-3, 0, 0));
}

TEST_F(ShiftTest, LocalMaximaStrongestFirstAtMostSix) {
  XFourierVolume surface(X3DRect(16, 12, 1));
  surface.Clear();
  {
    XLock lock(surface, kLockReadWrite);
    // Eight isolated peaks, one on the wrapping edge, and two of equal value.
    const int xs[] = {1, 5, 9, 13, 2, 6, 10, 15};
    const int ys[] = {1, 1, 1, 1, 6, 6, 6, 11};
    const float vs[] = {3, 8, 5, 7, 8, 1, 2, 9};
    for (int i = 0; i < 8; ++i) surface.SetVoxel(xs[i], ys[i], 0, vs[i]);
    // A plateau: equal neighbours do not disqualify each other.
    surface.SetVoxel(9, 9, 0, 4);
    surface.SetVoxel(10, 9, 0, 4);
  }
  const RegistrationSteps::XPeakMap peaks = RegistrationSteps::FindLocalMaxima(surface);
  ASSERT_EQ(peaks.size(), 6u);
  std::vector<float> values;
  for (const auto& p : peaks) values.push_back(p.first);
  EXPECT_EQ(values, (std::vector<float>{9, 8, 7, 5, 4, 3}));
  EXPECT_EQ(peaks.at(9.0f), X3DPoint(-1, -1, 0));  // depth 1: z stays 0
  EXPECT_EQ(peaks.at(8.0f), X3DPoint(5, 1, 0));     // the first of two equal values stays
  EXPECT_EQ(peaks.at(4.0f), X3DPoint(-7, -3, 0));
}

TEST_F(ShiftTest, MirroredMarginsAndWindow) {
  XGrey8Volume image(5, 3, 1);
  volumetest::FillWith(image, [](SInt32 x, SInt32 y, SInt32) { return UInt8(10 * y + x); });
  std::unique_ptr<XFPVolume> mirrored(RegistrationSteps::CreateMirroredImage(image, X3DPoint(2, 1, 0)));
  EXPECT_EQ(mirrored->GetBounds(), X3DRect(-2, -1, 0, 7, 4, 1));
  auto at = [&](SInt32 x, SInt32 y) { return volumetest::VoxelAt(*mirrored, x, y, 0); };
  EXPECT_EQ(at(-1, 0), 0.0f);
  EXPECT_EQ(at(-2, 0), 1.0f);
  EXPECT_EQ(at(5, 2), 24.0f);
  EXPECT_EQ(at(6, 2), 23.0f);
  EXPECT_EQ(at(-2, -1), 1.0f);
  EXPECT_EQ(at(6, 3), 23.0f);

  // Shift volumes grow by a tenth in X and Y only, in the stack's Z never.
  std::unique_ptr<XFourierVolume> spectrum(RegistrationSteps::PrepareShiftVolume(*Crop16(itsField, 50, 40, 3, 0, 0)));
  EXPECT_EQ(spectrum->GetBounds(), X3DRect(-5, -4, 0, 55, 44, 3));
  EXPECT_TRUE(spectrum->IsInFourierSpace());

  XFPVolume flat(9, 7, 1);
  flat.Fill(2.0f);
  RegistrationSteps::ExponentialWindow(flat);
  double sum = 0.0;
  XLock lock(flat, kLockRead);
  for (SInt32 y = 0; y < 7; ++y)
    for (SInt32 x = 0; x < 9; ++x) sum += flat.GetVoxel(x, y, 0);
  EXPECT_NEAR(sum, 1.0, 1e-5);
  EXPECT_EQ(flat.GetVoxel(0, 3, 0), 0.0f);
  EXPECT_EQ(flat.GetVoxel(4, 6, 0), 0.0f);
  EXPECT_NEAR(flat.GetVoxel(4, 3, 0) / flat.GetVoxel(2, 3, 0), 0.999 / (1.0 - std::pow(0.001, 0.5)), 1e-4);
}

TEST(CrossCorrelation, PearsonOverPixelTypes) {
  volumetest::RegisterVolumeClasses();
  XImageCrossCorrelationTool tool;
  XGrey8Volume a(8, 4, 2), b(8, 4, 2);
  volumetest::FillWith(a, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 7 + y * 3 + z); });
  volumetest::FillWith(b, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(200 - (x * 7 + y * 3 + z) * 2); });
  EXPECT_NEAR(tool.CalculateCrossCorrelation(a, a, nullptr), 1.0f, 1e-6f);
  EXPECT_NEAR(tool.CalculateCrossCorrelation(a, b, nullptr), -1.0f, 1e-6f);
  EXPECT_GT(tool.GetAnchorSigma(), 0.0f);

  XARGB32Volume ca(6, 5, 1), cb(6, 5, 1);
  volumetest::FillWith(ca, [](SInt32 x, SInt32 y, SInt32) { return XARGB32Colour(UInt8(x * 30), UInt8(y * 20), 9); });
  volumetest::FillWith(cb, [](SInt32 x, SInt32 y, SInt32) { return XARGB32Colour(UInt8(x * 30), UInt8(y * 20), 9); });
  EXPECT_NEAR(tool.CalculateCrossCorrelation(ca, cb, nullptr), 1.0f, 1e-5f);

  // Only the region's voxels count: outside it the images disagree.
  XGrey16Volume p(10, 10, 1), q(10, 10, 1);
  volumetest::FillWith(p, [](SInt32 x, SInt32 y, SInt32) { return UInt16(x * 100 + y); });
  volumetest::FillWith(q, [](SInt32 x, SInt32 y, SInt32) { return UInt16(x < 5 ? x * 100 + y : 7 * y); });
  X3DRegion left(X3DRect(0, 0, 0, 5, 10, 1));
  EXPECT_NEAR(tool.CalculateCrossCorrelation(p, q, &left), 1.0f, 1e-5f);
  EXPECT_LT(tool.CalculateCrossCorrelation(p, q, nullptr), 0.9f);

  XGrey32Volume g(4, 4, 1);
  g.Clear();
  EXPECT_EQ(volumetest::ErrorOf([&] { tool.CalculateCrossCorrelation(g, g, nullptr); }), kErrNotForPixelType);
  EXPECT_THROW(tool.CalculateCrossCorrelation(a, p, nullptr), XInternalError);
}

// ---- rotation and orientation

class RotationTest : public FourierTest {
 protected:
  // A disc of blobs inside a dark rim, so that turning loses nothing.
  std::unique_ptr<XFPVolume> Scene() {
    BlobField field(11, 40, 64.0);
    auto volume = std::make_unique<XFPVolume>(64, 64, 1);
    volumetest::FillWith(*volume, [&](SInt32 x, SInt32 y, SInt32) {
      const double r = std::hypot(x - 31.5, y - 31.5);
      return float(r < 26.0 ? field(x, y) : 0.0);
    });
    return volume;
  }
};

TEST_F(RotationTest, RecoversAnAngleWithinTheLimit) {
  auto anchor = Scene();
  RegistrationSteps tool;
  std::unique_ptr<XVolume> moved(tool.GetRotatedImageCopy(*anchor, -9.0f));
  const float angle = tool.CalculateRotation(*anchor, *moved, nullptr);
  EXPECT_NEAR(angle, 9.0f, 0.5f);
  EXPECT_NEAR(tool.CalculateRotation(*anchor, *anchor, nullptr), 0.0f, 0.1f);
}

TEST_F(RotationTest, SearchLimits) {
  auto anchor = Scene();
  RegistrationSteps tool;
  std::unique_ptr<XVolume> moved(tool.GetRotatedImageCopy(*anchor, 20.0f));
  std::unique_ptr<XFourierVolume> a(RegistrationSteps::PrepareRotationVolume(*anchor, anchor->GetBounds(), nullptr));
  std::unique_ptr<XFourierVolume> b(RegistrationSteps::PrepareRotationVolume(*moved, anchor->GetBounds(), nullptr));
  a->FourierTransform();
  // Limit 0: only angle 0 is tried.
  tool.SetSearchLimitInDegrees(0);
  EXPECT_EQ(tool.CalculateCoarseRotationMin(*a, *b, nullptr), 0.0f);
  // A negative limit admits nothing: infinity, passed on as it is.
  tool.SetSearchLimitInDegrees(-1);
  EXPECT_TRUE(std::isinf(tool.CalculateCoarseRotationMin(*a, *b, nullptr)));
  EXPECT_TRUE(std::isinf(tool.CalculateRotation(*anchor, *moved, nullptr)));
  // 180: every angle; the answer is -20 (340) or, since magnitude spectra do
  // not tell half turns apart, 160; never above 180.
  tool.SetSearchLimitInDegrees(180);
  const float coarse = tool.CalculateCoarseRotationMin(*a, *b, nullptr);
  EXPECT_TRUE(coarse == -20.0f || coarse == 160.0f) << coarse;
}

TEST(ContainingRect, TurnedRectangles) {
  const X3DRect rect(0, 0, 2, 100, 50, 5);
  EXPECT_EQ(XImageRegistrationTool::CalculateContainingRect(rect, X3DPoint(50, 25, 0), 0.0f), rect);
  EXPECT_EQ(XImageRegistrationTool::CalculateContainingRect(rect, X3DPoint(50, 25, 0), 90.0f),
            X3DRect(25, -25, 2, 75, 75, 5));
  const X3DRect turned = XImageRegistrationTool::CalculateContainingRect(rect, X3DPoint(50, 25, 0), 45.0f);
  EXPECT_EQ(turned.GetWidth(), 108u);  // (100 + 50) / sqrt(2) = 106.07, rounded out on both sides
  EXPECT_EQ(turned.GetDepth(), 3u);
}

TEST_F(RotationTest, OrientationOfStripes) {
  XImageRegistrationTool tool;
  for (double degrees : {0.0, 30.0, -60.0}) {
    const double c = std::cos(degrees * M_PI / 180.0), s = std::sin(degrees * M_PI / 180.0);
    XGrey8Volume stripes(64, 48, 1);
    volumetest::FillWith(stripes, [&](SInt32 x, SInt32 y, SInt32) { return UInt8(128 + 100 * std::sin((x * c + y * s) / 3.0)); });
    EXPECT_NEAR(tool.CalculateOrientation(stripes), degrees, 2.0);
    EXPECT_GT(tool.GetOrientationScore(), 1.0f) << degrees;
  }
  // Gradients exactly along Y have a zero divisor and do not vote: an empty
  // histogram gives the first bin and no score.
  XGrey8Volume rows(32, 32, 1);
  volumetest::FillWith(rows, [](SInt32, SInt32 y, SInt32) { return UInt8(y * 8); });
  EXPECT_EQ(tool.CalculateOrientation(rows), -90.0f);
}

TEST_F(ShiftTest, TranslatedCopyKeepsBoundsAndClearsUncovered) {
  XGrey8Volume image(6, 4, 1);
  volumetest::FillWith(image, [](SInt32 x, SInt32 y, SInt32) { return UInt8(1 + 10 * y + x); });
  XImageRegistrationTool tool;
  std::unique_ptr<XVolume> moved(tool.GetTranslatedImageCopy(image, X3DPoint(2, -1, 0)));
  auto& typed = static_cast<XGrey8Volume&>(*moved);
  EXPECT_EQ(typed.GetBounds(), image.GetBounds());
  EXPECT_EQ(volumetest::VoxelAt(typed, 2, 0, 0), volumetest::VoxelAt(image, 0, 1, 0));
  EXPECT_EQ(volumetest::VoxelAt(typed, 1, 0, 0), 0);
  EXPECT_EQ(volumetest::VoxelAt(typed, 4, 3, 0), 0);
}

}  // namespace
