// XVolumeSeedThresholdTool: the modes on every served type, the tolerance in
// pixel units, seed clamping, the texture test and its cube, and the
// connected-to-seed stage.
#include <functional>
#include <memory>

#include "SegmentationTestSupport.h"
#include "rendering/XImageRenderer.h"
#include "segmentation/XVolumeSeedThresholdTool.h"

using namespace segtest;
using Tool = XVolumeSeedThresholdTool;
using volumetest::ErrorOf;
using volumetest::FillWith;

namespace {

class SeedThreshold : public ToolTest {};

using LevelFn = std::function<SInt32(SInt32, SInt32, SInt32)>;

// One served type: a volume whose voxels stand for small levels 0 .. 7, and a
// renderer window such that a tolerance of 0.25 is two levels.
struct TypeCase {
  const char* name;
  std::function<std::unique_ptr<XVolume>(const X3DRect&, const LevelFn&)> make;
};

template <class V, class Make>
std::unique_ptr<XVolume> Volume(const X3DRect& inBox, const LevelFn& inLevel, Float64 inWhite, Make inVoxel) {
  auto volume = std::make_unique<V>(inBox);
  FillWith(*volume, [&](SInt32 x, SInt32 y, SInt32 z) { return inVoxel(inLevel(x, y, z)); });
  volume->GetPlaneRenderer().SetBlack(0.0);
  volume->GetPlaneRenderer().SetWhite(inWhite);
  return volume;
}

std::vector<TypeCase> ServedTypes() {
  return {
      {"Grey8", [](auto& b, auto& l) { return Volume<XGrey8Volume>(b, l, 8, [](SInt32 v) { return UInt8(v); }); }},
      {"Mask", [](auto& b, auto& l) { return Volume<XMaskVolume>(b, l, 8, [](SInt32 v) { return UInt8(v); }); }},
      {"Grey16",
       [](auto& b, auto& l) { return Volume<XGrey16Volume>(b, l, 8 * 257, [](SInt32 v) { return UInt16(v * 257); }); }},
      {"FP", [](auto& b, auto& l) { return Volume<XFPVolume>(b, l, 2.0, [](SInt32 v) { return Float32(v * 0.25f); }); }},
      // 0.25 of 255 is 63 whatever the renderer says: levels 31 apart.
      {"ARGB32", [](auto& b, auto& l) {
         return Volume<XARGB32Volume>(b, l, 8, [](SInt32 v) { return XARGB32Colour(255, v * 31, v * 31, v * 31); });
       }},
      {"RGB48", [](auto& b, auto& l) {
         return Volume<XRGB48Volume>(b, l, 8 * 257, [](SInt32 v) { return XRGB48Colour(v * 257, v * 257, v * 257); });
       }},
  };
}

std::vector<X3DPoint> PointsWhere(const X3DRect& inBox, const std::function<bool(SInt32, SInt32, SInt32)>& inTest) {
  std::vector<X3DPoint> points;
  for (SInt32 z = inBox.front; z < inBox.back; ++z)
    for (SInt32 y = inBox.top; y < inBox.bottom; ++y)
      for (SInt32 x = inBox.left; x < inBox.right; ++x)
        if (inTest(x, y, z)) points.emplace_back(x, y, z);
  return points;
}

X3DRegion Apply(Tool::XMode inMode, Tool::XSelectionType inType, Float32 inTolerance, const XVolume& inVolume,
                const X3DPoint& inSeed) {
  Tool tool(inMode, inType);
  tool.SetTolerance(inTolerance);
  return tool.ApplyTool(inVolume, inSeed);
}

}  // namespace

// ------------------------------------------------------------------ the modes per type

