// The volume abstraction: addressing, planes, clones, resizing, fills,
// comparison, checksums, locking and renderers.
#include <zlib.h>

#include "core/XResourceTracker.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XMaskImageRenderer.h"
#include "volume/X3DRegion.h"
#include "VolumeTestSupport.h"

using namespace mirelan;

using namespace volumetest;

using VolumeModel = VolumeTest;

namespace {

// A distinct value for every voxel of a small volume.
UInt8 Code(SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 1 + y * 16 + z * 64 + 7); }

std::unique_ptr<XGrey8Volume> CodedVolume(const X3DRect& inBounds) {
  auto volume = std::make_unique<XGrey8Volume>(inBounds);
  FillWith(*volume, Code);
  return volume;
}

XGrey8Volume& Grey8(const std::unique_ptr<XVolume>& inVolume) { return dynamic_cast<XGrey8Volume&>(*inVolume); }

std::vector<Float64> Calibration(const XVolume& inVolume) {
  return {inVolume.GetXCalibration(), inVolume.GetYCalibration(), inVolume.GetZCalibration()};
}

}  // namespace

// ---------------------------------------------------------------- addressing

TEST_F(VolumeModel, VoxelAddressingSubtractsTheFreeOrigin) {
  XGrey16Volume volume(X3DRect(-10, 5, 2, -6, 8, 4));  // 4 x 3 x 2
  XLock lock(volume, kLockReadWrite);
  EXPECT_EQ(reinterpret_cast<const UInt8*>(volume.GetVoxelPtr(-10, 5, 2)), volume.GetBasePtr());
  EXPECT_EQ(volume.GetVoxelPtr(-9, 5, 2) - volume.GetBaseVoxelPtr(), 1);
  EXPECT_EQ(volume.GetVoxelPtr(-10, 6, 2) - volume.GetBaseVoxelPtr(), 4);
  EXPECT_EQ(volume.GetVoxelPtr(-10, 5, 3) - volume.GetBaseVoxelPtr(), 12);
  EXPECT_EQ(volume.GetPlanePtr(3), volume.GetLayerPtr(1));
  EXPECT_EQ(volume.GetPlanePtr(3) - volume.GetBasePtr(), 24);
}

TEST_F(VolumeModel, StorageSizesFollowRowsPlanesAndSpareBytes) {
  XRGB48Volume volume(5, 3, 2);
  EXPECT_EQ(volume.GetVolumeSize(), 30u);  // voxels, not bytes
  EXPECT_EQ(volume.GetDataSize(), 180u + 16u);
  EXPECT_EQ(volume.GetMemoryUsage(), volume.GetDataSize());
  EXPECT_EQ(volume.GetStorageByteSwapMode(), kByteSwap16);
  EXPECT_EQ(XFPVolume(1, 1, 1).GetStorageByteSwapMode(), kByteSwap32);
  EXPECT_EQ(XGrey32Volume(1, 1, 1).GetStorageByteSwapMode(), kByteSwap32);
  EXPECT_EQ(XARGB32Volume(1, 1, 1).GetStorageByteSwapMode(), kNoByteSwap);
  // The empty shape is legal; its CRC is that of nothing.
  XGrey8Volume empty;
  EXPECT_TRUE(empty.GetBounds().IsEmpty());
  EXPECT_EQ(empty.GetVolumeBytes(), 0u);
  EXPECT_EQ(empty.CalculateCRC(), 0u);
}

TEST_F(VolumeModel, CalibrationScalesAndDiagonal) {
  XFPVolume volume(3, 4, 12);
  volume.SetXCalibration(0.5);
  volume.SetYCalibration(1.0);
  volume.SetZCalibration(2.0);
  EXPECT_EQ(std::vector<Float64>({volume.GetXScale(kXYPlane), volume.GetYScale(kXZPlane), volume.GetZScale(kXYPlane),
                                  volume.GetXScale(kYZPlane), volume.GetYScale(kYZPlane), volume.GetZScale(kYZPlane),
                                  volume.GetXScale(XPlaneMode(7))}),
            (std::vector<Float64>{1.0, 2.0, 4.0, 0.25, 0.5, 1.0, 0.0}));
  EXPECT_DOUBLE_EQ(volume.GetBoundsDiagonal(), std::sqrt(1.5 * 1.5 + 16.0 + 576.0));
}

