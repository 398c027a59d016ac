// Flips and rotations: where every voxel lands, for every pixel type served,
// with bounds away from the origin, in place and into a new volume.
#include <cstring>
#include <memory>
#include <type_traits>

#include "ToolTestSupport.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XRotateVolumeTools.h"

using namespace mirelan;

using namespace tooltest;

namespace {

// Every byte of every voxel tells the coordinates apart; compared as bytes,
// since some float patterns are NaN.
template <class T>
T Coded(SInt32 x, SInt32 y, SInt32 z) {
  T voxel;
  UInt8* bytes = reinterpret_cast<UInt8*>(&voxel);
  for (size_t i = 0; i < sizeof(T); ++i) bytes[i] = UInt8((x + 7) * (2 * i + 1) + 13 * (y + 5) + 97 * (z + 3) + i);
  return voxel;
}

// 37 wide (past the flips' blocks, with a ragged end), 3 high, 2 deep.
const X3DRect kBox(-3, 2, 5, 34, 5, 7);

template <class V>
std::unique_ptr<V> MakeCoded(const X3DRect& inBox) {
  auto volume = std::make_unique<V>(inBox);
  FillWith(*volume, Coded<typename V::Voxel>);
  return volume;
}

// Checks dest(x, y, z) = source(inFrom(x, y, z)) over the destination's bounds.
template <class V, class Fn>
void ExpectMoved(const V& inSource, const XVolume& inDest, Fn inFrom) {
  const V& dest = dynamic_cast<const V&>(inDest);
  XLock sourceLock(inSource, kLockRead), destLock(dest, kLockRead);
  const X3DRect& b = dest.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) {
        const X3DPoint p = inFrom(x, y, z);
        ASSERT_EQ(std::memcmp(dest.GetVoxelPtr(x, y, z), inSource.GetVoxelPtr(p.x, p.y, p.z), dest.GetVoxelBytes()), 0)
            << "dest (" << x << ", " << y << ", " << z << ")";
      }
}

template <class V>
class EveryPackedType : public ToolTest {};
using PackedClasses = ::testing::Types<XGrey8Volume, XMaskVolume, XGrey16Volume, XGrey32Volume, XFPVolume,
                                       XARGB32Volume, XBGRA32Volume, XRGB48Volume>;
TYPED_TEST_SUITE(EveryPackedType, PackedClasses);

// Exposes the protected steps that take two volumes.
struct OpenFlipV : XFlipVVolumeTool {
  using XFlipVVolumeTool::ApplyToolSelf;
  using XFlipVVolumeTool::Flip;
};
struct OpenRotate90CW : XRotate90CWVolumeTool {
  using XRotate90CWVolumeTool::ApplyToolSelf;
};

}  // namespace

TYPED_TEST(EveryPackedType, FlipsReverseRowsOrColumnsInPlaceOrNot) {
  // Odd and even extents: the middle voxel or row stays, pairs exchange.
  for (const X3DRect& box : {kBox, X3DRect(0, 0, 0, 4, 4, 1)}) {
    auto source = MakeCoded<TypeParam>(box);
    auto mirrorX = [&](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(box.left + box.right - 1 - x, y, z); };
    auto mirrorY = [&](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(x, box.top + box.bottom - 1 - y, z); };
    std::unique_ptr<XVolume> h(XFlipHVolumeTool().ApplyTool(*source));
    EXPECT_EQ(h->GetBounds(), box);
    ExpectMoved(*source, *h, mirrorX);
    std::unique_ptr<XVolume> v(XFlipVVolumeTool().ApplyTool(*source));
    ExpectMoved(*source, *v, mirrorY);

    auto inPlace = MakeCoded<TypeParam>(box);
    XFlipHVolumeTool().ApplyToolInPlace(*inPlace);
    ExpectMoved(*source, *inPlace, mirrorX);
    XFlipHVolumeTool().ApplyToolInPlace(*inPlace);
    XFlipVVolumeTool().ApplyToolInPlace(*inPlace);
    ExpectMoved(*source, *inPlace, mirrorY);
  }
}

TEST_F(ToolTest, FlipsFollowPaddedRowsAndRefuseOtherBounds) {
  auto source = MakePaddedGrey8(3, 2, 2, 5, [](UInt32 x, UInt32 y, UInt32 z) { return 1 + x + 3 * y + 6 * z; });
  std::unique_ptr<XVolume> h(XFlipHVolumeTool().ApplyTool(*source));
  std::unique_ptr<XVolume> v(XFlipVVolumeTool().ApplyTool(*source));
  ExpectMoved(*source, *h, [](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(2 - x, y, z); });
  ExpectMoved(*source, *v, [](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(x, 1 - y, z); });
  XFlipHVolumeTool().ApplyToolInPlace(*source);
  EXPECT_EQ(VoxelAt(*source, 0, 1, 1), 1 + 2 + 3 + 6);
  EXPECT_EQ(BlockBytes(*source, 5)[3], 0xEE);  // padding left alone

  // Other bounds are an error, not a clip, even at the same size.
  XGrey8Volume a(kBox), moved(X3DRect(-3, 2, 6, 34, 5, 8));
  XGrey16Volume other(kBox);
  OpenFlipV flip;
  EXPECT_THROW(flip.Flip(a, moved), XInternalError);
  EXPECT_THROW(flip.ApplyToolSelf(a, other), XInternalError);
}

