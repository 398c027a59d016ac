// X3DRegion: the two forms, cropping, set algebra, morphology, planes,
// centroids and the stream form.
#include <cmath>
#include <functional>
#include <memory>

#include "VolumeTestSupport.h"
#include "volume/X3DRegion.h"

using namespace volumetest;

namespace {

class RegionTest : public VolumeTest {
 protected:
  static void SetUpTestSuite() {
    VolumeTest::SetUpTestSuite();
    XClassRegistry::RegisterClass(X3DRegion::GetClassVersion(), X3DRegion::GetSuperClassVersion(),
                                  XStreamConstructorFactory<X3DRegion>, XVersionedReaderFactory<X3DRegion>,
                                  XDefaultConstructorFactory<X3DRegion>, "X3DRegion");
  }
};

using XVoxelTest = std::function<bool(SInt32, SInt32, SInt32)>;

XMaskVolume MakeMask(const X3DRect& inBox, const XVoxelTest& inSet) {
  XMaskVolume mask(inBox);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(inSet(x, y, z) ? 255 : 0); });
  return mask;
}

X3DRegion MakeRegion(const X3DRect& inBox, const XVoxelTest& inSet) { return X3DRegion(MakeMask(inBox, inSet)); }

// Membership over a box, by the region's own rule.
bool Matches(const X3DRegion& inRegion, const X3DRect& inBox, const XVoxelTest& inExpected) {
  XLock lock(inRegion, kLockRead);
  for (SInt32 z = inBox.front; z < inBox.back; ++z)
    for (SInt32 y = inBox.top; y < inBox.bottom; ++y)
      for (SInt32 x = inBox.left; x < inBox.right; ++x)
        if (inRegion.Contains(x, y, z) != inExpected(x, y, z)) return false;
  return true;
}

// The tight box and the mask invariant every cropped region satisfies.
void ExpectCropped(const X3DRegion& inRegion) {
  if (inRegion.IsComplex()) {
    EXPECT_EQ(inRegion.GetMask()->GetBounds(), inRegion.GetBounds());
    EXPECT_LT(UInt64(inRegion.GetVolume()), inRegion.GetBounds().GetVolume());
  }
}

const X3DRect kEmptyAtOrigin;

}  // namespace

// ------------------------------------------------------------ forms and cropping

TEST_F(RegionTest, MasksAreCroppedToTheTightBoxAndFullMasksBecomeSimple) {
  X3DRegion full(MakeMask(X3DRect(-4, 2, 1, 4, 6, 3), [](SInt32, SInt32, SInt32) { return true; }));
  EXPECT_TRUE(full.IsSimple());
  EXPECT_EQ(full.GetBounds(), X3DRect(-4, 2, 1, 4, 6, 3));

  X3DRegion none(MakeMask(X3DRect(5, 5, 5, 9, 9, 9), [](SInt32, SInt32, SInt32) { return false; }));
  EXPECT_TRUE(none.IsSimple());
  EXPECT_TRUE(none.IsEmpty());
  EXPECT_EQ(none.GetBounds(), kEmptyAtOrigin);

  // Two voxels on a diagonal: the box shrinks to them, the mask stays.
  X3DRegion two = MakeRegion(X3DRect(0, 0, 0, 10, 10, 10), [](SInt32 x, SInt32 y, SInt32 z) {
    return (x == 2 && y == 3 && z == 4) || (x == 5 && y == 7 && z == 6);
  });
  EXPECT_TRUE(two.IsComplex());
  EXPECT_EQ(two.GetBounds(), X3DRect(2, 3, 4, 6, 8, 7));
  EXPECT_EQ(two.GetVolume(), 2u);
  ExpectCropped(two);

  // Cut to a rectangle first: the second voxel falls away and the rest fills its box.
  X3DRegion cut(MakeMask(X3DRect(0, 0, 0, 10, 10, 10),
                         [](SInt32 x, SInt32 y, SInt32 z) { return (x == 2 && y == 3 && z == 4) || x == 9; }),
                X3DRect(0, 0, 0, 5, 5, 5));
  EXPECT_TRUE(cut.IsSimple());
  EXPECT_EQ(cut.GetBounds(), X3DRect(2, 3, 4, 3, 4, 5));
}

