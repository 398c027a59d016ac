// X3DRegion: the two forms, cropping, set algebra, morphology, planes,
// centroids and the stream form.
#include <cmath>
#include <functional>
#include <memory>

#include "VolumeTestSupport.h"
#include "volume/X3DRegion.h"

using namespace mirelan;

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

X3DRegion MakeRegion(const X3DRect& inBox, const XVoxelTest& inSet) {
  XMaskVolume mask(inBox);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(inSet(x, y, z) ? 255 : 0); });
  return X3DRegion(mask);
}

// Membership over a box, by the region's own rule.
bool Matches(const X3DRegion& inRegion, const X3DRect& inBox, const XVoxelTest& inExpected) {
  XLock lock(inRegion, kLockRead);
  for (SInt32 z = inBox.front; z < inBox.back; ++z)
    for (SInt32 y = inBox.top; y < inBox.bottom; ++y)
      for (SInt32 x = inBox.left; x < inBox.right; ++x)
        if (inRegion.Contains(x, y, z) != inExpected(x, y, z)) return false;
  return true;
}

bool Diagonal(SInt32 x, SInt32 y, SInt32) { return x == y; }

// A simple region of the given box (an empty one sits at the origin).
testing::AssertionResult IsSimpleBox(const X3DRegion& inRegion, const X3DRect& inBox) {
  if (inRegion.IsSimple() && inRegion.GetBounds() == inBox) return testing::AssertionSuccess();
  const X3DRect& b = inRegion.GetBounds();
  return testing::AssertionFailure() << (inRegion.IsSimple() ? "simple" : "complex") << " (" << b.left << ", " << b.top
                                     << ", " << b.front << ", " << b.right << ", " << b.bottom << ", " << b.back << ")";
}

const X3DRect kEmptyAtOrigin;

}  // namespace

// ------------------------------------------------------------ forms and cropping

TEST_F(RegionTest, MasksAreCroppedToTheTightBoxAndFullMasksBecomeSimple) {
  X3DRegion full = MakeRegion(X3DRect(-4, 2, 1, 4, 6, 3), [](SInt32, SInt32, SInt32) { return true; });
  EXPECT_TRUE(IsSimpleBox(full, X3DRect(-4, 2, 1, 4, 6, 3)));
  X3DRegion none = MakeRegion(X3DRect(5, 5, 5, 9, 9, 9), [](SInt32, SInt32, SInt32) { return false; });
  EXPECT_TRUE(IsSimpleBox(none, kEmptyAtOrigin));
  // Two voxels on a diagonal: the box shrinks to them, the mask stays, cut to the box.
  X3DRegion two = MakeRegion(X3DRect(0, 0, 0, 10, 10, 10), [](SInt32 x, SInt32 y, SInt32 z) {
    return (x == 2 && y == 3 && z == 4) || (x == 5 && y == 7 && z == 6);
  });
  EXPECT_TRUE(two.IsComplex());
  EXPECT_EQ(two.GetBounds(), X3DRect(2, 3, 4, 6, 8, 7));
  EXPECT_EQ(two.GetMask()->GetBounds(), two.GetBounds());
  EXPECT_EQ(two.GetVolume(), 2u);
  // Cut to a rectangle first: the second voxel falls away and the rest fills its box.
  XMaskVolume mask(X3DRect(0, 0, 0, 10, 10, 10));
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x == 2 && y == 3 && z == 4) || x == 9 ? 255 : 0); });
  X3DRegion cut(mask, X3DRect(0, 0, 0, 5, 5, 5));
  EXPECT_TRUE(IsSimpleBox(cut, X3DRect(2, 3, 4, 3, 4, 5)));
}