// ---------------------------------------------------------------- planes

TEST_F(VolumeModel, XYPlaneOfADepthOneVolumeIsAFullClone) {
  auto volume = CodedVolume(X3DRect(3, -2, 7, 8, 2, 8));
  std::unique_ptr<XVolume> plane(volume->XYPlaneToVolume(0, false));
  EXPECT_EQ(plane->GetBounds(), volume->GetBounds());
  EXPECT_TRUE(*plane == *volume);
}

TEST_F(VolumeModel, PlaneExtractionCopiesTheRightVoxelsAndCrossesCalibrations) {
  auto volume = CodedVolume(X3DRect(1, 2, 3, 5, 5, 7));  // 4 x 3 x 4
  volume->SetYCalibration(2.0);
  volume->SetZCalibration(3.0);
  std::unique_ptr<XVolume> xy(volume->XYPlaneToVolume(2, false));
  std::unique_ptr<XVolume> xz(volume->XZPlaneToVolume(1, false));
  std::unique_ptr<XVolume> yz(volume->YZPlaneToVolume(3, false));
  EXPECT_EQ(xy->GetBounds(), X3DRect(1, 2, 5, 5, 5, 6));
  EXPECT_EQ(xz->GetBounds(), X3DRect(1, 3, 3, 5, 7, 4));  // y runs along the old z
  EXPECT_EQ(yz->GetBounds(), X3DRect(3, 2, 4, 7, 5, 5));  // x runs along the old z
  for (SInt32 a = 1; a < 5; ++a)
    for (SInt32 y = 2; y < 5; ++y) EXPECT_EQ(VoxelAt(Grey8(xy), a, y, 5), Code(a, y, 5)) << a << "," << y;
  for (SInt32 z = 3; z < 7; ++z)
    for (SInt32 a = 1; a < 5; ++a) EXPECT_EQ(VoxelAt(Grey8(xz), a, z, 3), Code(a, 3, z)) << a << "," << z;
  for (SInt32 z = 3; z < 7; ++z)
    for (SInt32 y = 2; y < 5; ++y) EXPECT_EQ(VoxelAt(Grey8(yz), z, y, 4), Code(4, y, z)) << y << "," << z;
  EXPECT_EQ(Calibration(*xy), (std::vector<Float64>{1.0, 2.0, 3.0}));
  EXPECT_EQ(Calibration(*xz), (std::vector<Float64>{1.0, 3.0, 2.0}));
  EXPECT_EQ(Calibration(*yz), (std::vector<Float64>{3.0, 2.0, 1.0}));

  // Lists hold one volume per plane.
  XPtrVector<XVolume> xyList = volume->XYPlanesToVolumeList(false);
  XPtrVector<XVolume> xzList = volume->XZPlanesToVolumeList(false);
  XPtrVector<XVolume> yzList = volume->YZPlanesToVolumeList(false);
  EXPECT_EQ(std::vector<size_t>({xyList.size(), xzList.size(), yzList.size()}), (std::vector<size_t>{4, 3, 4}));
  EXPECT_EQ(VoxelAt(dynamic_cast<XGrey8Volume&>(*yzList[3]), 5, 4, 4), Code(4, 4, 5));
}

TEST_F(VolumeModel, SquarePixelStepResamplesThePlanes) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 3, 2));
  volume->SetYCalibration(2.0);  // y twice as long as x
  volume->SetZCalibration(3.0);
  std::unique_ptr<XVolume> xy(volume->XYPlaneToVolume(1, true));
  EXPECT_EQ(xy->GetBounds(), X3DRect(4u, 6u, 1u));
  // Nearest choice: destination row j takes source row j * 3 / 6.
  EXPECT_EQ(VoxelAt(Grey8(xy), 2, 3, 0), Code(2, 1, 1));
  EXPECT_EQ(VoxelAt(Grey8(xy), 2, 5, 0), Code(2, 2, 1));
  std::unique_ptr<XVolume> xz(volume->XZPlaneToVolume(0, true));
  EXPECT_EQ(xz->GetBounds(), X3DRect(4u, 6u, 1u));  // depth 2 * z/x 3
  std::unique_ptr<XVolume> yz(volume->YZPlaneToVolume(0, true));
  EXPECT_EQ(yz->GetBounds(), X3DRect(6u, 6u, 1u));  // depth 2 * 3, height 3 * 2
  // Isotropic XY: the square-pixel step leaves the plane alone.
  std::unique_ptr<XVolume> plain(XGrey8Volume(4, 3, 2).XYPlaneToVolume(0, true));
  EXPECT_EQ(plain->GetBounds(), X3DRect(0, 0, 0, 4, 3, 1));
}