TEST_F(RegionTest, CroppingAndCountingFollowTheTopBitOnLongRows) {
  // Scattered bytes of every kind in rows longer than a machine word: the
  // crop box and the count must agree with a plain byte-by-byte reckoning.
  for (UInt32 seed : {1u, 7u, 99u, 2024u}) {
    const X3DRect box(-20, 3, 1, 45, 9, 4);
    UInt32 state = seed;
    auto next = [&] { return (state = state * 1103515245u + 12345u) >> 16; };
    XMaskVolume mask(box);
    FillWith(mask, [&](SInt32 x, SInt32 y, SInt32) {
      // Set bytes only inside a band, so that the crop has work to do.
      if (x < -11 + SInt32(seed % 5) || x > 37 || y == 3) return UInt8(next() % 128);
      return UInt8(next() % 256);
    });
    X3DRect tight;
    UInt32 count = 0;
    bool any = false;
    {
      XLock lock(mask, kLockRead);
      for (SInt32 z = box.front; z < box.back; ++z)
        for (SInt32 y = box.top; y < box.bottom; ++y)
          for (SInt32 x = box.left; x < box.right; ++x)
            if (mask.GetVoxel(x, y, z) > 127) {
              X3DRect voxel(x, y, z, x + 1, y + 1, z + 1);
              if (any) tight.Union(voxel); else tight = voxel;
              any = true;
              ++count;
            }
    }
    X3DRegion region(mask);
    EXPECT_EQ(region.GetBounds(), tight) << seed;
    EXPECT_EQ(region.GetVolume(), count) << seed;
    EXPECT_TRUE(region.IsVolumeGreaterThanOrEqualTo(count)) << seed;
    EXPECT_FALSE(region.IsVolumeGreaterThanOrEqualTo(count + 1)) << seed;
  }
}

TEST_F(RegionTest, ContainsTakesMaskBytesAbove127AndNeedsALock) {
  XMaskVolume mask(X3DRect(0, 0, 0, 3, 1, 1));
  FillWith(mask, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 0 ? 128 : x == 1 ? 127 : 255); });
  X3DRegion region(mask);
  ASSERT_TRUE(region.IsComplex());
  EXPECT_THROW(region.Contains(0, 0, 0), XInternalError);
  {
    XLock lock(region, kLockRead);
    EXPECT_TRUE(region.Contains(0, 0, 0));
    EXPECT_FALSE(region.Contains(1, 0, 0));
    EXPECT_TRUE(region.Contains(X3DPoint(2, 0, 0)));
    EXPECT_FALSE(region.Contains(3, 0, 0));
    EXPECT_FALSE(region.Contains(-1, 0, 0));
    EXPECT_NE(region.GetMaskBasePtr(), nullptr);
  }
  EXPECT_EQ(region.GetMaskBasePtr(), nullptr);
  EXPECT_EQ(region.GetVolume(), 2u);

  X3DRegion simple(X3DRect(0, 0, 0, 2, 2, 2));
  EXPECT_TRUE(simple.Contains(1, 1, 1));  // a simple region needs no lock
  EXPECT_FALSE(simple.Contains(2, 1, 1));
  // A held region may not gain or lose its mask.
  XLock lock(simple, kLockRead);
  EXPECT_THROW(simple.Union(X3DRegion(X3DRect(5, 5, 5, 6, 6, 6))), XInternalError);
}

TEST_F(RegionTest, CopiesOwnTheirMask) {
  X3DRegion a = MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), [](SInt32 x, SInt32 y, SInt32) { return x == y; });
  X3DRegion b(a);
  b.Offset(10, 0, 0);
  EXPECT_EQ(a.GetBounds().left, 0);
  EXPECT_EQ(b.GetMask()->GetBounds().left, 10);
  X3DRegion c;
  c = a;
  c.Union(X3DRegion(X3DRect(0, 0, 0, 3, 3, 1)));
  EXPECT_TRUE(c.IsSimple());
  EXPECT_TRUE(a.IsComplex());
  EXPECT_EQ(a.GetVolume(), 3u);
  c = X3DRect(1, 1, 1, 2, 2, 2);
  EXPECT_TRUE(c.IsSimple());
  EXPECT_EQ(c.GetVolume(), 1u);
}

// ------------------------------------------------------------ comparisons and counts

TEST_F(RegionTest, EqualityComparesFormsBeforeVoxels) {
  const X3DRect box(0, 0, 0, 4, 4, 1);
  X3DRegion simple(box);
  EXPECT_TRUE(simple.IsEqual(X3DRegion(box)));
  EXPECT_FALSE(simple.IsEqual(X3DRegion(X3DRect(0, 0, 0, 4, 4, 2))));

  // Under a crop lock a region can hold every voxel of its box with a mask:
  // the same voxels, yet not equal to the simple form.
  X3DRegion held(X3DRect(0, 0, 0, 2, 4, 1));
  held.LockCrop();
  held.Union(X3DRegion(X3DRect(2, 0, 0, 4, 4, 1)));
  ASSERT_TRUE(held.IsComplex());
  EXPECT_EQ(held.GetBounds(), box);
  EXPECT_FALSE(held.IsEqual(simple));
  EXPECT_FALSE(simple.IsEqual(held));
  held.UnlockCrop();
  EXPECT_TRUE(held.IsSimple());
  EXPECT_TRUE(held.IsEqual(simple));

  auto diagonal = [](SInt32 x, SInt32 y, SInt32) { return x == y; };
  X3DRegion a = MakeRegion(box, diagonal);
  X3DRegion b = MakeRegion(box, diagonal);
  X3DRegion c = MakeRegion(box, [](SInt32 x, SInt32 y, SInt32) { return x == y || (x == 0 && y == 3); });
  EXPECT_TRUE(a.IsEqual(b));
  EXPECT_FALSE(a.IsEqual(c));
  EXPECT_FALSE(a.FastButInaccurateIsEqualTo(b));  // both complex: false without looking
  EXPECT_TRUE(simple.FastButInaccurateIsEqualTo(X3DRegion(box)));
  EXPECT_FALSE(simple.FastButInaccurateIsEqualTo(a));
}