TEST_F(RegionTest, CroppingAndCountingFollowTheTopBitOnLongRows) {
  // Scattered bytes of every kind in rows longer than a machine word: the
  // crop box and the count must agree with a plain byte-by-byte reckoning.
  for (UInt32 seed : {1u, 7u, 99u, 2024u}) {
    const X3DRect box(-20, 3, 1, 45, 9, 4);
    UInt32 state = seed, count = 0;
    auto next = [&] { return (state = state * 1103515245u + 12345u) >> 16; };
    X3DRect tight;
    XMaskVolume mask(box);
    FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) {
      // Set bytes only inside a band, so that the crop has work to do.
      UInt8 v = UInt8(x < -11 + SInt32(seed % 5) || x > 37 || y == 3 ? next() % 128 : next() % 256);
      if (v > 127) {
        X3DRect voxel(x, y, z, x + 1, y + 1, z + 1);
        if (count++) tight.Union(voxel); else tight = voxel;
      }
      return v;
    });
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
  }
  EXPECT_THROW(region.Contains(0, 0, 0), XInternalError);  // nor after the lock
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
  X3DRegion a = MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), Diagonal);
  X3DRegion b(a), c;
  b.Offset(10, 0, 0);
  EXPECT_EQ(a.GetBounds().left, 0);
  EXPECT_EQ(b.GetMask()->GetBounds().left, 10);
  c = a;
  c.Union(X3DRegion(X3DRect(0, 0, 0, 3, 3, 1)));
  EXPECT_TRUE(c.IsSimple());
  EXPECT_TRUE(a.IsComplex());
  EXPECT_EQ(a.GetVolume(), 3u);
}

// ------------------------------------------------------------ comparisons and counts

TEST_F(RegionTest, EqualityComparesFormsBeforeVoxelsAndCropLocksNest) {
  const X3DRect box(0, 0, 0, 4, 4, 1);
  X3DRegion simple(box);
  EXPECT_TRUE(simple.IsEqual(X3DRegion(box)));
  EXPECT_FALSE(simple.IsEqual(X3DRegion(X3DRect(0, 0, 0, 4, 4, 2))));
  // Under a crop lock a region can hold every voxel of its box with a mask:
  // the same voxels, yet not equal to the simple form. Locks nest; the last unlock crops.
  X3DRegion held(X3DRect(0, 0, 0, 2, 4, 1));
  held.LockCrop();
  held.LockCrop();
  held.Union(X3DRegion(X3DRect(2, 0, 0, 4, 4, 1)));
  ASSERT_TRUE(held.IsComplex());
  EXPECT_EQ(held.GetBounds(), box);
  EXPECT_FALSE(held.IsEqual(simple));
  EXPECT_FALSE(simple.IsEqual(held));
  held.UnlockCrop();
  EXPECT_TRUE(held.IsComplex());
  held.UnlockCrop();
  EXPECT_TRUE(held.IsSimple());
  EXPECT_TRUE(held.IsEqual(simple));
  EXPECT_THROW(held.UnlockCrop(), XInternalError);

  X3DRegion a = MakeRegion(box, Diagonal), b = MakeRegion(box, Diagonal);
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
  X3DRegion sparse = MakeRegion(X3DRect(0, 0, 0, 6, 6, 2), Diagonal);
  ASSERT_EQ(sparse.GetVolume(), 12u);  // the complex branch is pinned on long rows above
  EXPECT_FALSE(sparse.IsVolumeGreaterThanOrEqualTo(73));  // more than the box holds
  EXPECT_TRUE(sparse < box);
  EXPECT_FALSE(box < sparse);
  // The simple count is 32-bit, as stored regions have always counted.
  EXPECT_EQ(X3DRegion(X3DRect(0, 0, 0, 65536, 65536, 2)).GetVolume(), 0u);
}