TEST_F(SeedThreshold, EachModeOnEachServedType) {
  const X3DRect box(-2, 1, 0, 4, 5, 3);
  const LevelFn level = [](SInt32 x, SInt32 y, SInt32 z) { return (x + 2 * y + 3 * z + 16) % 8; };
  const X3DPoint seed(1, 1, 0);
  const SInt32 s = level(seed.x, seed.y, seed.z);
  ASSERT_EQ(s, 3);
  for (const TypeCase& c : ServedTypes()) {
    SCOPED_TRACE(c.name);
    const std::unique_ptr<XVolume> volume = c.make(box, level);
    EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, Tool::kAllMatches, 0.25f, *volume, seed)),
              PointsWhere(box, [&](SInt32 x, SInt32 y, SInt32 z) { return std::abs(level(x, y, z) - s) <= 2; }));
    EXPECT_EQ(VoxelsOf(Apply(Tool::kBrighter, Tool::kAllMatches, 0.9f, *volume, seed)),
              PointsWhere(box, [&](SInt32 x, SInt32 y, SInt32 z) { return level(x, y, z) >= s; }));
    EXPECT_EQ(VoxelsOf(Apply(Tool::kDarker, Tool::kAllMatches, 0.9f, *volume, seed)),
              PointsWhere(box, [&](SInt32 x, SInt32 y, SInt32 z) { return level(x, y, z) <= s; }));
    // Constant data is smooth everywhere, whatever the seed.
    const std::unique_ptr<XVolume> flat = c.make(box, [](SInt32, SInt32, SInt32) { return 5; });
    const X3DRegion smooth = Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, *flat, seed);
    EXPECT_TRUE(smooth.IsSimple());
    EXPECT_EQ(smooth.GetBounds(), box);
  }
}

TEST_F(SeedThreshold, UnservedTypesAreRefused) {
  for (const Tool::XMode mode : {Tool::kSimilar, Tool::kBrighter, Tool::kDarker, Tool::kTexture}) {
    XBGRA32Volume bgra(2, 2, 1);
    XGrey32Volume labels(2, 2, 1);
    EXPECT_EQ(ErrorOf([&] { Apply(mode, Tool::kAllMatches, 0.1f, bgra, X3DPoint(0, 0, 0)); }), kErrNotForPixelType);
    EXPECT_EQ(ErrorOf([&] { Apply(mode, Tool::kConnectedToSeed, 0.1f, labels, X3DPoint(0, 0, 0)); }),
              kErrNotForPixelType);
  }
}

TEST_F(SeedThreshold, ModeOutOfRangeFailsThePrecondition) {
  XGrey8Volume volume(2, 2, 1);
  EXPECT_THROW(Apply(Tool::XMode(4), Tool::kAllMatches, 0.1f, volume, X3DPoint(0, 0, 0)), XInternalError);
}

// ------------------------------------------------------------------ tolerance

TEST_F(SeedThreshold, ToleranceIsAFractionOfTheRenderersWindow) {
  auto grey = volumetest::Row<XGrey8Volume>({50, 60, 69, 70, 71, 80, 90});
  grey->GetPlaneRenderer().SetBlack(20.0);
  grey->GetPlaneRenderer().SetWhite(120.0);  // 0.1 of 100 is 10
  const X3DRegion r = Apply(Tool::kSimilar, Tool::kAllMatches, 0.1f, *grey, X3DPoint(3, 0, 0));
  EXPECT_EQ(VoxelsOf(r), PointsWhere(X3DRect(7, 1, 1), [](SInt32 x, SInt32, SInt32) { return x >= 1 && x <= 5; }));
  // Truncated: 0.109 of 100 is still 10.
  EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, Tool::kAllMatches, 0.109f, *grey, X3DPoint(3, 0, 0))), VoxelsOf(r));

  auto fp = volumetest::Row<XFPVolume>({0.5f, 0.74f, 0.76f, 1.0f, 1.24f, 1.26f});
  fp->GetPlaneRenderer().SetBlack(1.0);
  fp->GetPlaneRenderer().SetWhite(2.0);  // 0.25 of 1.0, kept as float
  EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, Tool::kAllMatches, 0.25f, *fp, X3DPoint(3, 0, 0))),
            PointsWhere(X3DRect(6, 1, 1), [](SInt32 x, SInt32, SInt32) { return x >= 2 && x <= 4; }));
}