TEST_F(VolumeModel, PlaneInsertionConvertsAndPlacesEachOrientation) {
  XGrey16Volume volume(X3DRect(10, 20, 30, 13, 22, 34));  // 3 x 2 x 4
  volume.Fill(0);
  XGrey8Volume xy(X3DRect(-5, -5, 0, -2, -3, 2));  // 3 x 2, two planes
  FillWith(xy, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(100 + x + 5 + 10 * (y + 5) + 50 * z); });
  volume.VolumeToXYPlane(xy, 1, 2);
  EXPECT_EQ(VoxelAt(volume, 11, 21, 32), UInt16((100 + 1 + 10 + 50) * 257));
  EXPECT_EQ(VoxelAt(volume, 11, 21, 31), 0);

  XGrey8Volume xz(3, 4, 1);  // width x depth
  FillWith(xz, [](SInt32 x, SInt32 y, SInt32) { return UInt8(1 + x + 3 * y); });
  volume.VolumeToXZPlane(xz, 0, 1);
  for (SInt32 k = 0; k < 4; ++k)
    for (SInt32 i = 0; i < 3; ++i) EXPECT_EQ(VoxelAt(volume, 10 + i, 21, 30 + k), UInt16((1 + i + 3 * k) * 257));

  XGrey8Volume yz(4, 2, 1);  // depth x height
  FillWith(yz, [](SInt32 x, SInt32 y, SInt32) { return UInt8(200 + x + 4 * y); });
  volume.VolumeToYZPlane(yz, 0, 2);
  for (SInt32 j = 0; j < 2; ++j)
    for (SInt32 k = 0; k < 4; ++k) EXPECT_EQ(VoxelAt(volume, 12, 20 + j, 30 + k), UInt16((200 + k + 4 * j) * 257));
}

TEST_F(VolumeModel, PlanePreconditions) {
  XGrey8Volume volume(4, 3, 2);
  EXPECT_THROW(volume.XYPlaneToVolume(2, false), XInternalError);
  EXPECT_THROW(volume.XZPlaneToVolume(3, false), XInternalError);
  EXPECT_THROW(volume.YZPlaneToVolume(4, false), XInternalError);
  EXPECT_THROW(volume.XYPlaneToVolume(-1, false), XInternalError);
  EXPECT_THROW(volume.VolumeToXYPlane(XGrey8Volume(4, 4, 1), 0, 0), XInternalError);
  EXPECT_THROW(volume.VolumeToXZPlane(XGrey8Volume(4, 3, 1), 0, 0), XInternalError);  // height must be depth
  EXPECT_THROW(volume.VolumeToYZPlane(XGrey8Volume(2, 3, 1), 0, 4), XInternalError);
  EXPECT_THROW(volume.VolumeToXYPlane(XGrey8Volume(4, 3, 1), 1, 0), XInternalError);  // no plane 1 in the source
}

// ---------------------------------------------------------------- clones, copies, resizing

TEST_F(VolumeModel, CloneReachingOutsideClearsTheOuterPart) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 4, 2));
  std::unique_ptr<XVolume> clone(volume->Clone(X3DRect(2, -1, 0, 6, 3, 2)));
  EXPECT_EQ(clone->GetBounds(), X3DRect(2, -1, 0, 6, 3, 2));
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = -1; y < 3; ++y)
      for (SInt32 x = 2; x < 6; ++x)
        EXPECT_EQ(VoxelAt(Grey8(clone), x, y, z), x < 4 && y >= 0 ? Code(x, y, z) : 0) << x << "," << y << "," << z;
}

