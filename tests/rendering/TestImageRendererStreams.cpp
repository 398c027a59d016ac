#include <gtest/gtest.h>

#include <memory>

#include "RenderingTestClasses.h"

namespace {

class RendererStreams : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterRenderingClassesForTest(); }
};

// The 12001 block of default settings with the given white point.
XByteWriter& BaseBlock(XByteWriter& ioWriter, Float64 inWhite) {
  return ioWriter.U32(0x2EE1).F64(0).F64(1).F64(1).F64(0).F64(inWhite).F64(1).F64(1).F64(1);
}

template <class T>
std::unique_ptr<T> RoundTrip(const T& inRenderer) {
  XMemoryStream stream;
  stream.WriteObject(inRenderer);
  stream.SeekTo(0);
  std::unique_ptr<T> back = stream.ReadObjectAs<T>();
  EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
  return back;
}

void Customise(XImageRenderer& ioRenderer) {
  ioRenderer.SetOffset(0.125);
  ioRenderer.SetGain(1.75);
  ioRenderer.SetGamma(0.8);
  ioRenderer.SetBlack(3);
  ioRenderer.SetWhite(77);
  ioRenderer.SetColourBalance(0.5, 0.25, 2.0);
  ioRenderer.SetBlackColour(XARGB32Colour(10, 20, 30, 40));
  ioRenderer.SetWhiteColour(XARGB32Colour(50, 60, 70, 80));
  ioRenderer.SetRendererType(kRendererRainbow);
}

void ExpectSameSettings(const XImageRenderer& a, const XImageRenderer& b) {
  EXPECT_EQ(a.GetVersion(), b.GetVersion());
  for (UInt32 p = 1; p <= 15; ++p) EXPECT_EQ(a.GetProperty(p), b.GetProperty(p)) << p;
  EXPECT_EQ(a.GetBlackColour(), b.GetBlackColour());
  EXPECT_EQ(a.GetWhiteColour(), b.GetWhiteColour());
  EXPECT_EQ(a.GetRendererType(), b.GetRendererType());
}

// ---------------------------------------------------------- exact layouts

TEST_F(RendererStreams, Grey8ChainBytesAreExact) {
  XMemoryStream stream(kLittleEndian);
  XGrey8ImageRenderer().WriteStream2(stream);
  XByteWriter expected;
  BaseBlock(expected, 255)
      .U32(0x00022EE2)
      .U32(0)  // renderer type
      .U32(0x2EE3)
      .Raw({0xFF, 0, 0, 0})           // black colour, alpha red green blue
      .Raw({0xFF, 0xFF, 0xFF, 0xFF})  // white colour
      .U32(0x2EE5);
  EXPECT_EQ(stream.GetBytes(), expected.bytes);
}

TEST_F(RendererStreams, MaskWritesTheGrey8WordThenItsOwn) {
  XMemoryStream stream(kLittleEndian);
  XMaskImageRenderer().WriteStream2(stream);
  const std::vector<UInt8> bytes = stream.GetBytes();
  const std::vector<UInt8> tail = XByteWriter().U32(0x2EE5).U32(0x2EE4).bytes;
  ASSERT_EQ(bytes.size(), 4 + 64 + 8 + 12 + 8u);
  EXPECT_TRUE(std::equal(tail.begin(), tail.end(), bytes.end() - 8));
}

TEST_F(RendererStreams, ColourRenderersWriteTheBaseBlockAndTheirWord) {
  XMemoryStream stream(kLittleEndian);
  XRGB48ImageRenderer().WriteStream2(stream);
  XByteWriter expected;
  BaseBlock(expected, 65535).U32(12009);
  EXPECT_EQ(stream.GetBytes(), expected.bytes);

  XMemoryStream argb(kLittleEndian);
  XARGB32ImageRenderer().WriteStream2(argb);
  EXPECT_EQ(argb.GetBytes().size(), 4 + 64 + 4u);
  XMemoryStream bgra(kLittleEndian);
  XBGRA32ImageRenderer().WriteStream2(bgra);
  const std::vector<UInt8> bgraBytes = bgra.GetBytes();
  const std::vector<UInt8> bgraWord = {0xE8, 0x2E, 0, 0};  // 12008
  EXPECT_TRUE(std::equal(bgraWord.begin(), bgraWord.end(), bgraBytes.end() - 4));
}

// ------------------------------------------------------------- round trips