TEST_F(SeedThreshold, ColourSimilarityNeedsEveryChannelAndARGBIgnoresTheRenderer) {
  auto argb = volumetest::Row<XARGB32Volume>({XARGB32Colour(0, 100, 100, 100), XARGB32Colour(255, 125, 100, 75),
                                                  XARGB32Colour(255, 126, 100, 100), XARGB32Colour(9, 100, 74, 100)});
  argb->GetPlaneRenderer().SetWhite(1000.0);  // not asked: 0.1 of 255 is 25
  EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, Tool::kAllMatches, 0.1f, *argb, X3DPoint(0, 0, 0))),
            PointsWhere(X3DRect(4, 1, 1), [](SInt32 x, SInt32, SInt32) { return x <= 1; }));

  auto rgb48 = volumetest::Row<XRGB48Volume>(
      {XRGB48Colour(1000, 1000, 1000), XRGB48Colour(1100, 900, 1100), XRGB48Colour(1000, 1000, 1101)});
  rgb48->GetPlaneRenderer().SetBlack(0.0);
  rgb48->GetPlaneRenderer().SetWhite(1000.0);  // 0.1 of 1000 is 100
  EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, Tool::kAllMatches, 0.1f, *rgb48, X3DPoint(0, 0, 0))),
            PointsWhere(X3DRect(3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x <= 1; }));
}

TEST_F(SeedThreshold, BrighterOnColourComparesTheStrongestChannel) {
  auto argb = volumetest::Row<XARGB32Volume>(
      {XARGB32Colour(255, 180, 180, 180), XARGB32Colour(255, 200, 0, 0), XARGB32Colour(255, 170, 179, 175)});
  EXPECT_EQ(VoxelsOf(Apply(Tool::kBrighter, Tool::kAllMatches, 0.0f, *argb, X3DPoint(0, 0, 0))),
            PointsWhere(X3DRect(3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x <= 1; }));
  EXPECT_EQ(VoxelsOf(Apply(Tool::kDarker, Tool::kAllMatches, 0.0f, *argb, X3DPoint(0, 0, 0))),
            PointsWhere(X3DRect(3, 1, 1), [](SInt32 x, SInt32, SInt32) { return x != 1; }));
}

// ------------------------------------------------------------------ tolerance 0, clamping, connectivity

TEST_F(SeedThreshold, ZeroToleranceSelectsEqualVoxelsAndConnectedKeepsTheSeedsPiece) {
  // Value 7 on a ring in plane 0, a diagonal neighbour of it, and a far block.
  const X3DRect box(8, 8, 2);
  auto volume = std::make_unique<XGrey8Volume>(box);
  auto isSeven = [](SInt32 x, SInt32 y, SInt32 z) {
    const bool ring = z == 0 && x >= 1 && x <= 3 && y >= 1 && y <= 3 && !(x == 2 && y == 2);
    return ring || (x == 4 && y == 4 && z == 0) || (x >= 6 && y >= 6);
  };
  FillWith(*volume, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(isSeven(x, y, z) ? 7 : 8); });
  const X3DRegion all = Apply(Tool::kSimilar, Tool::kAllMatches, 0.0f, *volume, X3DPoint(1, 1, 0));
  EXPECT_EQ(VoxelsOf(all), PointsWhere(box, isSeven));
  const X3DRegion connected = Apply(Tool::kSimilar, Tool::kConnectedToSeed, 0.0f, *volume, X3DPoint(1, 1, 0));
  EXPECT_EQ(VoxelsOf(connected), PointsWhere(box, [](SInt32 x, SInt32 y, SInt32 z) {
              return z == 0 && x >= 1 && x <= 3 && y >= 1 && y <= 3 && !(x == 2 && y == 2);
            }));
  const X3DRegion block = Apply(Tool::kSimilar, Tool::kConnectedToSeed, 0.0f, *volume, X3DPoint(7, 7, 1));
  EXPECT_TRUE(block.IsSimple());
  EXPECT_EQ(block.GetBounds(), X3DRect(6, 6, 0, 8, 8, 2));
  // A selection that is a plain box is returned as it is.
  XGrey8Volume flat(X3DRect(1, 2, 3, 4, 5, 6));
  FillWith(flat, [](SInt32, SInt32, SInt32) { return UInt8(9); });
  const X3DRegion whole = Apply(Tool::kSimilar, Tool::kConnectedToSeed, 0.0f, flat, X3DPoint(2, 3, 4));
  EXPECT_TRUE(whole.IsSimple());
  EXPECT_EQ(whole.GetBounds(), flat.GetBounds());
}