TEST_F(RegionTest, VolumeCountsAndTheStrictSimpleThreshold) {
  X3DRegion box(X3DRect(0, 0, 0, 2, 3, 4));
  EXPECT_EQ(box.GetVolume(), 24u);
  EXPECT_FALSE(box.IsVolumeGreaterThanOrEqualTo(24));  // the simple branch tests strictly
  EXPECT_TRUE(box.IsVolumeGreaterThanOrEqualTo(23));

  X3DRegion sparse = MakeRegion(X3DRect(0, 0, 0, 6, 6, 2), [](SInt32 x, SInt32 y, SInt32) { return x == y; });
  ASSERT_EQ(sparse.GetVolume(), 12u);
  EXPECT_TRUE(sparse.IsVolumeGreaterThanOrEqualTo(12));
  EXPECT_TRUE(sparse.IsVolumeGreaterThanOrEqualTo(1));
  EXPECT_FALSE(sparse.IsVolumeGreaterThanOrEqualTo(13));
  EXPECT_FALSE(sparse.IsVolumeGreaterThanOrEqualTo(73));  // more than the box holds

  EXPECT_TRUE(sparse < box);
  EXPECT_FALSE(box < sparse);

  // The simple count is 32-bit, as stored regions have always counted.
  X3DRegion huge(X3DRect(0, 0, 0, 65536, 65536, 2));
  EXPECT_EQ(huge.GetVolume(), 0u);
}

TEST_F(RegionTest, ContainsAndTouchOnSimpleAndComplexRegions) {
  X3DRegion big(X3DRect(0, 0, 0, 10, 10, 1));
  X3DRegion small(X3DRect(2, 2, 0, 4, 4, 1));
  X3DRegion far(X3DRect(20, 0, 0, 22, 2, 1));
  EXPECT_TRUE(big.Contains(small));
  EXPECT_FALSE(small.Contains(big));
  EXPECT_TRUE(big.DoesTouch(small));
  EXPECT_FALSE(big.DoesTouch(far));
  EXPECT_TRUE(big.Contains(X3DRegion()));
  EXPECT_FALSE(big.DoesTouch(X3DRegion()));

  X3DRegion checker =
      MakeRegion(X3DRect(0, 0, 0, 10, 10, 1), [](SInt32 x, SInt32 y, SInt32) { return (x + y) % 2 == 0; });
  X3DRegion white = MakeRegion(X3DRect(0, 0, 0, 10, 10, 1), [](SInt32 x, SInt32 y, SInt32) { return (x + y) % 2 == 1; });
  X3DRegion onWhite(X3DRect(1, 0, 0, 2, 1, 1));
  X3DRegion onBlack(X3DRect(0, 0, 0, 1, 1, 1));
  EXPECT_TRUE(big.Contains(checker));
  EXPECT_FALSE(checker.Contains(big));
  EXPECT_TRUE(checker.Contains(onBlack));
  EXPECT_FALSE(checker.Contains(onWhite));
  EXPECT_FALSE(checker.DoesTouch(white));
  EXPECT_TRUE(checker.DoesTouch(onBlack));
  EXPECT_FALSE(checker.DoesTouch(onWhite));
  X3DRegion fewer = MakeRegion(X3DRect(0, 0, 0, 10, 10, 1), [](SInt32 x, SInt32 y, SInt32) { return x == y; });
  EXPECT_TRUE(checker.Contains(fewer));
  EXPECT_FALSE(fewer.Contains(checker));
}

// ------------------------------------------------------------ set algebra