TEST_F(VolumeModel, ClonesKeepClassRendererAndScaling) {
  XFPVolume volume(2, 2, 2);
  volume.SetZCalibration(4.5);
  dynamic_cast<XFPImageRenderer&>(volume.GetPlaneRenderer()).SetWhite(9.0);
  std::unique_ptr<XFPVolume> empty(volume.CloneWithoutCopy(X3DRect(1, 1, 1, 3, 5, 2)));
  EXPECT_EQ(empty->GetBounds(), X3DRect(1, 1, 1, 3, 5, 2));
  EXPECT_EQ(empty->GetZCalibration(), 4.5);
  EXPECT_NE(&empty->GetPlaneRenderer(), &volume.GetPlaneRenderer());
  EXPECT_EQ(empty->GetPlaneRenderer().GetWhite(), 9.0);
  EXPECT_EQ(std::unique_ptr<XVolume>(volume.Clone())->GetPlaneRenderer().GetWhite(), 9.0);
}

TEST_F(VolumeModel, CopyFromSharesTheBlockAndKeepsOwnBoundsAndRenderer) {
  auto source = CodedVolume(X3DRect(0, 0, 0, 3, 3, 1));
  XGrey8Volume dest(X3DRect(10, 10, 10, 13, 13, 11));
  dest.SetXCalibration(7.0);
  dest.CopyFrom(*source);
  EXPECT_TRUE(dest.GetStorage().IsShared());  // no voxel loop: one block for both
  EXPECT_EQ(dest.GetBounds(), X3DRect(10, 10, 10, 13, 13, 11));
  EXPECT_EQ(dest.GetXCalibration(), 7.0);
  EXPECT_EQ(VoxelAt(dest, 12, 11, 10), Code(2, 1, 0));
  dest.Fill(0);  // writing one leaves the other alone
  EXPECT_EQ(VoxelAt(*source, 2, 1, 0), Code(2, 1, 0));
  // A mask is a Grey8 volume, not the other way round.
  XMaskVolume mask(3, 3, 1);
  dest.CopyFrom(mask);
  EXPECT_THROW(mask.CopyFrom(*source), XInternalError);
  EXPECT_THROW(dest.CopyFrom(XGrey8Volume(3, 3, 2)), XInternalError);
  EXPECT_THROW(dest.CopyFrom(XGrey16Volume(3, 3, 1)), XInternalError);
}

TEST_F(VolumeModel, ResizeStretchCentreAndCrop) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 4, 1));
  // Same size, not crop: a clone moved to the new place.
  std::unique_ptr<XVolume> moved(volume->Resize(X3DRect(5, 6, 7, 9, 10, 8), kScaleStretch));
  EXPECT_EQ(VoxelAt(Grey8(moved), 5, 6, 7), Code(0, 0, 0));
  std::unique_ptr<XVolume> stretched(volume->Resize(X3DRect(0, 0, 0, 8, 2, 1), kScaleStretch));
  EXPECT_EQ(VoxelAt(Grey8(stretched), 7, 1, 0), Code(3, 2, 0));  // x 7 * 4 / 8 = 3, y 1 * 4 / 2 = 2
  // Centred: destination part x 2..6, y 0..2 takes source part x 0..4, y 1..3.
  std::unique_ptr<XVolume> centred(volume->Resize(X3DRect(0, 0, 0, 8, 2, 1), kScaleCentre));
  EXPECT_EQ(VoxelAt(Grey8(centred), 1, 0, 0), 0);
  EXPECT_EQ(VoxelAt(Grey8(centred), 2, 0, 0), Code(0, 1, 0));
  EXPECT_EQ(VoxelAt(Grey8(centred), 5, 1, 0), Code(3, 2, 0));
  EXPECT_EQ(VoxelAt(Grey8(centred), 6, 1, 0), 0);
  std::unique_ptr<XVolume> cropped(volume->Resize(X3DRect(2, 2, 0, 6, 6, 1), kScaleCrop));
  EXPECT_EQ(VoxelAt(Grey8(cropped), 3, 3, 0), Code(3, 3, 0));
  EXPECT_EQ(VoxelAt(Grey8(cropped), 4, 3, 0), 0);
  EXPECT_THROW(volume->Resize(X3DRect(0, 0, 0, 2, 2, 1), XScaleType(3)), XInternalError);
  // The same-size step comes first, so an unknown type of the same size still clones.
  std::unique_ptr<XVolume> odd(volume->Resize(volume->GetBounds(), XScaleType(3)));
  EXPECT_TRUE(*odd == *volume);
}

