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

using namespace volumetest;

namespace {

class VolumeModel : public VolumeTest {};

// A distinct value for every voxel of a small volume.
UInt8 Code(SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 1 + y * 16 + z * 64 + 7); }

std::unique_ptr<XGrey8Volume> CodedVolume(const X3DRect& inBounds) {
  auto volume = std::make_unique<XGrey8Volume>(inBounds);
  FillWith(*volume, Code);
  return volume;
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
  EXPECT_EQ(volume.GetVoxelBytes(), 6u);
  EXPECT_EQ(volume.GetRowVoxels(), 5u);
  EXPECT_EQ(volume.GetPadVoxels(), 0u);
  EXPECT_EQ(volume.GetRowBytes(), 30u);
  EXPECT_EQ(volume.GetPlaneBytes(), 90u);
  EXPECT_EQ(volume.GetVolumeVoxels(), 30u);
  EXPECT_EQ(volume.GetVolumeBytes(), 180u);
  EXPECT_EQ(volume.GetVolumeSize(), 30u);
  EXPECT_EQ(volume.GetDataSize(), 180u + 16u);
  EXPECT_EQ(volume.GetMemoryUsage(), volume.GetDataSize());
  EXPECT_EQ(volume.GetStorageByteSwapMode(), kByteSwap16);
  EXPECT_EQ(XFPVolume(1, 1, 1).GetStorageByteSwapMode(), kByteSwap32);
  EXPECT_EQ(XGrey32Volume(1, 1, 1).GetStorageByteSwapMode(), kByteSwap32);
  EXPECT_EQ(XARGB32Volume(1, 1, 1).GetStorageByteSwapMode(), kNoByteSwap);
}

TEST_F(VolumeModel, EmptyShapeIsLegal) {
  XGrey8Volume volume;
  EXPECT_TRUE(volume.GetBounds().IsEmpty());
  EXPECT_EQ(volume.GetVolumeBytes(), 0u);
  EXPECT_EQ(volume.CalculateCRC(), 0u);  // CRC of nothing
}

TEST_F(VolumeModel, CalibrationScalesAndDiagonal) {
  XFPVolume volume(3, 4, 12);
  volume.SetXCalibration(0.5);
  volume.SetYCalibration(1.0);
  volume.SetZCalibration(2.0);
  EXPECT_DOUBLE_EQ(volume.GetXScale(kXYPlane), 1.0);
  EXPECT_DOUBLE_EQ(volume.GetYScale(kXZPlane), 2.0);
  EXPECT_DOUBLE_EQ(volume.GetZScale(kXYPlane), 4.0);
  EXPECT_DOUBLE_EQ(volume.GetXScale(kYZPlane), 0.25);
  EXPECT_DOUBLE_EQ(volume.GetYScale(kYZPlane), 0.5);
  EXPECT_DOUBLE_EQ(volume.GetZScale(kYZPlane), 1.0);
  EXPECT_DOUBLE_EQ(volume.GetXScale(XPlaneMode(7)), 0.0);
  EXPECT_DOUBLE_EQ(volume.GetBoundsDiagonal(), std::sqrt(1.5 * 1.5 + 16.0 + 576.0));
}

// ---------------------------------------------------------------- planes

TEST_F(VolumeModel, XYPlaneOfADepthOneVolumeIsAFullClone) {
  auto volume = CodedVolume(X3DRect(3, -2, 7, 8, 2, 8));
  std::unique_ptr<XVolume> plane(volume->XYPlaneToVolume(0, false));
  EXPECT_EQ(plane->GetBounds(), volume->GetBounds());
  EXPECT_TRUE(*plane == *volume);
}