TEST_F(RendererStreams, EveryConcreteClassRoundTrips) {
  XGrey8ImageRenderer grey8;
  XMaskImageRenderer mask;
  XGrey16ImageRenderer grey16;
  XFPImageRenderer fp;
  XARGB32ImageRenderer argb;
  XBGRA32ImageRenderer bgra;
  XRGB48ImageRenderer rgb;
  for (XImageRenderer* r : std::initializer_list<XImageRenderer*>{&grey8, &mask, &grey16, &fp, &argb, &bgra, &rgb})
    Customise(*r);
  ExpectSameSettings(*RoundTrip(grey8), grey8);
  ExpectSameSettings(*RoundTrip(mask), mask);
  ExpectSameSettings(*RoundTrip(grey16), grey16);
  ExpectSameSettings(*RoundTrip(fp), fp);
  ExpectSameSettings(*RoundTrip(argb), argb);
  ExpectSameSettings(*RoundTrip(bgra), bgra);
  ExpectSameSettings(*RoundTrip(rgb), rgb);
  EXPECT_EQ(RoundTrip(fp)->GetBlackColour(), XARGB32Colour(10, 20, 30, 40));  // alpha kept
}

TEST_F(RendererStreams, ReadStream2ReplacesSettingsInPlace) {
  XGrey16ImageRenderer source;
  Customise(source);
  XMemoryStream stream;
  source.WriteStream2(stream);
  stream.SeekTo(0);
  XGrey16ImageRenderer target;
  target.ReadStream2(stream);
  ExpectSameSettings(target, source);
}

TEST_F(RendererStreams, GreyBlockBeforeVersion2HasNoType) {
  XByteWriter v1;
  BaseBlock(v1, 200).U32(0x00012EE2).U32(0x2EE3).Raw({0xFF, 1, 2, 3}).Raw({0xFF, 4, 5, 6}).U32(0x2EE5);
  XMemoryStream stream(v1.bytes.data(), v1.bytes.size(), kLittleEndian);
  XGrey8ImageRenderer grey;
  grey.SetRendererType(kRendererRainbow);
  grey.ReadStream2(stream);
  EXPECT_EQ(grey.GetRendererType(), kRendererRainbow);  // stays as it was
  EXPECT_EQ(grey.GetWhite(), 200.0);
  EXPECT_EQ(grey.GetBlackColour(), XARGB32Colour(255, 1, 2, 3));
  EXPECT_EQ(grey.GetWhiteColour(), XARGB32Colour(255, 4, 5, 6));
  EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
}

// ----------------------------------------------------------------- errors

TEST_F(RendererStreams, WrongWordsAndNewerVersionsAreRefused) {
  XMemoryStream grey16;
  XGrey16ImageRenderer().WriteStream2(grey16);
  grey16.SeekTo(0);
  XGrey8ImageRenderer grey8;
  EXPECT_EQ(ErrorNumberOf([&] { grey8.ReadStream2(grey16); }), kErrWrongClass);  // 12006 for 12005

  XMemoryStream grey8Stream;
  XGrey8ImageRenderer().WriteStream2(grey8Stream);
  grey8Stream.SeekTo(0);
  XMaskImageRenderer mask;
  EXPECT_NE(ErrorNumberOf([&] { mask.ReadStream2(grey8Stream); }), 0);  // no 12004 word

  XMemoryStream colour;
  XARGB32ImageRenderer().WriteStream2(colour);
  colour.SeekTo(0);
  EXPECT_EQ(ErrorNumberOf([&] { XGrey8ImageRenderer fromColour(colour); }), kErrWrongClass);

  XByteWriter newerGrey;
  BaseBlock(newerGrey, 255).U32(0x00032EE2).U32(0);
  XMemoryStream newerGreyStream(newerGrey.bytes.data(), newerGrey.bytes.size(), kLittleEndian);
  EXPECT_EQ(ErrorNumberOf([&] { grey8.ReadStream2(newerGreyStream); }), kErrNewerVersion);

  XByteWriter newerBase;
  newerBase.U32(0x00012EE1);
  XMemoryStream newerBaseStream(newerBase.bytes.data(), newerBase.bytes.size(), kLittleEndian);
  XRGB48ImageRenderer rgb;
  EXPECT_EQ(ErrorNumberOf([&] { rgb.ReadStream2(newerBaseStream); }), kErrNewerVersion);

  XByteWriter newerConcrete;
  BaseBlock(newerConcrete, 255).U32(0x00012EE7);
  XMemoryStream newerConcreteStream(newerConcrete.bytes.data(), newerConcrete.bytes.size(), kLittleEndian);
  XARGB32ImageRenderer argb;
  EXPECT_EQ(ErrorNumberOf([&] { argb.ReadStream2(newerConcreteStream); }), kErrNewerVersion);
}

TEST_F(RendererStreams, EveryTruncationThrowsAnXException) {
  XMemoryStream full;
  XMaskImageRenderer mask;
  Customise(mask);
  full.WriteObject(mask);
  full.WriteObject(XFPImageRenderer());
  const std::vector<UInt8> bytes = full.GetBytes();
  for (size_t length = 0; length < bytes.size(); ++length) {
    XMemoryStream cut(bytes.data(), length, kLittleEndian);
    const SInt32 error = ErrorNumberOf([&] {
      std::unique_ptr<XStorable> a(cut.ReadObject());
      std::unique_ptr<XStorable> b(cut.ReadObject());
    });
    EXPECT_NE(error, 0) << "length " << length;
  }
}

}  // namespace