// ---------------------------------------------------------------- fills and search

TEST_F(VolumeModel, FillWritesThePaddingOnlyWithoutARegion) {
  // A stream may give rows longer than the width: here 3 for a width of 2, the padding holding 9.
  auto volume = ReadFromBytes<XGrey8Volume>(Grey8Stream(2, 2, 1, 3, {1, 2, 9, 3, 4, 9, 0, 0}).Get());
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->GetPadVoxels(), 1u);
  EXPECT_EQ(VoxelAt(*volume, 1, 1, 0), 4);
  auto block = [&] {
    XLock lock(*volume, kLockRead);
    return std::vector<UInt8>(volume->GetBasePtr(), volume->GetBasePtr() + 6);
  };
  const X3DRegion all(volume->GetBounds()), first(X3DRect(0, 0, 0, 1, 2, 1));
  const UInt8 outside = 7;
  volume->Fill(6, &all);
  EXPECT_EQ(block(), (std::vector<UInt8>{6, 6, 9, 6, 6, 9}));
  volume->Fill(5, &first, &outside);
  EXPECT_EQ(block(), (std::vector<UInt8>{5, 7, 9, 5, 7, 9}));
  volume->Fill(5);
  EXPECT_EQ(block(), std::vector<UInt8>(6, 5));
}

TEST_F(VolumeModel, FillWithARegionTouchesItsVoxelsOrEveryVoxel) {
  XMaskVolume mask(X3DRect(1, 1, 0, 5, 5, 1));  // a diagonal of a box at (1, 1)
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == y ? 200 : 100); });
  const X3DRegion diagonal(mask);
  auto onDiagonal = [](SInt32 x, SInt32 y) { return x == y && x >= 1 && x < 5; };
  XGrey8Volume volume(6, 6, 1);
  volume.Fill(9);
  volume.Fill(1, &diagonal);
  for (SInt32 i = 0; i < 36; ++i) EXPECT_EQ(VoxelAt(volume, i % 6, i / 6, 0), onDiagonal(i % 6, i / 6) ? 1 : 9) << i;
  const UInt8 outside = 0;
  volume.Fill(7, &diagonal, &outside);
  for (SInt32 i = 0; i < 36; ++i) EXPECT_EQ(VoxelAt(volume, i % 6, i / 6, 0), onDiagonal(i % 6, i / 6) ? 7 : 0) << i;
  // A simple region is its box; one beside the volume touches nothing but the outside.
  const X3DRegion box(X3DRect(4, 0, 0, 10, 2, 1)), away(X3DRect(20, 20, 0, 30, 30, 1));
  volume.Fill(3, &box);
  EXPECT_EQ(VoxelAt(volume, 5, 1, 0), 3);
  EXPECT_EQ(VoxelAt(volume, 3, 1, 0), 0);
  volume.Fill(5, &away, &outside);
  EXPECT_EQ(VoxelAt(volume, 5, 1, 0), 0);
}

TEST_F(VolumeModel, ColourKeyFillReplacesTheKeyAndOptionallyTheRest) {
  using C = XARGB32Colour;
  const C key(255, 1, 2, 3), other(255, 9, 9, 9), fill(255, 100, 0, 0), out(0, 0, 0, 0);
  const X3DRegion firstTwo(X3DRect(0, 0, 0, 2, 1, 1));
  const struct { const X3DRegion* region; const C* outside; std::vector<C> expected; } cases[] = {
      {nullptr, nullptr, {fill, other, fill}},
      {nullptr, &out, {fill, out, fill}},
      {&firstTwo, nullptr, {fill, other, key}},  // only keyed voxels inside take the fill
      {&firstTwo, &out, {fill, out, out}},       // everything else takes the outside value
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(testing::Message() << (t.region ? "region" : "none") << (t.outside ? ", outside" : ""));
    auto volume = Row<XARGB32Volume>({key, other, key});
    volume->ColourKeyFill(fill, key, t.region, t.outside);
    EXPECT_EQ(Values(*volume), t.expected);
  }
}