TEST_F(VolumeModel, PlaneExtractionCopiesTheRightVoxels) {
  auto volume = CodedVolume(X3DRect(1, 2, 3, 5, 5, 7));  // 4 x 3 x 4
  std::unique_ptr<XVolume> xy(volume->XYPlaneToVolume(2, false));
  std::unique_ptr<XVolume> xz(volume->XZPlaneToVolume(1, false));
  std::unique_ptr<XVolume> yz(volume->YZPlaneToVolume(3, false));
  EXPECT_EQ(xy->GetBounds(), X3DRect(1, 2, 5, 5, 5, 6));
  EXPECT_EQ(xz->GetBounds(), X3DRect(1, 3, 3, 5, 7, 4));  // y runs along the old z
  EXPECT_EQ(yz->GetBounds(), X3DRect(3, 2, 4, 7, 5, 5));  // x runs along the old z
  auto& g8xy = dynamic_cast<XGrey8Volume&>(*xy);
  auto& g8xz = dynamic_cast<XGrey8Volume&>(*xz);
  auto& g8yz = dynamic_cast<XGrey8Volume&>(*yz);
  for (SInt32 z = 3; z < 7; ++z)
    for (SInt32 y = 2; y < 5; ++y)
      for (SInt32 x = 1; x < 5; ++x) {
        if (z == 5) {
          EXPECT_EQ(VoxelAt(g8xy, x, y, z), Code(x, y, z));
        }
        if (y == 3) {
          EXPECT_EQ(VoxelAt(g8xz, x, z, 3), Code(x, y, z));
        }
        if (x == 4) {
          EXPECT_EQ(VoxelAt(g8yz, z, y, 4), Code(x, y, z));
        }
      }
}

TEST_F(VolumeModel, PlaneExtractionCrossesCalibrations) {
  XGrey8Volume volume(4, 3, 2);
  volume.SetXCalibration(1.0);
  volume.SetYCalibration(2.0);
  volume.SetZCalibration(3.0);
  std::unique_ptr<XVolume> yz(volume.YZPlaneToVolume(0, false));
  EXPECT_EQ(yz->GetXCalibration(), 3.0);
  EXPECT_EQ(yz->GetYCalibration(), 2.0);
  EXPECT_EQ(yz->GetZCalibration(), 1.0);
  std::unique_ptr<XVolume> xz(volume.XZPlaneToVolume(0, false));
  EXPECT_EQ(xz->GetXCalibration(), 1.0);
  EXPECT_EQ(xz->GetYCalibration(), 3.0);
  EXPECT_EQ(xz->GetZCalibration(), 2.0);
  std::unique_ptr<XVolume> xy(volume.XYPlaneToVolume(1, false));
  EXPECT_EQ(xy->GetYCalibration(), 2.0);
}

TEST_F(VolumeModel, AspectStepResamplesToSquarePixels) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 3, 2));
  volume->SetYCalibration(2.0);  // y twice as long as x
  volume->SetZCalibration(3.0);
  std::unique_ptr<XVolume> xy(volume->XYPlaneToVolume(1, true));
  EXPECT_EQ(xy->GetBounds(), X3DRect(4u, 6u, 1u));
  // Nearest choice: destination row j takes source row j * 3 / 6.
  auto& grey = dynamic_cast<XGrey8Volume&>(*xy);
  EXPECT_EQ(VoxelAt(grey, 2, 3, 0), Code(2, 1, 1));
  EXPECT_EQ(VoxelAt(grey, 2, 5, 0), Code(2, 2, 1));
  std::unique_ptr<XVolume> xz(volume->XZPlaneToVolume(0, true));
  EXPECT_EQ(xz->GetBounds(), X3DRect(4u, 6u, 1u));  // depth 2 * z/x 3
  std::unique_ptr<XVolume> yz(volume->YZPlaneToVolume(0, true));
  EXPECT_EQ(yz->GetBounds(), X3DRect(6u, 6u, 1u));  // depth 2 * 3, height 3 * 2
  // Isotropic XY: the aspect step leaves the plane alone.
  XGrey8Volume square(4, 3, 2);
  std::unique_ptr<XVolume> plain(square.XYPlaneToVolume(0, true));
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
  XGrey8Volume wrong(4, 4, 1);
  EXPECT_THROW(volume.VolumeToXYPlane(wrong, 0, 0), XInternalError);
  EXPECT_THROW(volume.VolumeToXZPlane(XGrey8Volume(4, 3, 1), 0, 0), XInternalError);  // height must be depth
  EXPECT_THROW(volume.VolumeToYZPlane(XGrey8Volume(2, 3, 1), 0, 4), XInternalError);
  XGrey8Volume plane(4, 3, 1);
  EXPECT_THROW(volume.VolumeToXYPlane(plane, 1, 0), XInternalError);  // no plane 1 in the source
}

