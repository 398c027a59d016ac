// The value tools: XInvertVolumeTool with its persisting maximum, and
// XImageOffsetTool and XHardLightImageBlendingTool: float arithmetic brought
// back into each type (clamped at both ends, truncated), alpha kept, the
// weights' bounds limiting the blend, and the types refused.
#include <cmath>

#include "core/XInstructionSet.h"
#include "tools/XClampTruncate.h"
#include <limits>
#include <memory>
#include <vector>

#include "ToolTestSupport.h"
#include "tools/XHardLightImageBlendingTool.h"
#include "tools/XImageOffsetTool.h"
#include "tools/XInvertVolumeTool.h"

using namespace mirelan;

using namespace tooltest;
using ARGB = XARGB32Colour;
using RGB48 = XRGB48Colour;

// ---------------------------------------------------------------- invert

TEST_F(ToolTest, InvertGivesMaximumMinusValuePerType) {
  XInvertVolumeTool tool8, mask, tool16, argb, rgb;
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(tool8, {0, 255, 100}), (std::vector<UInt8>{255, 0, 155}));
  EXPECT_EQ(tool8.GetMaximum(), 255.0);
  EXPECT_EQ(ApplyToRow<XMaskVolume>(mask, {255, 0}), (std::vector<UInt8>{0, 255}));  // as grey
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(tool16, {0, 65535, 1000}), (std::vector<UInt16>{65535, 0, 64535}));
  // Colours invert red, green and blue, and keep alpha.
  EXPECT_EQ(ApplyToRow<XARGB32Volume>(argb, {ARGB(17, 0, 255, 100), ARGB(0, 255, 0, 1)}),
            (std::vector<ARGB>{ARGB(17, 255, 0, 155), ARGB(0, 0, 255, 254)}));
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(rgb, {XRGB48Colour(0, 65535, 30000)}),
            (std::vector<XRGB48Colour>{XRGB48Colour(65535, 0, 35535)}));
}

TEST_F(ToolTest, InvertFloatsMapMinimumToOneAndMaximumToZero) {
  // 1 - (v / max - min / max) with max 10 and min 2.
  XInvertVolumeTool tool, fractional, normalised;
  const auto out = ApplyToRow<XFPVolume>(tool, {2.0f, 10.0f, 6.0f});
  const Float32 expected[] = {1.0f, 0.2f, 0.6f};
  for (int i = 0; i < 3; ++i) EXPECT_FLOAT_EQ(out[i], expected[i]) << i;
  EXPECT_EQ(tool.GetMaximum(), 10.0);
  // The maximum is truncated to an integer: 10.5 acts as 10, 1 - (10.5 / 10 - 2 / 10).
  EXPECT_FLOAT_EQ(ApplyToRow<XFPVolume>(fractional, {2.0f, 10.5f})[1], 0.15f);
  EXPECT_EQ(fractional.GetMaximum(), 10.5);
  // Normalised data: a maximum below 1 truncates to 0, and the quotients are not numbers.
  for (Float32 v : ApplyToRow<XFPVolume>(normalised, {0.2f, 0.8f})) EXPECT_TRUE(std::isnan(v));
}

TEST_F(ToolTest, InvertKeepsTheFirstMaximumForLaterPixelTypes) {
  XInvertVolumeTool tool;
  ApplyToRow<XGrey8Volume>(tool, {5});
  // 255 - 1000 wraps in 16 bits.
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(tool, {200, 1000}), (std::vector<UInt16>{55, UInt16(255 - 1000)}));
  // A 16-bit maximum carried to 8 bits keeps its low byte: 65535 acts as 255.
  XInvertVolumeTool wide;
  ApplyToRow<XGrey16Volume>(wide, {0});
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(wide, {5}), (std::vector<UInt8>{250}));
}

// ---------------------------------------------------------------- offset