TEST_F(SeedThreshold, SeedOutsideActsAsTheNearestVoxel) {
  const X3DRect box(3, -2, 5, 9, 3, 8);
  const LevelFn level = [](SInt32 x, SInt32 y, SInt32 z) { return (x * 3 + y * 5 + z) & 7; };
  for (const TypeCase& c : ServedTypes()) {
    SCOPED_TRACE(c.name);
    const std::unique_ptr<XVolume> volume = c.make(box, level);
    for (const Tool::XSelectionType type : {Tool::kAllMatches, Tool::kConnectedToSeed}) {
      EXPECT_EQ(VoxelsOf(Apply(Tool::kSimilar, type, 0.25f, *volume, X3DPoint(-100, 50, 7))),
                VoxelsOf(Apply(Tool::kSimilar, type, 0.25f, *volume, X3DPoint(3, 2, 7))));
      EXPECT_EQ(VoxelsOf(Apply(Tool::kBrighter, type, 0.0f, *volume, X3DPoint(20, -20, 1000))),
                VoxelsOf(Apply(Tool::kBrighter, type, 0.0f, *volume, X3DPoint(8, -2, 7))));
    }
  }
}

// ------------------------------------------------------------------ texture

TEST_F(SeedThreshold, TextureCubeShrinksAtCornersEdgesAndFaces) {
  // One voxel of value v at a corner of a 4 x 4 x 4 volume of zeros; the
  // variance at a voxel whose cube holds it is v^2 (c - 1) / c^2 for c
  // samples. v = 5 fails only at the corner (8 samples), v = 6 also on the
  // edges (12), v = 7 also on the faces (18); the full cube (27) passes.
  const X3DRect box(4, 4, 4);
  auto failing = [&](UInt8 inValue) {
    XGrey8Volume volume(box);
    FillWith(volume, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + y + z == 0 ? inValue : 0); });
    const X3DRegion passed = Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, volume, X3DPoint(3, 3, 3));
    XLock lock(passed, kLockRead);
    return PointsWhere(box, [&](SInt32 x, SInt32 y, SInt32 z) { return !passed.Contains(x, y, z); });
  };
  EXPECT_EQ(failing(5), PointsWhere(box, [](SInt32 x, SInt32 y, SInt32 z) { return x + y + z == 0; }));
  EXPECT_EQ(failing(6), PointsWhere(box, [](SInt32 x, SInt32 y, SInt32 z) {
              return x <= 1 && y <= 1 && z <= 1 && x + y + z <= 1;
            }));
  EXPECT_EQ(failing(7), PointsWhere(box, [](SInt32 x, SInt32 y, SInt32 z) {
              return x <= 1 && y <= 1 && z <= 1 && x + y + z <= 2;
            }));
}

TEST_F(SeedThreshold, TextureOnOnePlaneUsesAtMostNineSamples) {
  // The centre of a 3 x 3 x 1 plane with a 4 in the middle: 16 * 8 / 81
  // passes; the edges (6 samples) and corners (4) do not.
  auto volume = std::make_unique<XGrey8Volume>(3, 3, 1);
  FillWith(*volume, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == 1 && y == 1 ? 4 : 0); });
  const X3DRegion r = Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, *volume, X3DPoint(0, 0, 0));
  EXPECT_TRUE(r.IsSimple());
  EXPECT_EQ(r.GetBounds(), X3DRect(1, 1, 0, 2, 2, 1));
}