TEST_F(VolumeModel, PlaneListsHoldOneVolumePerPlane) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 3, 2));
  XPtrVector<XVolume> xy = volume->XYPlanesToVolumeList(false);
  XPtrVector<XVolume> xz = volume->XZPlanesToVolumeList(false);
  XPtrVector<XVolume> yz = volume->YZPlanesToVolumeList(false);
  EXPECT_EQ(xy.size(), 2u);
  EXPECT_EQ(xz.size(), 3u);
  EXPECT_EQ(yz.size(), 4u);
  EXPECT_EQ(VoxelAt(dynamic_cast<XGrey8Volume&>(*yz[3]), 1, 2, 3), Code(3, 2, 1));
}

// ---------------------------------------------------------------- clones, copies, resizing

TEST_F(VolumeModel, CloneReachingOutsideClearsTheOuterPart) {
  auto volume = CodedVolume(X3DRect(0, 0, 0, 4, 4, 2));
  std::unique_ptr<XVolume> clone(volume->Clone(X3DRect(2, -1, 0, 6, 3, 2)));
  auto& grey = dynamic_cast<XGrey8Volume&>(*clone);
  EXPECT_EQ(grey.GetBounds(), X3DRect(2, -1, 0, 6, 3, 2));
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = -1; y < 3; ++y)
      for (SInt32 x = 2; x < 6; ++x) {
        bool inside = x < 4 && y >= 0;
        EXPECT_EQ(VoxelAt(grey, x, y, z), inside ? Code(x, y, z) : 0) << x << "," << y << "," << z;
      }
}

TEST_F(VolumeModel, CloneWithoutCopyKeepsClassRendererAndScaling) {
  XFPVolume volume(2, 2, 2);
  volume.SetZCalibration(4.5);
  dynamic_cast<XFPImageRenderer&>(volume.GetPlaneRenderer()).SetWhite(9.0);
  std::unique_ptr<XFPVolume> empty(volume.CloneWithoutCopy(X3DRect(1, 1, 1, 3, 5, 2)));
  EXPECT_EQ(empty->GetBounds(), X3DRect(1, 1, 1, 3, 5, 2));
  EXPECT_EQ(empty->GetZCalibration(), 4.5);
  EXPECT_NE(&empty->GetPlaneRenderer(), &volume.GetPlaneRenderer());
  EXPECT_EQ(empty->GetPlaneRenderer().GetWhite(), 9.0);
  std::unique_ptr<XVolume> whole(volume.Clone());
  EXPECT_EQ(whole->GetPlaneRenderer().GetWhite(), 9.0);
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
  // Writing one leaves the other alone.
  dest.Fill(0);
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
  EXPECT_EQ(VoxelAt(dynamic_cast<XGrey8Volume&>(*moved), 5, 6, 7), Code(0, 0, 0));

  std::unique_ptr<XVolume> stretched(volume->Resize(X3DRect(0, 0, 0, 8, 2, 1), kScaleStretch));
  auto& s = dynamic_cast<XGrey8Volume&>(*stretched);
  EXPECT_EQ(VoxelAt(s, 7, 1, 0), Code(3, 2, 0));  // x 7 * 4 / 8 = 3, y 1 * 4 / 2 = 2

  std::unique_ptr<XVolume> centred(volume->Resize(X3DRect(0, 0, 0, 8, 2, 1), kScaleCentre));
  auto& c = dynamic_cast<XGrey8Volume&>(*centred);
  // Destination part: x 2..6, y 0..2; source part: x 0..4, y 1..3.
  EXPECT_EQ(VoxelAt(c, 1, 0, 0), 0);
  EXPECT_EQ(VoxelAt(c, 2, 0, 0), Code(0, 1, 0));
  EXPECT_EQ(VoxelAt(c, 5, 1, 0), Code(3, 2, 0));
  EXPECT_EQ(VoxelAt(c, 6, 1, 0), 0);

  std::unique_ptr<XVolume> cropped(volume->Resize(X3DRect(2, 2, 0, 6, 6, 1), kScaleCrop));
  auto& k = dynamic_cast<XGrey8Volume&>(*cropped);
  EXPECT_EQ(VoxelAt(k, 3, 3, 0), Code(3, 3, 0));
  EXPECT_EQ(VoxelAt(k, 4, 3, 0), 0);

  EXPECT_THROW(volume->Resize(X3DRect(0, 0, 0, 2, 2, 1), XScaleType(3)), XInternalError);
  // The same-size step comes first, so an unknown type of the same size still clones.
  std::unique_ptr<XVolume> odd(volume->Resize(volume->GetBounds(), XScaleType(3)));
  EXPECT_TRUE(*odd == *volume);
}