TEST_F(RegionTest, SectOfBoxesAndMasks) {
  X3DRegion a(X3DRect(0, 0, 0, 10, 10, 1));
  a.Sect(X3DRegion(X3DRect(20, 0, 0, 30, 10, 1)));
  EXPECT_TRUE(a.IsEmpty());
  EXPECT_TRUE(a.IsSimple());

  X3DRegion b(X3DRect(0, 0, 0, 10, 10, 1));
  b &= X3DRegion(X3DRect(5, 5, 0, 15, 15, 1));
  EXPECT_TRUE(b.IsSimple());
  EXPECT_EQ(b.GetBounds(), X3DRect(5, 5, 0, 10, 10, 1));

  // An enclosing box leaves a complex region as it was.
  auto diagonal = [](SInt32 x, SInt32 y, SInt32) { return x == y; };
  X3DRegion d = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), diagonal);
  d.Sect(X3DRegion(X3DRect(-1, -1, 0, 6, 6, 1)));
  EXPECT_TRUE(d.IsEqual(MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), diagonal)));

  // Box with mask, mask with mask.
  X3DRegion box(X3DRect(1, 1, 0, 4, 4, 1));
  box.Sect(d);
  EXPECT_TRUE(Matches(box, X3DRect(-2, -2, 0, 8, 8, 1),
                      [](SInt32 x, SInt32 y, SInt32) { return x == y && x >= 1 && x < 4; }));
  ExpectCropped(box);
  X3DRegion anti = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), [](SInt32 x, SInt32 y, SInt32) { return x == 4 - y || x == y; });
  anti.Sect(d);
  EXPECT_TRUE(anti.IsEqual(d));
}

TEST_F(RegionTest, UnionOfTouchingBoxesIsSimpleAndAnLIsNot) {
  X3DRegion a(X3DRect(0, 0, 0, 5, 5, 1));
  a |= X3DRegion(X3DRect(5, 0, 0, 8, 5, 1));
  EXPECT_TRUE(a.IsSimple());
  EXPECT_EQ(a.GetBounds(), X3DRect(0, 0, 0, 8, 5, 1));

  X3DRegion l(X3DRect(0, 0, 0, 4, 1, 1));
  l += X3DRegion(X3DRect(0, 1, 0, 1, 4, 1));
  EXPECT_TRUE(l.IsComplex());
  EXPECT_EQ(l.GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));
  EXPECT_EQ(l.GetVolume(), 7u);

  // Painting into an existing mask of the union box.
  l.Union(X3DRegion(X3DRect(1, 1, 0, 4, 4, 1)));
  EXPECT_TRUE(l.IsSimple());

  // The empty region at the origin stretches the union box, and the crop takes it back.
  X3DRegion empty;
  empty.Union(X3DRegion(X3DRect(100, 100, 0, 102, 102, 1)));
  EXPECT_TRUE(empty.IsSimple());
  EXPECT_EQ(empty.GetBounds(), X3DRect(100, 100, 0, 102, 102, 1));
}

TEST_F(RegionTest, XorOfEqualRegionsIsEmpty) {
  X3DRegion a(X3DRect(0, 0, 0, 4, 4, 4));
  a ^= X3DRegion(X3DRect(0, 0, 0, 4, 4, 4));
  EXPECT_TRUE(a.IsEmpty());
  EXPECT_EQ(a.GetBounds(), kEmptyAtOrigin);

  auto ring = [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0; };
  X3DRegion c = MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), ring);
  c.Xor(MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), ring));
  EXPECT_TRUE(c.IsEmpty());
  EXPECT_TRUE(c.IsSimple());

  // Partial overlap: the two ends stay, the middle goes.
  X3DRegion d(X3DRect(0, 0, 0, 6, 1, 1));
  d.Xor(X3DRegion(X3DRect(2, 0, 0, 8, 1, 1)));
  EXPECT_TRUE(Matches(d, X3DRect(-1, 0, 0, 10, 1, 1),
                      [](SInt32 x, SInt32, SInt32) { return (x >= 0 && x < 2) || (x >= 6 && x < 8); }));

  // An empty side: nothing, or the other.
  X3DRegion e(X3DRect(1, 1, 1, 2, 2, 2));
  e.Xor(X3DRegion());
  EXPECT_EQ(e.GetBounds(), X3DRect(1, 1, 1, 2, 2, 2));
  X3DRegion f;
  f.Xor(X3DRegion(X3DRect(3, 3, 3, 4, 4, 4)));
  EXPECT_EQ(f.GetBounds(), X3DRect(3, 3, 3, 4, 4, 4));
}

TEST_F(RegionTest, DifferenceCarvesAndLeavesDisjointRegionsAlone) {
  X3DRegion a(X3DRect(0, 0, 0, 4, 4, 1));
  a -= X3DRegion(X3DRect(10, 10, 0, 12, 12, 1));
  EXPECT_TRUE(a.IsSimple());
  EXPECT_EQ(a.GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));

  a.Difference(X3DRegion(X3DRect(1, 1, 0, 3, 3, 1)));
  EXPECT_TRUE(a.IsComplex());
  EXPECT_EQ(a.GetVolume(), 12u);
  a.Difference(X3DRegion(X3DRect(0, 0, 0, 4, 1, 1)));
  EXPECT_EQ(a.GetBounds(), X3DRect(0, 1, 0, 4, 4, 1));
  EXPECT_EQ(a.GetVolume(), 8u);

  X3DRegion all(X3DRect(0, 0, 0, 2, 2, 2));
  all.Difference(all);
  EXPECT_TRUE(all.IsEmpty());
  EXPECT_EQ(all.GetBounds(), kEmptyAtOrigin);
}

