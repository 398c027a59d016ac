// Files by kind: the stream form of a stack, PNG pictures, and telling the
// kinds apart by content and by name.
#include <gtest/gtest.h>

#include "StorageTestSupport.h"
#include "core/XHandleStream.h"
#include "storage/XPNGCodec.h"
#include "storage/XRegisterImagingClasses.h"
#include "storage/XStackFile.h"

using namespace mirelan;
using namespace storagetest;

namespace {

class StackFile : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterImagingClasses(); }
  TempFolder itsFolder;
};

}  // namespace

TEST_F(StackFile, StreamFilesKeepEveryPixelTypeNamesAndUnits) {
  for (XPixelType type : {XPixelType::kMask, XPixelType::kGrey16, XPixelType::kFloat, XPixelType::kBGRA32,
                          XPixelType::kRGB48}) {
    SCOPED_TRACE(XPixelTypeName(type));
    XImageStack written = RampStack(type, 2, 2, X3DRect(-3, 4, 1, 5, 9, 4));
    written.SetChannelName(2, "GFP");
    const XFileSpec file = itsFolder.Path("stack.mis");
    XStackFile::Write(written, file);
    EXPECT_EQ(XStackFile::KindOfContent(file), XStackFileKind::kStream);
    XImageStack read = XStackFile::Read(file);
    EXPECT_EQ(XPixelTypeOf(read.GetFirstVolume()), type);  // nothing converted
    EXPECT_EQ(read.GetBounds(), written.GetBounds());     // the origin too
    EXPECT_EQ(read.GetChannelName(2), "GFP");
    for (UInt32 t = 1; t <= 2; ++t)
      for (UInt32 c = 1; c <= 2; ++c) EXPECT_TRUE(read.GetVolume(t, c) == written.GetVolume(t, c));
    EXPECT_EQ(read.GetUnit(), written.GetUnit());
  }
  // A damaged stream file fails with the file's name in the message.
  std::vector<UInt8> bytes = FileBytes(itsFolder.Path("stack.mis").GetPath());
  bytes.resize(bytes.size() / 2);
  WriteFile(itsFolder.Path("cut.mis"), std::string(bytes.begin(), bytes.end()));
  try {
    XStackFile::Read(itsFolder.Path("cut.mis"));
    ADD_FAILURE() << "a cut file read";
  } catch (const XException& e) {
    EXPECT_NE(std::string(e.what()).find("cut.mis"), std::string::npos);
  }
}

TEST_F(StackFile, PNGPicturesRoundTripGreyAndColour) {
  XImageStack grey = RampStack(XPixelType::kGrey8, 1, 1, X3DRect(0, 0, 0, 9, 4, 2));
  XPNGCodec::WriteGrey(grey.GetFirstVolume(), 1, itsFolder.Path("grey.png"));
  XImageStack greyBack = XStackFile::Read(itsFolder.Path("grey.png"));
  ASSERT_EQ(greyBack.GetBounds(), X3DRect(0, 0, 0, 9, 4, 1));
  EXPECT_EQ(VoxelAt<UInt8>(greyBack.GetFirstVolume(), 5, 3, 0), VoxelAt<UInt8>(grey.GetFirstVolume(), 5, 3, 1));

  XImageStack deep = RampStack(XPixelType::kGrey16, 1, 1, X3DRect(0, 0, 0, 9, 4, 1));
  XPNGCodec::WriteGrey(deep.GetFirstVolume(), 0, itsFolder.Path("deep.png"));
  XImageStack deepBack = XPNGCodec::Read(itsFolder.Path("deep.png"));
  EXPECT_EQ(XPixelTypeOf(deepBack.GetFirstVolume()), XPixelType::kGrey16);
  EXPECT_EQ(VoxelAt<UInt16>(deepBack.GetFirstVolume(), 7, 2, 0), VoxelAt<UInt16>(deep.GetFirstVolume(), 7, 2, 0));

  XImageStack colour = RampStack(XPixelType::kARGB32, 1, 1, X3DRect(0, 0, 0, 6, 5, 1));
  const auto& argb = dynamic_cast<const XARGB32Volume&>(colour.GetFirstVolume());
  XPNGCodec::Write(argb, 0, itsFolder.Path("colour.png"), true);
  XImageStack colourBack = XStackFile::Read(itsFolder.Path("colour.png"));
  EXPECT_TRUE(colourBack.GetFirstVolume() == argb);  // alpha kept
  EXPECT_EQ(itsFolder.Entries(), (std::vector<std::string>{"colour.png", "deep.png", "grey.png"}));
}

TEST_F(StackFile, KindsByContentAndByName) {
  WriteFile(itsFolder.Path("notes.tif"), "plain text, not an image");
  EXPECT_EQ(XStackFile::KindOfContent(itsFolder.Path("notes.tif")), XStackFileKind::kUnknown);
  EXPECT_EQ(ErrorOf([&] { XStackFile::Read(itsFolder.Path("notes.tif")); }), kErrUnsupportedImage);
  EXPECT_EQ(ErrorOf([&] { XStackFile::Read(itsFolder.Path("absent.tif")); }), kErrFile);
  EXPECT_EQ(XStackFile::KindOfName(XFileSpec("a/b.OME.TIF")), XStackFileKind::kTIFF);
  EXPECT_EQ(XStackFile::KindOfName(XFileSpec("stack.mis")), XStackFileKind::kStream);
  EXPECT_EQ(XStackFile::KindOfName(XFileSpec("stack.jpg")), XStackFileKind::kUnknown);
  XImageStack stack = RampStack(XPixelType::kGrey8, 1, 1, X3DRect(0, 0, 0, 2, 2, 1));
  EXPECT_EQ(ErrorOf([&] { XStackFile::Write(stack, itsFolder.Path("stack.png")); }), kErrUnsupportedImage);
  EXPECT_EQ(ErrorOf([&] { XStackFile::Write(stack, itsFolder.Path("stack.jpg")); }), kErrUnsupportedImage);
}
