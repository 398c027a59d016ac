// The tool frame: dispatch by class id, the in-place and new-volume roads,
// the 1-to-many and scanning frames.
#include <memory>
#include <string>

#include "ToolTestSupport.h"
#include "tools/X1To1VolumeTool.h"
#include "tools/X1ToManyVolumeTool.h"
#include "tools/XVolumeScanningTool.h"

using namespace tooltest;

namespace {

// Records which slot the dispatch reached; every slot but the mask's is served.
class XProbeTool : public X1To1VolumeTool {
 public:
  std::string itsSlot;

 protected:
  void ApplyToolGrey8(const XGrey8Volume&, XVolume&) override { itsSlot += "Grey8"; }
  void ApplyToolGrey16(const XGrey16Volume&, XVolume&) override { itsSlot += "Grey16"; }
  void ApplyToolARGB32(const XARGB32Volume&, XVolume&) override { itsSlot += "ARGB32"; }
  void ApplyToolBGRA32(const XBGRA32Volume&, XVolume&) override { itsSlot += "BGRA32"; }
  void ApplyToolRGB48(const XRGB48Volume&, XVolume&) override { itsSlot += "RGB48"; }
  void ApplyToolFP(const XFPVolume&, XVolume&) override { itsSlot += "FP"; }
};

class XMaskProbeTool : public XProbeTool {
 protected:
  void ApplyToolMask(const XMaskVolume&, XVolume&) override { itsSlot += "Mask"; }
};

// Adds 1 to every Grey8 voxel of the destination, after the opening copy.
// With a failure point it throws after writing the first plane.
class XAddOneTool : public X1To1VolumeTool {
 public:
  bool itsInPlace = true;
  bool itsFailAfterWriting = false;

 protected:
  bool CanApplyInPlace() const override { return itsInPlace; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override {
    CopySourceIntoDest(inSource, ioDest);
    XGrey8Volume& dest = DestAs<XGrey8Volume>(ioDest);
    XLock lock(dest, kLockReadWrite);
    const X3DRect& b = dest.GetBounds();
    for (SInt32 z = b.front; z < b.back; ++z) {
      for (SInt32 y = b.top; y < b.bottom; ++y)
        for (SInt32 x = b.left; x < b.right; ++x) dest.SetVoxel(x, y, z, UInt8(dest.GetVoxel(x, y, z) + 1));
      if (itsFailAfterWriting) throw XException(kErrGeneral);
    }
  }
};

template <class V>
std::string SlotFor(X1To1VolumeTool& ioTool, std::string& ioSlot) {
  V volume(2, 2, 1);
  ioSlot.clear();
  ioTool.ApplyToolInPlace(volume);
  return ioSlot;
}

}  // namespace

class ToolFrameTest : public ToolTest {};

TEST_F(ToolFrameTest, DispatchReachesTheSlotOfEachPixelType) {
  XProbeTool tool;
  EXPECT_EQ(SlotFor<XGrey8Volume>(tool, tool.itsSlot), "Grey8");
  EXPECT_EQ(SlotFor<XGrey16Volume>(tool, tool.itsSlot), "Grey16");
  EXPECT_EQ(SlotFor<XARGB32Volume>(tool, tool.itsSlot), "ARGB32");
  EXPECT_EQ(SlotFor<XBGRA32Volume>(tool, tool.itsSlot), "BGRA32");
  EXPECT_EQ(SlotFor<XRGB48Volume>(tool, tool.itsSlot), "RGB48");
  EXPECT_EQ(SlotFor<XFPVolume>(tool, tool.itsSlot), "FP");
  // A mask is a Grey8 volume too; by default the mask slot serves it as grey.
  EXPECT_EQ(SlotFor<XMaskVolume>(tool, tool.itsSlot), "Grey8");
  XMaskProbeTool maskTool;
  EXPECT_EQ(SlotFor<XMaskVolume>(maskTool, maskTool.itsSlot), "Mask");
  EXPECT_EQ(SlotFor<XGrey8Volume>(maskTool, maskTool.itsSlot), "Grey8");
}

TEST_F(ToolFrameTest, TypesWithoutASlotThrow2500) {
  XProbeTool probe;
  XGrey32Volume labels(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { probe.ApplyToolInPlace(labels); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { delete probe.ApplyTool(labels); }), kErrNotForPixelType);

  // A tool that serves Grey8 only refuses the others from the default slots,
  // before it has changed anything.
  XAddOneTool grey8Only;
  XGrey16Volume grey16(2, 2, 1);
  grey16.Fill(7);
  EXPECT_EQ(ErrorOf([&] { grey8Only.ApplyToolInPlace(grey16); }), kErrNotForPixelType);
  EXPECT_EQ(At(grey16, 1, 1, 0), 7);
  XFPVolume fp(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { grey8Only.ApplyToolInPlace(fp); }), kErrNotForPixelType);
  XBGRA32Volume bgra(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { grey8Only.ApplyToolInPlace(bgra); }), kErrNotForPixelType);
}

TEST_F(ToolFrameTest, SourceAndDestinationMustBeOfOneClass) {
  class XMismatchTool : public XProbeTool {
   public:
    void Run(const XVolume& a, XVolume& b) { ApplyToolSelf(a, b); }
  } tool;
  XGrey8Volume grey(2, 2, 1);
  XMaskVolume mask(2, 2, 1);
  EXPECT_THROW(tool.Run(grey, mask), XInternalError);
}