TEST_F(RegionTest, InvertIsTheComplementWithinTheBox) {
  X3DRegion simple(X3DRect(0, 0, 0, 3, 3, 3));
  simple.Invert();
  EXPECT_TRUE(simple.IsEmpty());

  X3DRegion frame = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1),
                               [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0 || x == 4 || y == 4; });
  frame.Invert();
  EXPECT_TRUE(frame.IsSimple());
  EXPECT_EQ(frame.GetBounds(), X3DRect(1, 1, 0, 4, 4, 1));

  XMaskVolume filled = X3DRegion(X3DRect(2, 2, 2, 4, 3, 3)).GetMaskVolume();
  EXPECT_EQ(filled.GetBounds(), X3DRect(2, 2, 2, 4, 3, 3));
  EXPECT_EQ(VoxelAt(filled, 3, 2, 2), 255);
}

// ------------------------------------------------------------ morphology

TEST_F(RegionTest, GrowingByCrossesGivesDiamonds) {
  X3DRegion dot(X3DRect(10, 10, 0, 11, 11, 1));
  dot.Grow(2, 2, 0);
  EXPECT_EQ(dot.GetVolume(), 13u);
  EXPECT_EQ(dot.GetBounds(), X3DRect(8, 8, 0, 13, 13, 1));
  EXPECT_TRUE(Matches(dot, X3DRect(6, 6, 0, 15, 15, 1),
                      [](SInt32 x, SInt32 y, SInt32) { return std::abs(x - 10) + std::abs(y - 10) <= 2; }));

  X3DRegion dot3(X3DRect(0, 0, 0, 1, 1, 1));
  dot3.Grow(1, 1, 1);
  EXPECT_EQ(dot3.GetVolume(), 7u);

  // One axis only: a line.
  X3DRegion line(X3DRect(0, 0, 0, 1, 1, 1));
  line.Grow(0, 0, 3);
  EXPECT_TRUE(line.IsSimple());
  EXPECT_EQ(line.GetBounds(), X3DRect(0, 0, -3, 1, 1, 4));
}

TEST_F(RegionTest, ShrinkingAndMixedSigns) {
  X3DRegion box(X3DRect(0, 0, 0, 7, 7, 3));
  box.Shrink(2, 1, 0);
  EXPECT_TRUE(box.IsSimple());
  EXPECT_EQ(box.GetBounds(), X3DRect(2, 1, 0, 5, 6, 3));

  // Erosion of the diamond by one cross step leaves the centre cross.
  X3DRegion diamond(X3DRect(10, 10, 0, 11, 11, 1));
  diamond.Grow(2, 2, 0);
  diamond.Grow(-1, -1, 0);
  EXPECT_EQ(diamond.GetVolume(), 5u);

  X3DRegion mixed(X3DRect(0, 0, 0, 3, 3, 1));
  mixed.Grow(1, -1, 0);
  EXPECT_TRUE(mixed.IsSimple());
  EXPECT_EQ(mixed.GetBounds(), X3DRect(-1, 1, 0, 4, 2, 1));
  EXPECT_EQ(mixed.GetCropLockCount(), 0u);

  X3DRegion gone(X3DRect(0, 0, 0, 2, 2, 2));
  gone.Shrink(1, 0, 0);
  EXPECT_TRUE(gone.IsEmpty());
}

TEST_F(RegionTest, OutlineIsARimInEachPlane) {
  X3DRegion box(X3DRect(0, 0, 0, 5, 5, 2));
  box.Outline(1);
  EXPECT_EQ(box.GetVolume(), 2u * (25 - 9));
  EXPECT_TRUE(Matches(box, X3DRect(0, 0, 0, 5, 5, 2), [](SInt32 x, SInt32 y, SInt32) {
    return x == 0 || y == 0 || x == 4 || y == 4;
  }));
  EXPECT_EQ(box.GetCropLockCount(), 0u);
}

TEST_F(RegionTest, CropLocksNestAndTheLastUnlockCrops) {
  X3DRegion r(X3DRect(0, 0, 0, 1, 1, 1));
  r.LockCrop();
  r.LockCrop();
  r.Union(X3DRegion(X3DRect(1, 0, 0, 2, 1, 1)));
  EXPECT_TRUE(r.IsComplex());
  r.UnlockCrop();
  EXPECT_TRUE(r.IsComplex());
  r.UnlockCrop();
  EXPECT_TRUE(r.IsSimple());
  EXPECT_EQ(r.GetBounds(), X3DRect(0, 0, 0, 2, 1, 1));
  EXPECT_THROW(r.UnlockCrop(), XInternalError);
}