TEST_F(SeedThreshold, TextureSquaresOfColoursSaturate) {
  // A checkerboard of 100 and 200 is rough as grey, yet as colour every
  // square caps at 255 and the "variance" is far below 2.
  const X3DRect box(4, 4, 2);
  auto checker = [](SInt32 x, SInt32 y, SInt32 z) { return ((x + y + z) & 1) != 0; };
  XGrey8Volume grey(box);
  FillWith(grey, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(checker(x, y, z) ? 200 : 100); });
  EXPECT_TRUE(Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, grey, X3DPoint(0, 0, 0)).IsEmpty());
  XARGB32Volume argb(box);
  FillWith(argb, [&](SInt32 x, SInt32 y, SInt32 z) {
    const UInt8 v = checker(x, y, z) ? 200 : 100;
    return XARGB32Colour(255, v, v, v);
  });
  EXPECT_EQ(Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, argb, X3DPoint(0, 0, 0)).GetBounds(), box);
  XRGB48Volume rgb48(box);
  FillWith(rgb48, [&](SInt32 x, SInt32 y, SInt32 z) { return XRGB48Colour(checker(x, y, z) ? 600 : 300); });
  EXPECT_EQ(Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, rgb48, X3DPoint(0, 0, 0)).GetBounds(), box);
  // Below 16 an 8-bit channel squares truly: 0 and 3 alternating are rough.
  FillWith(argb, [&](SInt32 x, SInt32 y, SInt32 z) {
    const UInt8 v = checker(x, y, z) ? 3 : 0;
    return XARGB32Colour(255, v, v, v);
  });
  EXPECT_TRUE(Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, argb, X3DPoint(0, 0, 0)).IsEmpty());
}

TEST_F(SeedThreshold, TextureIgnoresTheSeedAndTheTolerance) {
  const X3DRect box(6, 6, 3);
  XFPVolume volume(box);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return Float32(x == 5 && y == 5 && z == 2 ? 50.0f : 1.5f); });
  const X3DRegion a = Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, volume, X3DPoint(0, 0, 0));
  const X3DRegion b = Apply(Tool::kTexture, Tool::kAllMatches, 0.9f, volume, X3DPoint(5, 5, 2));
  EXPECT_TRUE(a.IsEqual(b));
  EXPECT_EQ(a.GetVolume(), box.GetVolume() - 8);
}

TEST_F(SeedThreshold, TextureConnectedWithAFailingSeedGivesTheLabelBackground) {
  // A spike in the middle of a 7 x 7 plane: its 3 x 3 block fails and the
  // frame around passes. The seed, on the spike, has label 0: the result is
  // the background of the label volume, the block and the rim around the
  // frame's box.
  auto volume = std::make_unique<XGrey8Volume>(7, 7, 1);
  FillWith(*volume, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == 3 && y == 3 ? 10 : 0); });
  const X3DRegion r = Apply(Tool::kTexture, Tool::kConnectedToSeed, 0.0f, *volume, X3DPoint(3, 3, 0));
  EXPECT_EQ(r.GetBounds(), X3DRect(-1, -1, -1, 8, 8, 2));
  EXPECT_EQ(r.GetVolume(), 9u * 9u * 3u - 40u);
  XLock lock(r, kLockRead);
  EXPECT_TRUE(r.Contains(3, 3, 0));
  EXPECT_TRUE(r.Contains(2, 4, 0));
  EXPECT_TRUE(r.Contains(-1, 7, 1));
  EXPECT_FALSE(r.Contains(0, 0, 0));
  EXPECT_FALSE(r.Contains(5, 1, 0));
}

TEST_F(SeedThreshold, TextureConnectedWithASeedPastTheLabelsIsBackgroundToo) {
  // Only two corner voxels are smooth; the seed, far from them on rough
  // ground, lies outside the label volume and counts as background.
  auto volume = std::make_unique<XGrey8Volume>(10, 10, 1);
  FillWith(*volume, [](SInt32 x, SInt32 y, SInt32) {
    return UInt8((x < 2 || x >= 8) && y < 2 ? 0 : ((x + y) & 1) * 40);
  });
  const X3DRegion all = Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, *volume, X3DPoint(5, 8, 0));
  ASSERT_EQ(VoxelsOf(all), (std::vector<X3DPoint>{X3DPoint(0, 0, 0), X3DPoint(9, 0, 0)}));
  const X3DRegion r = Apply(Tool::kTexture, Tool::kConnectedToSeed, 0.0f, *volume, X3DPoint(5, 8, 0));
  EXPECT_EQ(r.GetBounds(), X3DRect(-1, -1, -1, 11, 2, 2));
  EXPECT_EQ(r.GetVolume(), 12u * 3u * 3u - 2u);
}