TEST_F(RegionTest, ContainsAndTouchOnSimpleAndComplexRegions) {
  const X3DRect area(0, 0, 0, 10, 10, 1);
  X3DRegion big(area), small(X3DRect(2, 2, 0, 4, 4, 1)), far(X3DRect(20, 0, 0, 22, 2, 1));
  EXPECT_TRUE(big.Contains(small));
  EXPECT_FALSE(small.Contains(big));
  EXPECT_TRUE(big.DoesTouch(small));
  EXPECT_FALSE(big.DoesTouch(far));
  EXPECT_TRUE(big.Contains(X3DRegion()));
  EXPECT_FALSE(big.DoesTouch(X3DRegion()));
  X3DRegion black = MakeRegion(area, [](SInt32 x, SInt32 y, SInt32) { return (x + y) % 2 == 0; });
  X3DRegion white = MakeRegion(area, [](SInt32 x, SInt32 y, SInt32) { return (x + y) % 2 == 1; });
  X3DRegion onWhite(X3DRect(1, 0, 0, 2, 1, 1)), onBlack(X3DRect(0, 0, 0, 1, 1, 1));
  X3DRegion fewer = MakeRegion(area, Diagonal);
  EXPECT_TRUE(big.Contains(black));
  EXPECT_FALSE(black.Contains(big));
  EXPECT_TRUE(black.Contains(onBlack));
  EXPECT_FALSE(black.Contains(onWhite));
  EXPECT_TRUE(black.Contains(fewer));
  EXPECT_FALSE(fewer.Contains(black));
  EXPECT_FALSE(black.DoesTouch(white));
  EXPECT_TRUE(black.DoesTouch(onBlack));
  EXPECT_FALSE(black.DoesTouch(onWhite));
}

// ------------------------------------------------------------ set algebra

TEST_F(RegionTest, SetAlgebraOfBoxes) {
  const X3DRect none, box4(0, 0, 0, 4, 4, 1), cube(0, 0, 0, 4, 4, 4);
  const struct { X3DRect a; char op; X3DRect b, result; } cases[] = {
      {X3DRect(0, 0, 0, 10, 10, 1), '&', X3DRect(5, 5, 0, 15, 15, 1), X3DRect(5, 5, 0, 10, 10, 1)},
      {X3DRect(0, 0, 0, 5, 5, 1), '|', X3DRect(5, 0, 0, 8, 5, 1), X3DRect(0, 0, 0, 8, 5, 1)},  // touching boxes
      {none, '|', X3DRect(100, 100, 0, 102, 102, 1), X3DRect(100, 100, 0, 102, 102, 1)},  // the origin is cropped away
      {cube, '^', cube, none},  // equal regions: nothing
      {X3DRect(1, 1, 1, 2, 2, 2), '^', none, X3DRect(1, 1, 1, 2, 2, 2)},
      {none, '^', X3DRect(3, 3, 3, 4, 4, 4), X3DRect(3, 3, 3, 4, 4, 4)},
      {box4, '-', X3DRect(10, 10, 0, 12, 12, 1), box4},  // a disjoint region takes nothing away
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(testing::Message() << "case " << (&t - cases) << ": " << t.op);
    X3DRegion r(t.a);
    const X3DRegion b(t.b);
    if (t.op == '&') r &= b; else if (t.op == '|') r |= b; else if (t.op == '^') r ^= b; else r -= b;
    EXPECT_TRUE(IsSimpleBox(r, t.result));
  }
  X3DRegion apart(X3DRect(0, 0, 0, 10, 10, 1));
  apart.Sect(X3DRegion(X3DRect(20, 0, 0, 30, 10, 1)));
  EXPECT_TRUE(apart.IsEmpty());
  EXPECT_TRUE(apart.IsSimple());
  X3DRegion all(X3DRect(0, 0, 0, 2, 2, 2));
  all.Difference(all);  // with itself
  EXPECT_TRUE(IsSimpleBox(all, kEmptyAtOrigin));
}