// ------------------------------------------------------------ placement and mapping

TEST_F(RegionTest, MovesCarryTheMaskAlong) {
  auto diagonal = [](SInt32 x, SInt32 y, SInt32) { return x == y; };
  X3DRegion r = MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), diagonal);
  r.Offset(10, -5, 3);
  EXPECT_EQ(r.GetBounds(), X3DRect(10, -5, 3, 14, -1, 4));
  EXPECT_EQ(r.GetMask()->GetBounds(), r.GetBounds());
  EXPECT_TRUE(Matches(r, r.GetBounds(), [](SInt32 x, SInt32 y, SInt32) { return x - 10 == y + 5; }));

  r.CentreOn(X3DRect(0, 0, 0, 8, 8, 3));
  EXPECT_EQ(r.GetBounds(), X3DRect(2, 2, 1, 6, 6, 2));
  EXPECT_EQ(r.GetMask()->GetBounds(), r.GetBounds());
  r.ConstrainWithin(X3DRect(5, 0, 0, 20, 20, 20));
  EXPECT_EQ(r.GetBounds(), X3DRect(5, 2, 1, 9, 6, 2));
  EXPECT_EQ(r.GetMask()->GetBounds(), r.GetBounds());
}

TEST_F(RegionTest, MapScalesBoxAndMask) {
  X3DRegion simple(X3DRect(1, 1, 0, 3, 3, 1));
  simple.Map(X3DRect(0, 0, 0, 4, 4, 1), X3DRect(0, 0, 0, 8, 8, 1), false);
  EXPECT_EQ(simple.GetBounds(), X3DRect(2, 2, 0, 6, 6, 1));

  // A checker of 2 x 2 doubled: each voxel becomes a 2 x 2 block.
  X3DRegion checker = MakeRegion(X3DRect(0, 0, 0, 2, 2, 1), [](SInt32 x, SInt32 y, SInt32) { return x == y; });
  checker.Map(X3DRect(0, 0, 0, 2, 2, 1), X3DRect(10, 10, 0, 14, 14, 1), true);
  EXPECT_EQ(checker.GetBounds(), X3DRect(10, 10, 0, 14, 14, 1));
  EXPECT_EQ(checker.GetVolume(), 8u);
  EXPECT_TRUE(Matches(checker, checker.GetBounds(),
                      [](SInt32 x, SInt32 y, SInt32) { return (x - 10) / 2 == (y - 10) / 2; }));

  // Shrunk to nothing.
  X3DRegion tiny(X3DRect(0, 0, 0, 1, 1, 1));
  tiny.Map(X3DRect(0, 0, 0, 100, 100, 1), X3DRect(0, 0, 0, 1, 1, 1), true);
  EXPECT_TRUE(tiny.IsEmpty());

  // Only the part in the source frame is carried.
  X3DRegion wide(X3DRect(0, 0, 0, 10, 1, 1));
  wide.MapSubRect(X3DRect(0, 0, 0, 5, 1, 1), X3DRect(0, 0, 0, 10, 1, 1), false);
  EXPECT_EQ(wide.GetBounds(), X3DRect(0, 0, 0, 10, 1, 1));
  X3DRegion part = MakeRegion(X3DRect(0, 0, 0, 10, 1, 1), [](SInt32 x, SInt32, SInt32) { return x % 3 == 0; });
  part.MapSubRect(X3DRect(0, 0, 0, 5, 1, 1), X3DRect(0, 0, 0, 5, 1, 1), false);
  EXPECT_EQ(part.GetVolume(), 2u);
  EXPECT_EQ(part.GetBounds(), X3DRect(0, 0, 0, 4, 1, 1));
}

// ------------------------------------------------------------ planes

TEST_F(RegionTest, PlanesStayInPlaceAndOutsideIsEmpty) {
  // A cone-like stack: plane z holds the square of side z + 1.
  X3DRegion stack = MakeRegion(X3DRect(0, 0, 0, 4, 4, 4),
                               [](SInt32 x, SInt32 y, SInt32 z) { return x <= z && y <= z; });
  X3DRegion plane = stack.XYPlaneToRegion(1);
  EXPECT_TRUE(plane.IsSimple());
  EXPECT_EQ(plane.GetBounds(), X3DRect(0, 0, 1, 2, 2, 2));
  EXPECT_TRUE(stack.XYPlaneToRegion(4).IsEmpty());
  EXPECT_TRUE(stack.XYPlaneToRegion(-1).IsEmpty());

  X3DRegion xz = stack.XZPlaneToRegion(2);
  EXPECT_EQ(xz.GetBounds().GetHeight(), 1u);
  EXPECT_EQ(xz.GetBounds().top, 2);
  EXPECT_TRUE(Matches(xz, X3DRect(0, 2, 0, 4, 3, 4), [](SInt32 x, SInt32, SInt32 z) { return z >= 2 && x <= z; }));
  X3DRegion yz = stack.YZPlaneToRegion(3);
  EXPECT_TRUE(yz.IsSimple());
  EXPECT_EQ(yz.GetBounds(), X3DRect(3, 0, 3, 4, 4, 4));

  X3DRegion box(X3DRect(0, 0, 0, 2, 3, 4));
  EXPECT_EQ(box.XZPlaneToRegion(1).GetBounds(), X3DRect(0, 1, 0, 2, 2, 4));
}