// ---------------------------------------------------------------- fills and search

TEST_F(VolumeModel, FillWithoutRegionWritesThePaddingToo) {
  // A stream may give rows longer than the width.
  Bytes bytes;
  bytes.U32(65641).U32(520).U32(2).U32(2).U32(1).U32(0).U32(0).U32(0).F64(1).F64(1).F64(1);
  bytes.U32(114).U32(65638).U32(3).U32(0).Handle({1, 2, 9, 3, 4, 9, 0, 0});
  bytes.U32(103).U32(65640).U32(65641);
  auto volume = ReadFromBytes<XGrey8Volume>(bytes.Get());
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->GetPadVoxels(), 1u);
  EXPECT_EQ(VoxelAt(*volume, 1, 1, 0), 4);
  volume->Fill(5);
  XLock lock(*volume, kLockRead);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(volume->GetBasePtr()[i], 5) << i;
}

namespace {

// A diagonal in a 4 x 4 x 1 box at (1, 1): set where x == y.
X3DRegion Diagonal() {
  XMaskVolume mask(X3DRect(1, 1, 0, 5, 5, 1));
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == y ? 200 : 100); });
  return X3DRegion(mask);
}

}  // namespace

TEST_F(VolumeModel, FillWithARegionTouchesItsVoxelsOrEveryVoxel) {
  const X3DRegion diagonal = Diagonal();
  XGrey8Volume volume(6, 6, 1);
  volume.Fill(9);
  volume.Fill(1, &diagonal);
  for (SInt32 y = 0; y < 6; ++y)
    for (SInt32 x = 0; x < 6; ++x)
      EXPECT_EQ(VoxelAt(volume, x, y, 0), x == y && x >= 1 && x < 5 ? 1 : 9) << x << "," << y;
  const UInt8 outside = 0;
  volume.Fill(7, &diagonal, &outside);
  for (SInt32 y = 0; y < 6; ++y)
    for (SInt32 x = 0; x < 6; ++x)
      EXPECT_EQ(VoxelAt(volume, x, y, 0), x == y && x >= 1 && x < 5 ? 7 : 0) << x << "," << y;
  // A simple region is its box; one beside the volume touches nothing but the outside.
  const X3DRegion box(X3DRect(4, 0, 0, 10, 2, 1));
  volume.Fill(3, &box);
  EXPECT_EQ(VoxelAt(volume, 5, 1, 0), 3);
  EXPECT_EQ(VoxelAt(volume, 3, 1, 0), 0);
  const X3DRegion away(X3DRect(20, 20, 0, 30, 30, 1));
  volume.Fill(5, &away, &outside);
  EXPECT_EQ(VoxelAt(volume, 5, 1, 0), 0);
}

