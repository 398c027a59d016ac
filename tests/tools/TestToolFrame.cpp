// The tool frame: dispatch by class id, the in-place and new-volume roads,
// the 1-to-many and scanning frames.
#include <memory>
#include <string>
#include <vector>

#include "ToolTestSupport.h"
#include "tools/X1To1VolumeTool.h"
#include "tools/X1ToManyVolumeTool.h"
#include "tools/XVolumeScanningTool.h"

using namespace mirelan;

using namespace tooltest;

namespace {

// Records which slot the dispatch reached; every slot but the mask's is served.
class XProbeTool : public X1To1VolumeTool {
 public:
  std::string itsSlot;
  std::string SlotFor(XVolume& ioVolume) {
    itsSlot.clear();
    ApplyToolInPlace(ioVolume);
    return itsSlot;
  }
  void Run(const XVolume& a, XVolume& b) { ApplyToolSelf(a, b); }

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

}  // namespace

TEST_F(ToolTest, DispatchReachesTheSlotOfEachPixelTypeAndThrows2500Elsewhere) {
  auto all = Volumes<XGrey8Volume, XMaskVolume, XGrey16Volume, XARGB32Volume, XBGRA32Volume, XRGB48Volume, XFPVolume>();
  // A mask is a Grey8 volume too; by default the mask slot serves it as grey.
  const char* slots[] = {"Grey8", "Grey8", "Grey16", "ARGB32", "BGRA32", "RGB48", "FP"};
  XProbeTool probe;
  XMaskProbeTool maskProbe;
  for (size_t i = 0; i < all.size(); ++i) EXPECT_EQ(probe.SlotFor(*all[i]), slots[i]);
  EXPECT_EQ(maskProbe.SlotFor(*all[1]), "Mask");
  EXPECT_EQ(maskProbe.SlotFor(*all[0]), "Grey8");
  ExpectRefused(Volumes<XGrey32Volume>(), [&](XVolume& v) { probe.ApplyToolInPlace(v); });
  ExpectRefused(Volumes<XGrey32Volume>(), [&](XVolume& v) { delete probe.ApplyTool(v); });
  EXPECT_THROW(probe.Run(*all[0], *all[1]), XInternalError);  // source and destination of one class

  // A tool that serves Grey8 only refuses the others from the default slots,
  // before it has changed anything.
  XAddOneTool grey8Only;
  ExpectRefused(Volumes<XFPVolume, XBGRA32Volume, XRGB48Volume, XARGB32Volume>(),
                [&](XVolume& v) { grey8Only.ApplyToolInPlace(v); });
  XGrey16Volume grey16(2, 2, 1);
  grey16.Fill(7);
  EXPECT_EQ(ErrorOf([&] { grey8Only.ApplyToolInPlace(grey16); }), kErrNotForPixelType);
  EXPECT_EQ(VoxelAt(grey16, 1, 1, 0), 7);
}

TEST_F(ToolTest, TheNewVolumeInPlaceAndCloneRoads) {
  XGrey8Volume source(X3DRect(-3, 4, 1, 1, 7, 3));
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + y + z + 10); });
  XAddOneTool tool;
  std::unique_ptr<XVolume> result(tool.ApplyTool(source));
  ASSERT_EQ(typeid(*result), typeid(XGrey8Volume));
  EXPECT_EQ(result->GetBounds(), source.GetBounds());
  EXPECT_EQ(VoxelAt(static_cast<XGrey8Volume&>(*result), 0, 6, 2), UInt8(0 + 6 + 2 + 11));
  EXPECT_EQ(VoxelAt(source, 0, 6, 2), UInt8(0 + 6 + 2 + 10));  // the source is left alone
  for (bool inPlace : {true, false}) {
    tool.itsInPlace = inPlace;
    tool.ApplyToolInPlace(source);
    EXPECT_EQ(VoxelAt(source, -3, 4, 1), UInt8(-3 + 4 + 1 + 11 + !inPlace)) << inPlace;
  }

  // A failure on the clone road leaves the volume as it was; in place, the
  // planes written before the failure stay written.
  tool.itsFailAfterWriting = true;
  XGrey8Volume volume(2, 2, 2);
  volume.Fill(5);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(volume); }), kErrGeneral);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 0), 5);
  tool.itsInPlace = true;
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(volume); }), kErrGeneral);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 0), 6);
  EXPECT_EQ(VoxelAt(volume, 0, 0, 1), 5);
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

// Swaps red and blue of every ARGB voxel and remembers the region it was given.
class XSwapRedBlueTool : public XVolumeScanningTool {
 public:
  const X3DRegion* itsRegion = nullptr;
  std::string itsSlot;

 protected:
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override {
    itsSlot += "ARGB32";
    itsRegion = inRegion;
    FillWith(ioVolume, [&](SInt32 x, SInt32 y, SInt32 z) {
      XARGB32Colour c = ioVolume.GetVoxel(x, y, z);
      std::swap(c.red, c.blue);
      return c;
    });
  }
  void ApplyToolGrey8(XGrey8Volume&, const X3DRegion*) override { itsSlot += "Grey8"; }
};

}  // namespace

TEST_F(ToolTest, OneToManyMovesTheResultsOutAndHasNoBGRASlot) {
  XSplitProbe tool;
  XMaskVolume mask(2, 3, 1);
  XPtrVector<XVolume> masks = tool.ApplyTool(mask);
  ASSERT_EQ(masks.size(), 2u);
  EXPECT_EQ(typeid(*masks[0]), typeid(XMaskVolume));
  XARGB32Volume colour(4, 1, 1);
  EXPECT_EQ(tool.ApplyTool(colour).size(), 3u);
  ExpectRefused(Volumes<XBGRA32Volume, XGrey16Volume, XGrey32Volume>(), [&](XVolume& v) { tool.ApplyTool(v); });
}

TEST_F(ToolTest, ScanningToolsSeeBGRAAsARGBAndMasksAsGrey) {
  XSwapRedBlueTool tool;
  XBGRA32Volume bgra(X3DRect(5, 5, 5, 7, 6, 6));
  bgra.Fill(XBGRA32Colour(255, 10, 20, 30));
  X3DRegion region(X3DRect(5, 5, 5, 6, 6, 6));
  tool.ApplyTool(bgra, &region);
  EXPECT_EQ(tool.itsSlot, "ARGB32");
  EXPECT_EQ(tool.itsRegion, &region);
  EXPECT_TRUE(VoxelAt(bgra, 6, 5, 5) == XBGRA32Colour(255, 30, 20, 10));

  tool.itsSlot.clear();
  XMaskVolume mask(1, 1, 1);
  tool.ApplyTool(mask, nullptr);
  EXPECT_EQ(tool.itsSlot, "Grey8");
  ExpectRefused(Volumes<XFPVolume, XGrey32Volume>(), [&](XVolume& v) { tool.ApplyTool(v, nullptr); });
}