// Every value of the type through the tool, against the float step itself,
// on every instruction-set path: whole offsets take vector code, the others
// the table, and neither may differ from the step by a single value.
TEST_F(ToolTest, OffsetEqualsTheFloatStepForEveryValueOnEveryPath) {
  const XInstructionSet saved = XLimitInstructionSet(XInstructionSet::kAVX512);
  XGrey16Volume grey16(256, 256, 1);
  XARGB32Volume colour(256, 4, 1);
  for (UInt8 set = 0; set <= UInt8(XGetProcessorInstructionSet()); ++set) {
    XLimitInstructionSet(XInstructionSet(set));
    for (Float32 offset : {0.0f, 10.0f, -10.0f, 0.5f, -0.25f, 0.001f, 300.0f, -70000.0f, 65535.5f}) {
      SCOPED_TRACE(std::to_string(set) + " offset " + std::to_string(offset));
      {
        XLock lock(grey16, kLockWrite);
        for (UInt32 v = 0; v < 65536; ++v) grey16.GetBaseVoxelPtr()[v] = UInt16(v);
      }
      XImageOffsetTool(offset).ApplyToolInPlace(grey16);
      XLock lock(grey16, kLockRead);
      for (UInt32 v = 0; v < 65536; ++v)
        ASSERT_EQ(grey16.GetBaseVoxelPtr()[v], XClampTruncate<UInt16>(Float32(v) - offset)) << v;
    }
    for (Float32 offset : {7.0f, -7.0f, 2.5f}) {
      {
        XLock lock(colour, kLockWrite);
        for (UInt32 i = 0; i < 1024; ++i) colour.GetBaseVoxelPtr()[i] = XARGB32Colour(UInt8(i * 7), UInt8(i), UInt8(i >> 2), UInt8(255 - i));
      }
      XImageOffsetTool(offset).ApplyToolInPlace(colour);
      XLock lock(colour, kLockRead);
      for (UInt32 i = 0; i < 1024; ++i) {
        const XARGB32Colour c = colour.GetBaseVoxelPtr()[i];
        ASSERT_EQ(c.alpha, UInt8(i * 7)) << i;  // alpha kept
        ASSERT_EQ(c.red, XClampTruncate<UInt8>(Float32(UInt8(i)) - offset)) << i;
        ASSERT_EQ(c.blue, XClampTruncate<UInt8>(Float32(UInt8(255 - i)) - offset)) << i;
      }
    }
  }
  XLimitInstructionSet(saved);
}

TEST_F(ToolTest, OffsetClampsIntegerTypesAtBothEndsAndTruncates) {
  XImageOffsetTool down(10.0f), up(-10.0f), half(0.5f);
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(down, {0, 5, 10, 100, 255}), (std::vector<UInt8>{0, 0, 0, 90, 245}));
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(up, {0, 245, 246, 255}), (std::vector<UInt8>{10, 255, 255, 255}));
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(half, {0, 1, 10, 255}), (std::vector<UInt8>{0, 0, 9, 254}));
  EXPECT_EQ(ApplyToRow<XMaskVolume>(down, {255, 0}), (std::vector<UInt8>{245, 0}));
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(up, {0, 65525, 65535}), (std::vector<UInt16>{10, 65535, 65535}));
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(half, {0, 65535}), (std::vector<UInt16>{0, 65534}));
}

TEST_F(ToolTest, OffsetOnFloatsGoesBelowZeroAndColoursKeepAlpha) {
  XImageOffsetTool tool(1.5f), huge(-std::numeric_limits<Float32>::max());
  const Float32 top = std::numeric_limits<Float32>::max();
  EXPECT_EQ(ApplyToRow<XFPVolume>(tool, {0.0f, 2.25f, -1e30f}), (std::vector<Float32>{-1.5f, 0.75f, -1e30f}));
  EXPECT_EQ(ApplyToRow<XFPVolume>(huge, {top}), (std::vector<Float32>{top}));  // inf is clamped

  XImageOffsetTool down(20.0f), up(-100.5f);
  EXPECT_EQ(ApplyToRow<XARGB32Volume>(down, {ARGB(77, 10, 20, 255), ARGB(0, 21, 0, 0)}),
            (std::vector<ARGB>{ARGB(77, 0, 0, 235), ARGB(0, 1, 0, 0)}));
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(up, {RGB48(0, 65435, 65535)}), (std::vector<RGB48>{RGB48(100, 65535, 65535)}));
}