TEST_F(VolumeModel, ColourKeyFillReplacesTheKeyAndOptionallyTheRest) {
  XARGB32Volume volume(3, 1, 1);
  const XARGB32Colour key(255, 1, 2, 3), other(255, 9, 9, 9), fill(255, 100, 0, 0), outside(0, 0, 0, 0);
  auto reset = [&] {
    XLock lock(volume, kLockReadWrite);
    volume.SetVoxel(0, 0, 0, key);
    volume.SetVoxel(1, 0, 0, other);
    volume.SetVoxel(2, 0, 0, key);
  };
  reset();
  volume.ColourKeyFill(fill, key);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 0), fill);
  EXPECT_EQ(VoxelAt(volume, 1, 0, 0), other);
  reset();
  volume.ColourKeyFill(fill, key, nullptr, &outside);
  EXPECT_EQ(VoxelAt(volume, 1, 0, 0), outside);
  EXPECT_EQ(VoxelAt(volume, 2, 0, 0), fill);
  // With a region: only keyed voxels inside take the fill; with an outside
  // value everything else takes that.
  const X3DRegion firstTwo(X3DRect(0, 0, 0, 2, 1, 1));
  reset();
  volume.ColourKeyFill(fill, key, &firstTwo);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 0), fill);
  EXPECT_EQ(VoxelAt(volume, 1, 0, 0), other);
  EXPECT_EQ(VoxelAt(volume, 2, 0, 0), key);
  reset();
  volume.ColourKeyFill(fill, key, &firstTwo, &outside);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 0), fill);
  EXPECT_EQ(VoxelAt(volume, 1, 0, 0), outside);
  EXPECT_EQ(VoxelAt(volume, 2, 0, 0), outside);
}

TEST_F(VolumeModel, BrightestZPointKeepsTheFirstStrictMaximum) {
  XGrey16Volume volume(X3DRect(0, 0, 5, 2, 1, 10));
  volume.Fill(0);
  EXPECT_EQ(volume.GetBrightestZPoint(0, 0), 5);  // all zero: front
  {
    XLock lock(volume, kLockReadWrite);
    volume.SetVoxel(1, 0, 7, 300);
    volume.SetVoxel(1, 0, 9, 300);  // a tie keeps the front one
    volume.SetVoxel(1, 0, 8, 20);
  }
  EXPECT_EQ(volume.GetBrightestZPoint(1, 0), 7);
  XGrey8Volume flat(X3DRect(0, 0, 3, 2, 2, 3));
  EXPECT_EQ(flat.GetBrightestZPoint(0, 0), 3);  // empty depth: front

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
  {
    XLock lock(*b, kLockReadWrite);
    b->SetVoxel(2, 1, 1, 0);
  }
  EXPECT_TRUE(*a != *b);

  XGrey16Volume wide(3, 2, 2);
  a->CopyOut(wide, a->GetBounds(), wide.GetBounds(), nullptr);
  EXPECT_TRUE(*a == wide);  // converted back: 257 * v >> 8 == v
  EXPECT_TRUE(wide == *a);
  {
    XLock lock(wide, kLockReadWrite);
    wide.SetVoxel(0, 0, 0, UInt16(wide.GetVoxel(0, 0, 0) + 1));
  }
  EXPECT_TRUE(*a == wide);   // Grey8 sees the high byte only
  EXPECT_FALSE(wide == *a);  // Grey16 sees the low byte too
}

TEST_F(VolumeModel, CRCCoversVoxelCountBytesOnly) {
  XGrey16Volume volume(4, 2, 1);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32) { return UInt16(0x1234 + x * 0x0101 + y * 0x1000); });
  XLock lock(volume, kLockRead);
  const UInt8* data = volume.GetBasePtr();
  // Eight voxels: the first eight bytes of sixteen.
  uLong expected = crc32(crc32(0L, Z_NULL, 0), data, 8);
  EXPECT_EQ(volume.CalculateCRC(), UInt32(expected));
  EXPECT_NE(volume.CalculateCRC(), UInt32(crc32(crc32(0L, Z_NULL, 0), data, 16)));
  // The standard check value of CRC-32.
  XGrey8Volume text(9, 1, 1);
  {
    XLock textLock(text, kLockReadWrite);
    std::memcpy(text.GetBasePtr(), "123456789", 9);
  }
  EXPECT_EQ(text.CalculateCRC(), 0xCBF43926u);
  XVolumeCRC crc;
  text.AccumulateCRC(crc);
  text.AccumulateCRC(crc);
  EXPECT_EQ(crc.checksum(), UInt32(crc32(crc32(0L, reinterpret_cast<const Bytef*>("123456789"), 9),
                                         reinterpret_cast<const Bytef*>("123456789"), 9)));
}