TEST_F(ToolFrameTest, ApplyToolMakesANewVolumeAndLeavesTheSource) {
  XAddOneTool tool;
  XGrey8Volume source(X3DRect(-3, 4, 1, 1, 7, 3));
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + y + z + 10); });
  std::unique_ptr<XVolume> result(tool.ApplyTool(source));
  ASSERT_TRUE(result);
  EXPECT_EQ(typeid(*result), typeid(XGrey8Volume));
  EXPECT_EQ(result->GetBounds(), source.GetBounds());
  auto& dest = static_cast<XGrey8Volume&>(*result);
  EXPECT_EQ(At(dest, -3, 4, 1), UInt8(-3 + 4 + 1 + 11));
  EXPECT_EQ(At(dest, 0, 6, 2), UInt8(0 + 6 + 2 + 11));
  EXPECT_EQ(At(source, 0, 6, 2), UInt8(0 + 6 + 2 + 10));
}

TEST_F(ToolFrameTest, InPlaceWorksOnTheVolumeOrThroughAClone) {
  for (bool inPlace : {true, false}) {
    XAddOneTool tool;
    tool.itsInPlace = inPlace;
    XGrey8Volume volume(3, 2, 2);
    volume.Fill(254);
    tool.ApplyToolInPlace(volume);
    EXPECT_EQ(At(volume, 2, 1, 1), 255) << inPlace;
    tool.ApplyToolInPlace(volume);
    EXPECT_EQ(At(volume, 0, 0, 0), 0) << inPlace;
  }
}

TEST_F(ToolFrameTest, AFailureOnTheCloneRoadLeavesTheVolumeUnchanged) {
  XAddOneTool tool;
  tool.itsFailAfterWriting = true;
  tool.itsInPlace = false;
  XGrey8Volume volume(2, 2, 2);
  volume.Fill(5);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(volume); }), kErrGeneral);
  EXPECT_EQ(At(volume, 0, 0, 0), 5);

  // In place, the planes written before the failure stay written.
  tool.itsInPlace = true;
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(volume); }), kErrGeneral);
  EXPECT_EQ(At(volume, 0, 0, 0), 6);
  EXPECT_EQ(At(volume, 0, 0, 1), 5);
}

namespace {

class XSplitProbe : public X1ToManyVolumeTool {
 protected:
  void ApplyToolGrey8(const XGrey8Volume& inSource, XPtrVector<XVolume>& outVolumes) override {
    outVolumes.push_back(inSource.Clone());
    outVolumes.push_back(inSource.Clone());
  }
  void ApplyToolARGB32(const XARGB32Volume& inSource, XPtrVector<XVolume>& outVolumes) override {
    for (int i = 0; i < 3; ++i) outVolumes.push_back(new XGrey8Volume(inSource.GetBounds()));
  }
};

}  // namespace

TEST_F(ToolFrameTest, OneToManyMovesTheResultsOutAndHasNoBGRASlot) {
  XSplitProbe tool;
  XMaskVolume mask(2, 3, 1);
  XPtrVector<XVolume> masks = tool.ApplyTool(mask);
  ASSERT_EQ(masks.size(), 2u);
  EXPECT_EQ(typeid(*masks[0]), typeid(XMaskVolume));
  XARGB32Volume colour(4, 1, 1);
  EXPECT_EQ(tool.ApplyTool(colour).size(), 3u);
  XBGRA32Volume bgra(4, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(bgra); }), kErrNotForPixelType);
  XGrey16Volume grey16(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(grey16); }), kErrNotForPixelType);
  XGrey32Volume labels(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(labels); }), kErrNotForPixelType);
}

namespace {

// Swaps red and blue of every ARGB voxel and remembers the region it was given.
class XSwapRedBlueTool : public XVolumeScanningTool {
 public:
  const X3DRegion* itsRegion = nullptr;
  std::string itsSlot;

 protected:
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override {
    itsSlot += "ARGB32";
    itsRegion = inRegion;
    XLock lock(ioVolume, kLockReadWrite);
    const X3DRect& b = ioVolume.GetBounds();
    for (SInt32 z = b.front; z < b.back; ++z)
      for (SInt32 y = b.top; y < b.bottom; ++y)
        for (SInt32 x = b.left; x < b.right; ++x) {
          XARGB32Colour c = ioVolume.GetVoxel(x, y, z);
          std::swap(c.red, c.blue);
          ioVolume.SetVoxel(x, y, z, c);
        }
  }
  void ApplyToolGrey8(XGrey8Volume&, const X3DRegion*) override { itsSlot += "Grey8"; }
};

}  // namespace

TEST_F(ToolFrameTest, ScanningToolsSeeBGRAAsARGBAndMasksAsGrey) {
  XSwapRedBlueTool tool;
  XBGRA32Volume bgra(X3DRect(5, 5, 5, 7, 6, 6));
  XBGRA32Colour c;
  c.red = 10;
  c.green = 20;
  c.blue = 30;
  c.alpha = 255;
  bgra.Fill(c);
  X3DRegion region(X3DRect(5, 5, 5, 6, 6, 6));
  tool.ApplyTool(bgra, &region);
  EXPECT_EQ(tool.itsSlot, "ARGB32");
  EXPECT_EQ(tool.itsRegion, &region);
  XBGRA32Colour out = At(bgra, 6, 5, 5);
  EXPECT_EQ(out.red, 30);
  EXPECT_EQ(out.green, 20);
  EXPECT_EQ(out.blue, 10);
  EXPECT_EQ(out.alpha, 255);

  tool.itsSlot.clear();
  XMaskVolume mask(1, 1, 1);
  tool.ApplyTool(mask, nullptr);
  EXPECT_EQ(tool.itsSlot, "Grey8");
  XFPVolume fp(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(fp, nullptr); }), kErrNotForPixelType);
  XGrey32Volume labels(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(labels, nullptr); }), kErrNotForPixelType);
}