TEST_F(RegionTest, SetAlgebraWithMasks) {
  // An enclosing box leaves a complex region as it was; box with mask, mask with mask.
  X3DRegion d = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), Diagonal);
  d.Sect(X3DRegion(X3DRect(-1, -1, 0, 6, 6, 1)));
  EXPECT_TRUE(d.IsEqual(MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), Diagonal)));
  X3DRegion box(X3DRect(1, 1, 0, 4, 4, 1));
  box.Sect(d);
  EXPECT_TRUE(Matches(box, X3DRect(-2, -2, 0, 8, 8, 1), [](SInt32 x, SInt32 y, SInt32) { return x == y && x >= 1 && x < 4; }));
  EXPECT_EQ(box.GetMask()->GetBounds(), box.GetBounds());
  X3DRegion anti = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1), [](SInt32 x, SInt32 y, SInt32) { return x == 4 - y || x == y; });
  anti.Sect(d);
  EXPECT_TRUE(anti.IsEqual(d));
  // The union of an L is complex; painting the rest of its box makes it simple.
  X3DRegion l(X3DRect(0, 0, 0, 4, 1, 1));
  l += X3DRegion(X3DRect(0, 1, 0, 1, 4, 1));
  EXPECT_TRUE(l.IsComplex());
  EXPECT_EQ(l.GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));
  EXPECT_EQ(l.GetVolume(), 7u);
  l.Union(X3DRegion(X3DRect(1, 1, 0, 4, 4, 1)));
  EXPECT_TRUE(l.IsSimple());
  // Xor of equal masks is empty; a partial overlap keeps the two ends.
  auto ring = [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0; };
  X3DRegion c = MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), ring);
  c.Xor(MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), ring));
  EXPECT_TRUE(IsSimpleBox(c, kEmptyAtOrigin));
  X3DRegion ends(X3DRect(0, 0, 0, 6, 1, 1));
  ends.Xor(X3DRegion(X3DRect(2, 0, 0, 8, 1, 1)));
  EXPECT_TRUE(Matches(ends, X3DRect(-1, 0, 0, 10, 1, 1), [](SInt32 x, SInt32, SInt32) { return (x >= 0 && x < 2) || (x >= 6 && x < 8); }));
  // Difference carves a hole, then crops.
  X3DRegion a(X3DRect(0, 0, 0, 4, 4, 1));
  a.Difference(X3DRegion(X3DRect(1, 1, 0, 3, 3, 1)));
  EXPECT_TRUE(a.IsComplex());
  EXPECT_EQ(a.GetVolume(), 12u);
  a.Difference(X3DRegion(X3DRect(0, 0, 0, 4, 1, 1)));
  EXPECT_EQ(a.GetBounds(), X3DRect(0, 1, 0, 4, 4, 1));
  EXPECT_EQ(a.GetVolume(), 8u);
}

TEST_F(RegionTest, InvertIsTheComplementWithinTheBox) {
  X3DRegion simple(X3DRect(0, 0, 0, 3, 3, 3));
  simple.Invert();
  EXPECT_TRUE(simple.IsEmpty());
  X3DRegion frame = MakeRegion(X3DRect(0, 0, 0, 5, 5, 1),
                               [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0 || x == 4 || y == 4; });
  frame.Invert();
  EXPECT_TRUE(IsSimpleBox(frame, X3DRect(1, 1, 0, 4, 4, 1)));
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
  EXPECT_TRUE(Matches(dot, X3DRect(6, 6, 0, 15, 15, 1), [](SInt32 x, SInt32 y, SInt32) { return std::abs(x - 10) + std::abs(y - 10) <= 2; }));
  dot.Grow(-1, -1, 0);  // erosion by one cross step leaves the centre cross
  EXPECT_EQ(dot.GetVolume(), 5u);
  X3DRegion dot3(X3DRect(0, 0, 0, 1, 1, 1));
  dot3.Grow(1, 1, 1);
  EXPECT_EQ(dot3.GetVolume(), 7u);
  X3DRegion line(X3DRect(0, 0, 0, 1, 1, 1));  // one axis only: a line
  line.Grow(0, 0, 3);
  EXPECT_TRUE(IsSimpleBox(line, X3DRect(0, 0, -3, 1, 1, 4)));
}