TEST_F(VolumeModel, BrightestZPointKeepsTheFirstStrictMaximum) {
  XGrey16Volume volume(X3DRect(0, 0, 5, 2, 1, 10));
  // Column 0 is all zero: the front; column 1 ties at 7 and 9: the front one.
  FillWith(volume, [](SInt32 x, SInt32, SInt32 z) { return UInt16(x == 0 ? 0 : z == 7 || z == 9 ? 300 : z == 8 ? 20 : 0); });
  EXPECT_EQ(volume.GetBrightestZPoint(0, 0), 5);
  EXPECT_EQ(volume.GetBrightestZPoint(1, 0), 7);
  EXPECT_EQ(XGrey8Volume(X3DRect(0, 0, 3, 2, 2, 3)).GetBrightestZPoint(0, 0), 3);  // empty depth: front
  XRGB48Volume colour(1, 1, 3);
  FillWith(colour, [](SInt32, SInt32, SInt32 z) {
    return z == 1 ? XRGB48Colour(10, 500, 10) : XRGB48Colour(400, 400, 400);
  });
  EXPECT_EQ(colour.GetBrightestZPoint(0, 0), 1);  // by intensity, the largest channel
}

// ---------------------------------------------------------------- comparison and checksums

TEST_F(VolumeModel, EqualityComparesBoundsThenVoxelsAcrossTypes) {
  auto a = CodedVolume(X3DRect(0, 0, 0, 3, 2, 2));
  std::unique_ptr<XGrey8Volume> b(a->Clone());
  EXPECT_TRUE(*a == *b);
  b->OffsetBounds(1, 0, 0);
  EXPECT_FALSE(*a == *b);
  b->OffsetBounds(-1, 0, 0);
  FillWith(*b, [](SInt32 x, SInt32 y, SInt32 z) { return x == 2 && y == 1 && z == 1 ? UInt8(0) : Code(x, y, z); });
  EXPECT_TRUE(*a != *b);  // the last voxel differs

  XGrey16Volume wide(3, 2, 2);
  a->CopyOut(wide, a->GetBounds(), wide.GetBounds(), nullptr);
  EXPECT_TRUE(*a == wide);  // converted back: 257 * v >> 8 == v
  EXPECT_TRUE(wide == *a);
  FillWith(wide, [](SInt32 x, SInt32 y, SInt32 z) { return UInt16(Code(x, y, z) * 257 + (x + y + z == 0)); });
  EXPECT_TRUE(*a == wide);   // Grey8 sees the high byte only
  EXPECT_FALSE(wide == *a);  // Grey16 sees the low byte too
}

TEST_F(VolumeModel, CRCCoversVoxelCountBytesOnly) {
  XGrey16Volume volume(4, 2, 1);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32) { return UInt16(0x1234 + x * 0x0101 + y * 0x1000); });
  XLock lock(volume, kLockRead);
  const UInt8* data = volume.GetBasePtr();
  // Eight voxels: the first eight bytes of sixteen.
  EXPECT_EQ(volume.CalculateCRC(), UInt32(crc32(crc32(0L, Z_NULL, 0), data, 8)));
  EXPECT_NE(volume.CalculateCRC(), UInt32(crc32(crc32(0L, Z_NULL, 0), data, 16)));
  // The standard check value of CRC-32, and accumulation over two volumes.
  auto text = Row<XGrey8Volume>({'1', '2', '3', '4', '5', '6', '7', '8', '9'});
  EXPECT_EQ(text->CalculateCRC(), 0xCBF43926u);
  XVolumeCRC crc;
  text->AccumulateCRC(crc);
  text->AccumulateCRC(crc);
  const auto* digits = reinterpret_cast<const Bytef*>("123456789");
  EXPECT_EQ(crc.checksum(), UInt32(crc32(crc32(0L, digits, 9), digits, 9)));
}

// ---------------------------------------------------------------- locking, lifetime, renderers