// ---------------------------------------------------------------- locking, lifetime, renderers

TEST_F(VolumeModel, LocksReachTheBlockAndCopiesWriteApart) {
  auto a = CodedVolume(X3DRect(0, 0, 0, 2, 2, 1));
  std::unique_ptr<XGrey8Volume> b(a->Clone());
  {
    XLock lock(*a, kLockRead);
    EXPECT_EQ(a->GetStorage().GetLockCount(), 1u);
  }
  EXPECT_EQ(a->GetStorage().GetLockCount(), 0u);
  b->Fill(1);
  EXPECT_EQ(VoxelAt(*a, 1, 1, 0), Code(1, 1, 0));
  EXPECT_EQ(VoxelAt(*b, 1, 1, 0), 1);
}

TEST_F(VolumeModel, TrackerCountsLiveVolumes) {
  XResourceTracker& tracker = XResourceTracker::GetTracker();
  SInt64 before = tracker.GetCount("XVolume");
  {
    XMaskVolume mask(2, 2, 2);
    std::unique_ptr<XVolume> copy(mask.Clone());
    EXPECT_EQ(tracker.GetCount("XVolume"), before + 2);
  }
  EXPECT_EQ(tracker.GetCount("XVolume"), before);
  // A stream constructor that throws leaves no count behind.
  Bytes bad;
  bad.U32(65641).U32(999);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(bad.Get()); }), kErrWrongClass);
  EXPECT_EQ(tracker.GetCount("XVolume"), before);
}

TEST_F(VolumeModel, RenderersAreOwnedClonedAndCheckedByExactClass) {
  XGrey8Volume grey(1, 1, 1);
  XMaskVolume mask(1, 1, 1);
  EXPECT_TRUE(grey.IsPlaneRendererSupported(XGrey8ImageRenderer()));
  EXPECT_FALSE(grey.IsPlaneRendererSupported(XMaskImageRenderer()));  // a derived class does not count
  EXPECT_TRUE(mask.IsPlaneRendererSupported(XMaskImageRenderer()));
  EXPECT_FALSE(mask.IsPlaneRendererSupported(XGrey8ImageRenderer()));
  EXPECT_TRUE(mask.IsPlaneRendererSupported(mask.GetPlaneRenderer()));
  EXPECT_TRUE(XGrey16Volume(1, 1, 1).IsPlaneRendererSupported(XGrey16ImageRenderer()));
  EXPECT_FALSE(XGrey32Volume(1, 1, 1).HasPlaneRenderer());

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
  EXPECT_THROW(XGrey32Volume(1, 1, 1).GetPlaneRenderer(), XInternalError);
}

TEST_F(VolumeModel, ChannelsOfColourVolumes) {
  XRGB48Volume colour(1, 1, 1);
  EXPECT_EQ(colour.GetChannelCount(), 3u);
  EXPECT_EQ(colour.GetChannelName(3), "Blue");
  EXPECT_EQ(XARGB32Volume(1, 1, 1).GetChannelName(1), "Red");
  EXPECT_THROW(colour.GetChannelName(4), XInternalError);
  EXPECT_EQ(XGrey8Volume(1, 1, 1).GetChannelCount(), 1u);
  EXPECT_EQ(XGrey8Volume(1, 1, 1).GetChannelName(1), "");
  EXPECT_THROW(XGrey8Volume(1, 1, 1).GetChannelName(2), XInternalError);
  // Class tests use ids: the two 32-bit colour classes share their text.
  EXPECT_EQ(XBGRA32Volume(1, 1, 1).GetDescription(), XARGB32Volume(1, 1, 1).GetDescription());
  EXPECT_FALSE(XBGRA32Volume(1, 1, 1).IsA(XARGB32Volume::GetClassVersion()));
}