TEST_F(RegionTest, ShrinkingMixedSignsAndOutlines) {
  X3DRegion box(X3DRect(0, 0, 0, 7, 7, 3));
  box.Shrink(2, 1, 0);
  EXPECT_TRUE(IsSimpleBox(box, X3DRect(2, 1, 0, 5, 6, 3)));
  X3DRegion mixed(X3DRect(0, 0, 0, 3, 3, 1));
  mixed.Grow(1, -1, 0);
  EXPECT_TRUE(IsSimpleBox(mixed, X3DRect(-1, 1, 0, 4, 2, 1)));
  EXPECT_EQ(mixed.GetCropLockCount(), 0u);
  X3DRegion gone(X3DRect(0, 0, 0, 2, 2, 2));
  gone.Shrink(1, 0, 0);
  EXPECT_TRUE(gone.IsEmpty());
  X3DRegion rim(X3DRect(0, 0, 0, 5, 5, 2));  // the outline is a rim in each plane
  rim.Outline(1);
  EXPECT_EQ(rim.GetVolume(), 2u * (25 - 9));
  EXPECT_TRUE(Matches(rim, X3DRect(0, 0, 0, 5, 5, 2), [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0 || x == 4 || y == 4; }));
  EXPECT_EQ(rim.GetCropLockCount(), 0u);
}

// ------------------------------------------------------------ placement and mapping

TEST_F(RegionTest, MovesCarryTheMaskAlong) {
  X3DRegion r = MakeRegion(X3DRect(0, 0, 0, 4, 4, 1), Diagonal);
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
  // A 2 x 2 diagonal doubled: each voxel becomes a 2 x 2 block.
  X3DRegion checker = MakeRegion(X3DRect(0, 0, 0, 2, 2, 1), Diagonal);
  checker.Map(X3DRect(0, 0, 0, 2, 2, 1), X3DRect(10, 10, 0, 14, 14, 1), true);
  EXPECT_EQ(checker.GetBounds(), X3DRect(10, 10, 0, 14, 14, 1));
  EXPECT_EQ(checker.GetVolume(), 8u);
  EXPECT_TRUE(Matches(checker, checker.GetBounds(), [](SInt32 x, SInt32 y, SInt32) { return (x - 10) / 2 == (y - 10) / 2; }));
  X3DRegion tiny(X3DRect(0, 0, 0, 1, 1, 1));  // shrunk to nothing
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
  X3DRegion stack = MakeRegion(X3DRect(0, 0, 0, 4, 4, 4), [](SInt32 x, SInt32 y, SInt32 z) { return x <= z && y <= z; });
  X3DRegion plane = stack.XYPlaneToRegion(1);
  EXPECT_TRUE(IsSimpleBox(plane, X3DRect(0, 0, 1, 2, 2, 2)));
  EXPECT_TRUE(stack.XYPlaneToRegion(4).IsEmpty());
  EXPECT_TRUE(stack.XYPlaneToRegion(-1).IsEmpty());
  X3DRegion xz = stack.XZPlaneToRegion(2);
  EXPECT_EQ(xz.GetBounds().GetHeight(), 1u);
  EXPECT_EQ(xz.GetBounds().top, 2);
  EXPECT_TRUE(Matches(xz, X3DRect(0, 2, 0, 4, 3, 4), [](SInt32 x, SInt32, SInt32 z) { return z >= 2 && x <= z; }));
  X3DRegion yz = stack.YZPlaneToRegion(3);
  EXPECT_TRUE(IsSimpleBox(yz, X3DRect(3, 0, 3, 4, 4, 4)));
  EXPECT_EQ(X3DRegion(X3DRect(0, 0, 0, 2, 3, 4)).XZPlaneToRegion(1).GetBounds(), X3DRect(0, 1, 0, 2, 2, 4));
}