TEST_F(SeedThreshold, TextureMatchesTheCubeFormulaOnRandomData) {
  // Small random levels keep many variances near 2, on every served type.
  const X3DRect box(-3, 2, 1, 9, 9, 6);
  std::mt19937 random(17);
  std::vector<SInt32> levels(box.GetVolume());
  for (SInt32& l : levels) l = SInt32(random() % 5);
  auto levelAt = [&](SInt32 x, SInt32 y, SInt32 z) {
    return levels[UInt64(((z - box.front) * SInt32(box.GetHeight()) + (y - box.top)) * SInt32(box.GetWidth()) +
                         (x - box.left))];
  };
  // The stated local variance over the cut cube, from per-voxel samples.
  auto expected = [&](std::function<Float64(SInt32)> inValue, std::function<Float64(SInt32)> inSquare) {
    return PointsWhere(box, [&](SInt32 x, SInt32 y, SInt32 z) {
      Float64 c = 0, s = 0, q = 0;
      for (SInt32 dz = -1; dz <= 1; ++dz)
        for (SInt32 dy = -1; dy <= 1; ++dy)
          for (SInt32 dx = -1; dx <= 1; ++dx)
            if (box.Contains(x + dx, y + dy, z + dz)) {
              const SInt32 l = levelAt(x + dx, y + dy, z + dz);
              c += 1;
              s += inValue(l);
              q += inSquare(l);
            }
      return q / c - (s / c) * (s / c) < 2.0;
    });
  };
  auto texture = [&](const XVolume& inVolume) {
    return VoxelsOf(Apply(Tool::kTexture, Tool::kAllMatches, 0.0f, inVolume, X3DPoint(0, 3, 2)));
  };
  const auto plain = [](SInt32 l) { return Float64(l); };
  const auto square = [](SInt32 l) { return Float64(l) * l; };
  XGrey8Volume grey8(box);
  FillWith(grey8, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt8(levelAt(x, y, z)); });
  EXPECT_EQ(texture(grey8), expected(plain, square));
  XGrey16Volume grey16(box);
  FillWith(grey16, [&](SInt32 x, SInt32 y, SInt32 z) { return UInt16(levelAt(x, y, z)); });
  EXPECT_EQ(texture(grey16), expected(plain, square));
  XFPVolume fp(box);
  FillWith(fp, [&](SInt32 x, SInt32 y, SInt32 z) { return Float32(levelAt(x, y, z) * 0.75f); });
  EXPECT_EQ(texture(fp), expected([](SInt32 l) { return Float64(l * 0.75f); },
                                  [](SInt32 l) { return Float64(l * 0.75f) * Float64(l * 0.75f); }));
  // Colours: (R + G + B) / 3 and the capped squares; red carries the level,
  // green twice it, blue 0.
  XARGB32Volume argb(box);
  FillWith(argb, [&](SInt32 x, SInt32 y, SInt32 z) {
    const SInt32 l = levelAt(x, y, z);
    return XARGB32Colour(255, UInt8(l), UInt8(2 * l), 0);
  });
  EXPECT_EQ(texture(argb), expected([](SInt32 l) { return Float64((3 * l) / 3); },
                                    [](SInt32 l) { return Float64((l * l + 4 * l * l) / 3); }));
  XRGB48Volume rgb48(box);
  FillWith(rgb48, [&](SInt32 x, SInt32 y, SInt32 z) {
    const SInt32 l = levelAt(x, y, z);
    return XRGB48Colour(UInt16(l * 100), UInt16(l), 0);
  });
  EXPECT_EQ(texture(rgb48), expected([](SInt32 l) { return Float64((101 * l) / 3); },
                                     [](SInt32 l) { return Float64((std::min(l * l * 10000, 65535) + l * l) / 3); }));
}