TEST_F(VolumeModel, LocksReachTheBlockAndTheTrackerCountsLiveVolumes) {
  XGrey8Volume locked(2, 2, 1);
  {
    XLock lock(locked, kLockRead);
    EXPECT_EQ(locked.GetStorage().GetLockCount(), 1u);
  }
  EXPECT_EQ(locked.GetStorage().GetLockCount(), 0u);

  XResourceTracker& tracker = XResourceTracker::GetTracker();
  SInt64 before = tracker.GetCount("XVolume");
  {
    XMaskVolume mask(2, 2, 2);
    std::unique_ptr<XVolume> copy(mask.Clone());
    EXPECT_EQ(tracker.GetCount("XVolume"), before + 2);
  }
  EXPECT_EQ(tracker.GetCount("XVolume"), before);
  // A stream constructor that throws leaves no count behind.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(Bytes().U32(65641).U32(999).Get()); }), kErrWrongClass);
  EXPECT_EQ(tracker.GetCount("XVolume"), before);
}

TEST_F(VolumeModel, RenderersAreOwnedClonedAndCheckedByExactClass) {
  XGrey8Volume grey(1, 1, 1);
  XMaskVolume mask(1, 1, 1);
  EXPECT_TRUE(grey.IsPlaneRendererSupported(XGrey8ImageRenderer()));
  EXPECT_FALSE(grey.IsPlaneRendererSupported(XMaskImageRenderer()));  // a derived class does not count
  EXPECT_TRUE(mask.IsPlaneRendererSupported(XMaskImageRenderer()));
  EXPECT_FALSE(mask.IsPlaneRendererSupported(XGrey8ImageRenderer()));
  EXPECT_FALSE(XGrey32Volume(1, 1, 1).HasPlaneRenderer());
  EXPECT_THROW(XGrey32Volume(1, 1, 1).GetPlaneRenderer(), XInternalError);

  XGrey16ImageRenderer renderer;
  renderer.SetWhite(4095);
  XGrey16Volume volume(1, 1, 1);
  volume.SetPlaneRenderer(renderer);
  EXPECT_NE(&volume.GetPlaneRenderer(), &renderer);
  EXPECT_EQ(volume.GetPlaneRenderer().GetWhite(), 4095);
  XImageRenderer* held = &volume.GetPlaneRenderer();
  volume.SetPlaneRenderer(*held);  // itself: nothing happens
  EXPECT_EQ(&volume.GetPlaneRenderer(), held);
  volume.AttachPlaneRenderer(new XGrey16ImageRenderer);
  EXPECT_EQ(volume.GetPlaneRenderer().GetWhite(), 65535);
}

TEST_F(VolumeModel, ClassTreeOfTheRegistration) {
  auto isA = [](UInt32 a, UInt32 b) { return XVersion(a).IsA(XVersion(b)); };
  EXPECT_TRUE(isA(520, 48));   // XVolume is under the root through its legacy id 101
  EXPECT_TRUE(isA(114, 520));  // and the packed base under XVolume
  EXPECT_TRUE(isA(115, 520));
  EXPECT_TRUE(isA(12101, 105));
  EXPECT_TRUE(isA(515, 47));
  EXPECT_TRUE(isA(1, 108));  // a legacy colour image is read as ARGB32 ...
  EXPECT_FALSE(isA(108, 47));  // ... but an ARGB32 volume is no legacy image
  EXPECT_FALSE(isA(520, 47));
  EXPECT_FALSE(isA(113, 108));
}

TEST_F(VolumeModel, ChannelsOfColourVolumes) {
  EXPECT_EQ(XRGB48Volume(1, 1, 1).GetChannelName(3), "Blue");
  EXPECT_THROW(XRGB48Volume(1, 1, 1).GetChannelName(4), XInternalError);
  EXPECT_THROW(XGrey8Volume(1, 1, 1).GetChannelName(2), XInternalError);
  // Class tests use ids: the two 32-bit colour classes share their text.
  EXPECT_EQ(XBGRA32Volume(1, 1, 1).GetDescription(), XARGB32Volume(1, 1, 1).GetDescription());
  EXPECT_FALSE(XBGRA32Volume(1, 1, 1).IsA(XARGB32Volume::GetClassVersion()));
}