// ---------------------------------------------------------------- hard light

namespace {

// Weights w everywhere over inBox.
std::unique_ptr<XFPVolume> Weights(const X3DRect& inBox, Float32 w) {
  auto weights = std::make_unique<XFPVolume>(inBox);
  FillWith(*weights, [w](SInt32, SInt32, SInt32) { return w; });
  return weights;
}

}  // namespace

TEST_F(ToolTest, HardLightScalesOnlyBelowTheThreshold) {
  auto half = Weights(X3DRect(5, 1, 1), 0.5f);
  XHardLightImageBlendingTool tool(*half, 128.0);
  // 127 is below and halves (truncated); 128 is at the threshold and stays.
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(tool, {0, 101, 127, 128, 255}), (std::vector<UInt8>{0, 50, 63, 128, 255}));

  auto triple = Weights(X3DRect(3, 1, 1), 3.0f);
  XHardLightImageBlendingTool bright(*triple, 1000.0);
  EXPECT_EQ(ApplyToRow<XGrey8Volume>(bright, {1, 85, 86}), (std::vector<UInt8>{3, 255, 255}));
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(bright, {999, 1000, 65535}), (std::vector<UInt16>{2997, 1000, 65535}));

  auto negative = Weights(X3DRect(2, 1, 1), -1.0f);
  XHardLightImageBlendingTool dark(*negative, 1e9);
  EXPECT_EQ(ApplyToRow<XGrey16Volume>(dark, {0, 500}), (std::vector<UInt16>{0, 0}));  // clamped at 0
  EXPECT_EQ(ApplyToRow<XFPVolume>(dark, {0.5f, -2.0f}), (std::vector<Float32>{-0.5f, 2.0f}));
}

TEST_F(ToolTest, HardLightOnColoursActsPerChannel) {
  auto weights = Weights(X3DRect(2, 1, 1), 0.5f);
  XHardLightImageBlendingTool tool(*weights, 100.0);
  EXPECT_EQ(ApplyToRow<XARGB32Volume>(tool, {ARGB(3, 50, 100, 255), ARGB(255, 99, 1, 0)}),
            (std::vector<ARGB>{ARGB(3, 25, 100, 255), ARGB(255, 49, 0, 0)}));
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(tool, {RGB48(99, 100, 65535)}), (std::vector<RGB48>{RGB48(49, 100, 65535)}));
}

TEST_F(ToolTest, HardLightVisitsOnlyTheWeightsBounds) {
  // Weights over x 1..2 and z 1 of a 4 x 2 x 2 volume placed at (10, 0, 0).
  XGrey8Volume volume(X3DRect(10, 0, 0, 14, 2, 2));
  FillWith(volume, [](SInt32, SInt32, SInt32) { return UInt8(40); });
  XFPVolume weights(X3DRect(11, 0, 1, 13, 5, 3));  // reaches past the volume too
  FillWith(weights, [](SInt32 x, SInt32, SInt32) { return Float32(x - 10); });
  XHardLightImageBlendingTool(weights, 255.0).ApplyToolInPlace(volume);
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 0; y < 2; ++y)
      for (SInt32 x = 10; x < 14; ++x) {
        const bool inside = z == 1 && (x == 11 || x == 12);
        EXPECT_EQ(VoxelAt(volume, x, y, z), inside ? 40 * (x - 10) : 40) << x << " " << y << " " << z;
      }
}

TEST_F(ToolTest, InvertOffsetAndHardLightRefuseBGRA32AndGrey32) {
  auto weights = Weights(X3DRect(2, 2, 1), 1.0f);
  XHardLightImageBlendingTool hardLight(*weights, 1.0);
  XImageOffsetTool offset(1.0f);
  XInvertVolumeTool invert;
  for (X1To1VolumeTool* tool : std::vector<X1To1VolumeTool*>{&hardLight, &offset, &invert})
    ExpectRefused(Volumes<XBGRA32Volume, XGrey32Volume>(), [&](XVolume& v) { tool->ApplyToolInPlace(v); });
  EXPECT_TRUE(std::isnan(invert.GetMaximum()));  // a refusal fills nothing in
}