TEST_F(RegionTest, MergesProjectAlongAnAxis) {
  // Two voxels in different planes and rows.
  X3DRegion two = MakeRegion(X3DRect(0, 0, 0, 5, 5, 5), [](SInt32 x, SInt32 y, SInt32 z) {
    return (x == 1 && y == 1 && z == 1) || (x == 3 && y == 2 && z == 4);
  });
  X3DRegion xy = two.XYMergeToRegion();
  EXPECT_EQ(xy.GetBounds(), X3DRect(1, 1, 1, 4, 3, 2));
  EXPECT_EQ(xy.GetVolume(), 2u);
  EXPECT_TRUE(Matches(xy, xy.GetBounds(), [](SInt32 x, SInt32 y, SInt32) { return (x == 1 && y == 1) || (x == 3 && y == 2); }));
  X3DRegion xz = two.XZMergeToRegion();
  EXPECT_EQ(xz.GetBounds().GetHeight(), 1u);
  EXPECT_EQ(xz.GetVolume(), 2u);
  X3DRegion yz = two.YZMergeToRegion();
  EXPECT_EQ(yz.GetBounds().GetWidth(), 1u);
  EXPECT_TRUE(Matches(yz, yz.GetBounds(), [](SInt32, SInt32 y, SInt32 z) { return (y == 1 && z == 1) || (y == 2 && z == 4); }));
  EXPECT_EQ(X3DRegion(X3DRect(0, 0, 0, 2, 3, 4)).XYMergeToRegion().GetBounds(), X3DRect(0, 0, 0, 2, 3, 1));
  EXPECT_TRUE(X3DRegion().XYMergeToRegion().IsEmpty());
}

// ------------------------------------------------------------ centroids

TEST_F(RegionTest, CentroidAndMomentsOfBoxesAndMasks) {
  X3DPointF c, first, second;
  X3DRegion(X3DRect(0, 2, -4, 4, 3, 0)).CalculateCentroid(c);
  EXPECT_EQ(c, X3DPointF(1.5f, 2.0f, -2.5f));
  X3DRegion l = MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), [](SInt32 x, SInt32 y, SInt32) { return x == 0 || y == 0; });
  l.CalculateCentroid(c);
  EXPECT_FLOAT_EQ(c.x, 3.0f / 5);
  EXPECT_FLOAT_EQ(c.y, 3.0f / 5);
  // About the point (1, 0, 0): x offsets -1, 0, 1, -1, -1; squares 1, 0, 1, 1, 1.
  l.CalculateCentroid(X3DPointF(1.0f, 0.0f, 0.0f), first, second);
  EXPECT_FLOAT_EQ(first.x, -2.0f / 5);
  EXPECT_FLOAT_EQ(second.x, 4.0f / 5);
  EXPECT_FLOAT_EQ(second.y, (0 + 0 + 0 + 1 + 4) / 5.0f);
  // A box about its own centre: the second moment is the variance (n^2 - 1) / 12.
  X3DRegion(X3DRect(0, 0, 0, 5, 1, 1)).CalculateCentroid(X3DPointF(2.0f, 0.0f, 0.0f), first, second);
  EXPECT_EQ(first.x, 0.0f);
  EXPECT_FLOAT_EQ(second.x, 2.0f);
  EXPECT_EQ(second.y, 0.0f);
  X3DRegion().CalculateCentroid(c);
  EXPECT_TRUE(std::isnan(c.x));
}

// ------------------------------------------------------------ streams