TEST_F(RegionTest, MergesProjectAlongAnAxis) {
  // Two voxels in different planes and rows.
  X3DRegion two = MakeRegion(X3DRect(0, 0, 0, 5, 5, 5), [](SInt32 x, SInt32 y, SInt32 z) {
    return (x == 1 && y == 1 && z == 1) || (x == 3 && y == 2 && z == 4);
  });
  X3DRegion xy = two.XYMergeToRegion();
  EXPECT_EQ(xy.GetBounds(), X3DRect(1, 1, 1, 4, 3, 2));
  EXPECT_EQ(xy.GetVolume(), 2u);
  EXPECT_TRUE(Matches(xy, xy.GetBounds(),
                      [](SInt32 x, SInt32 y, SInt32) { return (x == 1 && y == 1) || (x == 3 && y == 2); }));
  X3DRegion xz = two.XZMergeToRegion();
  EXPECT_EQ(xz.GetBounds().GetHeight(), 1u);
  EXPECT_EQ(xz.GetVolume(), 2u);
  X3DRegion yz = two.YZMergeToRegion();
  EXPECT_EQ(yz.GetBounds().GetWidth(), 1u);
  EXPECT_TRUE(Matches(yz, yz.GetBounds(),
                      [](SInt32, SInt32 y, SInt32 z) { return (y == 1 && z == 1) || (y == 2 && z == 4); }));

  X3DRegion box(X3DRect(0, 0, 0, 2, 3, 4));
  EXPECT_EQ(box.XYMergeToRegion().GetBounds(), X3DRect(0, 0, 0, 2, 3, 1));
  EXPECT_TRUE(X3DRegion().XYMergeToRegion().IsEmpty());
}

// ------------------------------------------------------------ centroids

TEST_F(RegionTest, CentroidAndMomentsOfBoxesAndMasks) {
  X3DPointF c;
  X3DRegion(X3DRect(0, 2, -4, 4, 3, 0)).CalculateCentroid(c);
  EXPECT_FLOAT_EQ(c.x, 1.5f);
  EXPECT_FLOAT_EQ(c.y, 2.0f);
  EXPECT_FLOAT_EQ(c.z, -2.5f);

  X3DRegion l = MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0; });
  l.CalculateCentroid(c);
  EXPECT_FLOAT_EQ(c.x, 3.0f / 5);
  EXPECT_FLOAT_EQ(c.y, 3.0f / 5);

  // About the point (1, 0, 0): x offsets -1, 0, 1, -1, -1; squares 1, 0, 1, 1, 1.
  X3DPointF first, second;
  l.CalculateCentroid(X3DPointF(1.0f, 0.0f, 0.0f), first, second);
  EXPECT_FLOAT_EQ(first.x, -2.0f / 5);
  EXPECT_FLOAT_EQ(second.x, 4.0f / 5);
  EXPECT_FLOAT_EQ(second.y, (0 + 0 + 0 + 1 + 4) / 5.0f);

  // A box about its own centre: the second moment is the variance (n^2 - 1) / 12.
  X3DRegion(X3DRect(0, 0, 0, 5, 1, 1)).CalculateCentroid(X3DPointF(2.0f, 0.0f, 0.0f), first, second);
  EXPECT_FLOAT_EQ(first.x, 0.0f);
  EXPECT_FLOAT_EQ(second.x, 2.0f);
  EXPECT_FLOAT_EQ(second.y, 0.0f);

  X3DRegion().CalculateCentroid(c);
  EXPECT_TRUE(std::isnan(c.x));
}

// ------------------------------------------------------------ streams

TEST_F(RegionTest, SimpleRegionStreamIsByteExact) {
  X3DRegion r(X3DRect(-1, 2, 3, 4, 5, 6));
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    // Object word, layer tag, the box as an object (word, tag, left, right,
    // top, bottom, front, back), then the simple flag.
    Bytes expected(order);
    expected.U32(65645).U32(65645).U32(100).U32(100);
    for (SInt32 v : {-1, 4, 2, 5, 3, 6}) expected.U32(UInt32(v));
    expected.U8(0);
    EXPECT_EQ(WriteToBytes(r, order), expected.Get());
    auto back = ReadFromBytes<X3DRegion>(expected.Get(), order);
    EXPECT_TRUE(back->IsSimple());
    EXPECT_EQ(back->GetBounds(), r.GetBounds());
  }
}