TYPED_TEST(EveryPackedType, TurnsCentreTheSwappedBoxOnTheSourceOrRefuseGrey32) {
  auto source = MakeCoded<TypeParam>(kBox);
  if constexpr (std::is_same_v<TypeParam, XGrey32Volume>) {  // not served
    EXPECT_EQ(ErrorOf([&] { delete XRotate90CWVolumeTool().ApplyTool(*source); }), kErrNotForPixelType);
    EXPECT_EQ(ErrorOf([&] { delete XRotate180VolumeTool().ApplyTool(*source); }), kErrNotForPixelType);
    return;
  }
  // 37 x 3 turns to 3 x 37, moved by (37 - 3) / 2 right and (3 - 37) / 2 up.
  const X3DRect turned(14, -15, 5, 17, 22, 7);
  const SInt32 w = 37, h = 3;

  std::unique_ptr<XVolume> cw(XRotate90CWVolumeTool().ApplyTool(*source));
  EXPECT_EQ(cw->GetBounds(), turned);
  // dest (h - 1 - y, x) = src (x, y): dest (X, Y) comes from src (Y, h - 1 - X).
  ExpectMoved(*source, *cw, [&](SInt32 x, SInt32 y, SInt32 z) {
    return X3DPoint(kBox.left + (y - turned.top), kBox.top + (h - 1 - (x - turned.left)), z);
  });
  std::unique_ptr<XVolume> ccw(XRotate90CCWVolumeTool().ApplyTool(*source));
  EXPECT_EQ(ccw->GetBounds(), turned);
  // dest (y, w - 1 - x) = src (x, y): dest (X, Y) comes from src (w - 1 - Y, X).
  ExpectMoved(*source, *ccw, [&](SInt32 x, SInt32 y, SInt32 z) {
    return X3DPoint(kBox.left + (w - 1 - (y - turned.top)), kBox.top + (x - turned.left), z);
  });

  // A half turn keeps the bounds, in place or not.
  auto half = [](SInt32 x, SInt32 y, SInt32 z) {
    return X3DPoint(kBox.left + kBox.right - 1 - x, kBox.top + kBox.bottom - 1 - y, z);
  };
  std::unique_ptr<XVolume> halfTurned(XRotate180VolumeTool().ApplyTool(*source));
  EXPECT_EQ(halfTurned->GetBounds(), kBox);
  ExpectMoved(*source, *halfTurned, half);
  auto inPlace = MakeCoded<TypeParam>(kBox);
  XRotate180VolumeTool().ApplyToolInPlace(*inPlace);
  ExpectMoved(*source, *inPlace, half);
}

TEST_F(ToolTest, QuarterTurnsCrossTilesAndFollowPaddedRows) {
  // Larger than one tile in both directions, with ragged ends; back again.
  XGrey16Volume source(X3DRect(70, 45, 2));
  FillWith(source, Coded<UInt16>);
  std::unique_ptr<XVolume> cw(XRotate90CWVolumeTool().ApplyTool(source));
  const X3DRect& b = cw->GetBounds();
  ExpectMoved(source, *cw, [&](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(y - b.top, 44 - (x - b.left), z); });
  std::unique_ptr<XVolume> back(XRotate90CCWVolumeTool().ApplyTool(*cw));
  EXPECT_TRUE(*back == source);

  auto padded = MakePaddedGrey8(3, 2, 1, 4, [](UInt32 x, UInt32 y, UInt32) { return 1 + x + 3 * y; });
  std::unique_ptr<XVolume> turned(XRotate90CWVolumeTool().ApplyTool(*padded));
  const X3DRect& t = turned->GetBounds();
  ExpectMoved(*padded, *turned, [&](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(y - t.top, 1 - (x - t.left), z); });
  std::unique_ptr<XVolume> half(XRotate180VolumeTool().ApplyTool(*padded));
  ExpectMoved(*padded, *half, [](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(2 - x, 1 - y, z); });
}

TEST_F(ToolTest, QuarterTurnsInPlaceOnSquarePlanesOnly) {
  const X3DRect square(1, 1, 0, 4, 4, 2);
  auto original = MakeCoded<XFPVolume>(square), turned = MakeCoded<XFPVolume>(square);
  XRotate90CWVolumeTool().ApplyToolInPlace(*turned);
  ExpectMoved(*original, *turned, [](SInt32 x, SInt32 y, SInt32 z) { return X3DPoint(y, 1 + 2 - (x - 1), z); });

  auto wide = MakeCoded<XGrey8Volume>(kBox), before = MakeCoded<XGrey8Volume>(kBox);
  EXPECT_THROW(XRotate90CCWVolumeTool().ApplyToolInPlace(*wide), XInternalError);
  EXPECT_TRUE(*wide == *before);  // the failure came before any change

  OpenRotate90CW cw;
  XGrey8Volume source(X3DRect(4, 2, 1)), sameShape(X3DRect(4, 2, 1)), deeper(X3DRect(2, 4, 2));
  EXPECT_THROW(cw.ApplyToolSelf(source, sameShape), XInternalError);
  EXPECT_THROW(cw.ApplyToolSelf(source, deeper), XInternalError);
}