TEST_F(RegionTest, SimpleStreamIsByteExactAndComplexRoundTrips) {
  X3DRegion r(X3DRect(-1, 2, 3, 4, 5, 6));
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    // Object word, layer tag, the box as an object (word, tag, left, right,
    // top, bottom, front, back), then the simple flag.
    Bytes expected(order);
    expected.U32(65645).U32(65645).U32(100).U32(100);
    for (SInt32 v : {-1, 4, 2, 5, 3, 6}) expected.U32(UInt32(v));
    EXPECT_EQ(WriteToBytes(r, order), expected.U8(0).Get());
    auto back = ReadFromBytes<X3DRegion>(expected.Get(), order);
    EXPECT_TRUE(back->IsSimple());
    EXPECT_EQ(back->GetBounds(), r.GetBounds());
  }
  X3DRegion complex = MakeRegion(X3DRect(-3, 0, 0, 5, 4, 2), [](SInt32 x, SInt32 y, SInt32 z) { return (x + y + z) % 3 == 0; });
  ASSERT_TRUE(complex.IsComplex());
  std::vector<UInt8> bytes = WriteToBytes(complex);
  EXPECT_EQ(bytes[40], 1);  // the complex flag behind the box
  auto back = ReadFromBytes<X3DRegion>(bytes);
  EXPECT_TRUE(back->IsComplex());
  EXPECT_TRUE(back->IsEqual(complex));
  EXPECT_GT(complex.GetStreamUsage(), X3DRect().GetStreamUsage());
}

TEST_F(RegionTest, VersionZeroConvertsTheOlderMaskObject) {
  // Version 0 named its mask by an older class; any volume class the
  // registry knows is read and converted to a mask.
  XGrey8Volume old(X3DRect(0, 0, 0, 3, 1, 1));
  FillWith(old, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 1 ? 0 : 255); });
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
  std::unique_ptr<X3DRegion> region = version0(X3DRect(0, 0, 0, 3, 1, 1));
  ASSERT_TRUE(region->IsComplex());
  EXPECT_EQ(typeid(*region->GetMask()), typeid(XMaskVolume));
  EXPECT_TRUE(Matches(*region, X3DRect(0, 0, 0, 3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x != 1; }));
  // An older mask wider than the box is cut to it; a box wider than the
  // mask asks for voxels the stream never held.
  std::unique_ptr<X3DRegion> cut = version0(X3DRect(1, 0, 0, 3, 1, 1));
  EXPECT_TRUE(Matches(*cut, X3DRect(1, 0, 0, 3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 2; }));
  EXPECT_EQ(ErrorOf([&] { version0(X3DRect(0, 0, 0, 300, 300, 300)); }), kErrBadStreamSize);
  // Version 0 and simple: box and flag only.
  std::vector<UInt8> simple = Bytes().U32(109).U32(109).U32(100).U32(100).U32(0).U32(1).U32(0).U32(1).U32(0).U32(1).U8(0).Get();
  EXPECT_EQ(ReadFromBytes<X3DRegion>(simple)->GetBounds(), X3DRect(0, 0, 0, 1, 1, 1));
}

TEST_F(RegionTest, BadStreamsThrowWithoutCrashing) {
  auto body = [](UInt32 inTag) {
    return Bytes().U32(65645).U32(inTag).U32(100).U32(100).U32(0).U32(1).U32(0).U32(1).U32(0).U32(1).U8(0).Get();
  };
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(body(XVersion(109, 2).GetValue())); }), kErrNewerVersion);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(body(100)); }), kErrWrongClass);
  // A mask whose box is not the region's.
  std::vector<UInt8> bytes = WriteToBytes(MakeRegion(X3DRect(0, 0, 0, 3, 3, 1), Diagonal)), shifted = bytes;
  shifted[16] = 1;  // the box's left, little-endian low byte
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DRegion>(shifted); }), kErrBadStreamSize);
  // Something other than a box where the box belongs.
  EXPECT_NE(ErrorOf([&] { ReadFromBytes<X3DRegion>(Bytes().U32(65645).U32(65645).U32(109).Get()); }), 0);
  // Every truncation fails cleanly.
  for (size_t n = 0; n < bytes.size(); n += 7) {
    std::vector<UInt8> cut(bytes.begin(), bytes.begin() + n);
    EXPECT_NE(ErrorOf([&] { ReadFromBytes<X3DRegion>(cut); }), 0) << n;
  }
}