TEST_F(RegionTest, ComplexRegionRoundTrips) {
  X3DRegion r = MakeRegion(X3DRect(-3, 0, 0, 5, 4, 2), [](SInt32 x, SInt32 y, SInt32 z) { return (x + y + z) % 3 == 0; });
  ASSERT_TRUE(r.IsComplex());
  std::vector<UInt8> bytes = WriteToBytes(r);
  EXPECT_EQ(bytes[40], 1);  // the complex flag behind the box
  auto back = ReadFromBytes<X3DRegion>(bytes);
  EXPECT_TRUE(back->IsComplex());
  EXPECT_TRUE(back->IsEqual(r));
  EXPECT_GT(r.GetStreamUsage(), X3DRect().GetStreamUsage());
}

TEST_F(RegionTest, VersionZeroConvertsTheOlderMaskObject) {
  // Version 0 named its mask by an older class; any volume class the
  // registry knows is read and converted to a mask.
  XGrey8Volume old(X3DRect(0, 0, 0, 3, 1, 1));
  FillWith(old, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 1 ? 0 : 255); });
  XMemoryStream stream;
  stream.WriteVersion(XVersion(109, 0));
  stream.WriteVersion(XVersion(109, 0));
  stream.WriteObject(X3DRect(0, 0, 0, 3, 1, 1));
  stream.Write8(1);
  stream.WriteObject(old);
  stream.SeekTo(0);
  std::unique_ptr<X3DRegion> region = stream.ReadObjectAs<X3DRegion>();
  ASSERT_TRUE(region->IsComplex());
  EXPECT_EQ(typeid(*region->GetMask()), typeid(XMaskVolume));
  EXPECT_TRUE(Matches(*region, X3DRect(0, 0, 0, 3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x != 1; }));

  // An older mask wider than the box is cut to it; a box wider than the
  // mask asks for voxels the stream never held.
  auto version0 = [&](const X3DRect& inBox) {
    XMemoryStream s;
    s.WriteVersion(XVersion(109, 0));
    s.WriteVersion(XVersion(109, 0));
    s.WriteObject(inBox);
    s.Write8(1);
    s.WriteObject(old);
    s.SeekTo(0);
    return s.ReadObjectAs<X3DRegion>();
  };
  std::unique_ptr<X3DRegion> cut = version0(X3DRect(1, 0, 0, 3, 1, 1));
  EXPECT_TRUE(Matches(*cut, X3DRect(1, 0, 0, 3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 2; }));
  EXPECT_EQ(ErrorOf([&] { version0(X3DRect(0, 0, 0, 300, 300, 300)); }), kErrBadStreamSize);

  // Version 0 and simple: box and flag only.
  std::vector<UInt8> simple =
      Bytes().U32(109).U32(109).U32(100).U32(100).U32(0).U32(1).U32(0).U32(1).U32(0).U32(1).U8(0).Get();
  EXPECT_EQ(ReadFromBytes<X3DRegion>(simple)->GetBounds(), X3DRect(0, 0, 0, 1, 1, 1));
}

TEST_F(RegionTest, BadStreamsThrowWithoutCrashing) {
  auto body = [](UInt32 inTag) {
    return Bytes().U32(65645).U32(inTag).U32(100).U32(100).U32(0).U32(1).U32(0).U32(1).U32(0).U32(1).U8(0).Get();
  };
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(body(XVersion(109, 2).GetValue())); }), kErrNewerVersion);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(body(100)); }), kErrWrongClass);

  // A mask whose box is not the region's.
  X3DRegion r = MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), [](SInt32 x, SInt32 y, SInt32) { return x == y; });
  std::vector<UInt8> bytes = WriteToBytes(r);
  std::vector<UInt8> shifted = bytes;
  shifted[16] = 1;  // the box's left, little-endian low byte
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(shifted); }), kErrBadStreamSize);

  // Something other than a box where the box belongs.
  std::vector<UInt8> noBox = Bytes().U32(65645).U32(65645).U32(109).Get();
  EXPECT_NE(ErrorOf([&] { ReadFromBytes<X3DRegion>(noBox); }), 0);

  // Every truncation fails cleanly.
  for (size_t n = 0; n < bytes.size(); n += 7) {
    std::vector<UInt8> cut(bytes.begin(), bytes.begin() + n);
    EXPECT_NE(ErrorOf([&] { ReadFromBytes<X3DRegion>(cut); }), 0) << n;
  }
}
