// PICT pictures: PackBits, round trips of every plane type the encoder
// writes, hand-made pictures for the decoder's rules and refusals, every
// single-byte corruption of small pictures, and the real files.
#include <gtest/gtest.h>

#include <map>

#include "CodecTestSupport.h"
#include "core/XHandleStream.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "storage/XPICTDecoder.h"
#include "storage/XPICTEncoder.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XFPVolume.h"

using namespace mirelan;
using namespace storagetest;
using namespace codectest;

namespace {

class PICTCodec : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterImagingClasses(); }
};

// The decoder's unpacking, for the PackBits tests.
class XUnpacker : public XPICTDecoder {
 public:
  XUnpacker(XStream& ioStream) : XPICTDecoder(ioStream, 0) {}
  using XPICTDecoder::UnpackBits;
  using XPICTDecoder::UnpackBits16;
};

std::vector<UInt8> Pack(const std::vector<UInt8>& inRow) {
  std::vector<UInt8> packed(inRow.size() + inRow.size() / 128 + 2);
  packed.resize(XPICTEncoder::PackBits(inRow.data(), packed.data(), UInt32(inRow.size())));
  return packed;
}

std::vector<UInt8> Unpack(const std::vector<UInt8>& inPacked, UInt32 inCapacity) {
  XMemoryStream s(inPacked.data(), inPacked.size(), kBigEndian);
  std::vector<UInt8> out(inCapacity);
  out.resize(XUnpacker(s).UnpackBits(UInt32(inPacked.size()), inCapacity, out.data()));
  EXPECT_EQ(s.GetPosition(), inPacked.size());
  return out;
}

struct XEncoded {
  std::vector<UInt8> bytes;
  UInt64 last = 0;  // bytes of the last picture, which ends the stream
};

XEncoded Encode(const XVolume& inVolume) {
  XMemoryStream s(kBigEndian);
  XEncoded e;
  e.last = XPICTEncoder(s).WriteVolume(inVolume);
  e.bytes = s.GetBytes();
  return e;
}

// What a host does: ReadInfo, a volume for the depth, ReadToVolume.
std::unique_ptr<XVolume> VolumeForDepth(UInt32 inDepth, const XRect& inRect) {
  const X3DRect box(inRect, 0, 1);
  switch (inDepth) {
    case 1: return std::unique_ptr<XVolume>(new XMaskVolume(box));
    case 8: return std::unique_ptr<XVolume>(new XGrey8Volume(box));
    case XPICTDecoder::kDeepGreyDepth: return std::unique_ptr<XVolume>(new XGrey16Volume(box));
    default: return std::unique_ptr<XVolume>(new XARGB32Volume(box));
  }
}

std::unique_ptr<XVolume> Decode(const std::vector<UInt8>& inBytes, UInt64 inStart = 0, UInt32* outDepth = nullptr) {
  XMemoryStream s(inBytes.data(), inBytes.size(), kBigEndian);
  s.SeekTo(inStart);
  XPICTDecoder decoder(s, UInt32(inBytes.size() - inStart));
  XRect rect;
  UInt32 depth = 0;
  decoder.ReadInfo(rect, depth);
  EXPECT_EQ(s.GetPosition(), inBytes.size());
  if (outDepth) *outDepth = depth;
  std::unique_ptr<XVolume> volume = VolumeForDepth(depth, rect);
  s.SeekTo(inStart);
  decoder.ReadToVolume(*volume);
  EXPECT_EQ(s.GetPosition(), inBytes.size());
  return volume;
}

SInt32 DecodeError(const std::vector<UInt8>& inBytes, XVolume& ioVolume) {
  XMemoryStream s(inBytes.data(), inBytes.size(), kBigEndian);
  return ErrorOf([&] { XPICTDecoder(s, UInt32(inBytes.size())).ReadToVolume(ioVolume); });
}

// Hand-made pictures.
class XPictureWriter {
 public:
  XPictureWriter() : s(kBigEndian) {}
  XPictureWriter& Header(const XRect& inFrame) {
    s.Write16(0);
    Rect(inFrame);
    s.Write16(0x0011);
    s.Write16(0x02FF);
    return *this;
  }
  XPictureWriter& Rect(const XRect& inRect) {
    for (SInt32 v : {inRect.top, inRect.left, inRect.bottom, inRect.right}) s.Write16(UInt16(v));
    return *this;
  }
  XPictureWriter& PixMap(UInt16 inOpcode, UInt16 inRowBytes, const XRect& inBounds, UInt16 inPackType,
                         UInt16 inPixelSize) {
    s.Write16(inOpcode);
    if (inOpcode >= 0x009A) s.Write32(255);
    s.Write16(inRowBytes | 0x8000);
    Rect(inBounds);
    s.Write16(0);
    s.Write16(inPackType);
    s.Write32(0);
    s.Write32(0x480000);
    s.Write32(0x480000);
    s.Write16(inPixelSize == 32 || inPixelSize == 16 ? 16 : 0);
    s.Write16(inPixelSize);
    s.Write16(inPixelSize >= 16 ? 3 : 1);
    s.Write16(inPixelSize >= 16 ? (inPixelSize == 16 ? 5 : 8) : inPixelSize);
    s.Write32(0);
    s.Write32(0);
    s.Write32(0);
    return *this;
  }
  XPictureWriter& ColourTable(UInt32 inEntries) {
    s.Write32(0);
    s.Write16(0);
    s.Write16(UInt16(inEntries - 1));
    for (UInt32 i = 0; i < inEntries; ++i) {
      s.Write16(UInt16(i));
      s.Write16(UInt16(0x0101 * (i * 7 % 256)));
      s.Write16(UInt16(0x0101 * (i * 3 % 256)));
      s.Write16(UInt16(0x0101 * (255 - i % 256)));
    }
    return *this;
  }
  XPictureWriter& Rects(const XRect& inRect) {
    Rect(inRect);
    Rect(inRect);
    s.Write16(0);
    return *this;
  }
  XPictureWriter& Bytes(std::initializer_list<UInt8> inBytes) {
    for (UInt8 b : inBytes) s.Write8(b);
    return *this;
  }
  XPictureWriter& Word(UInt16 inWord) {
    s.Write16(inWord);
    return *this;
  }
  XPictureWriter& Long(UInt32 inLong) {
    s.Write32(inLong);
    return *this;
  }
  XPictureWriter& DeepComment(UInt32 inSelector, const std::vector<UInt8>& inData, UInt16 inDepth) {
    s.Write16(0x00A1);
    s.Write16(101);
    s.Write16(UInt16(inData.size() + 32));
    s.Write32(0x515A5254);
    s.Write32(inSelector);
    for (int i = 0; i < 4; ++i) s.Write32(0);
    s.Write32(UInt32(inData.size()));
    s.Write16(inDepth);
    s.Write16(0);
    s.WriteBuffer8(inData.data(), inData.size());
    return *this;
  }
  XPictureWriter& End() {
    if (s.GetPosition() & 1) s.Write8(0);
    s.Write16(0x00FF);
    return *this;
  }
  std::vector<UInt8> Get() const { return s.GetBytes(); }

  XMemoryStream s;
};

constexpr UInt32 kPixels = 0x64627071;  // "dbpq"
constexpr UInt32 kTable = 0x6462706C;   // "dbpl"

}  // namespace

// ---------------------------------------------------------------- PackBits

TEST_F(PICTCodec, PackBitsMakesRunsAndLiteralsAndKeepsTheLastTwoBytesLiteral) {
  EXPECT_EQ(Pack({5, 5, 5, 5, 5, 5, 5, 5, 5, 5}), (std::vector<UInt8>{UInt8(-7), 5, 1, 5, 5}));
  EXPECT_EQ(Pack({1, 2, 3}), (std::vector<UInt8>{2, 1, 2, 3}));
  EXPECT_EQ(Pack({1, 1, 2, 2, 2, 2, 3, 4}), (std::vector<UInt8>{1, 1, 1, UInt8(-3), 2, 1, 3, 4}));
  EXPECT_EQ(Pack({7, 7}), (std::vector<UInt8>{1, 7, 7}));
  EXPECT_TRUE(Pack({}).empty());
  // Runs of at most 128, literals of at most 128.
  std::vector<UInt8> flat(300, 9);
  EXPECT_EQ(Pack(flat), (std::vector<UInt8>{UInt8(-127), 9, UInt8(-127), 9, UInt8(-41), 9, 1, 9, 9}));
  std::vector<UInt8> ramp(300);
  for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = UInt8(i);
  const std::vector<UInt8> packed = Pack(ramp);
  EXPECT_EQ(packed.size(), 303u);
  EXPECT_EQ(packed[0], 127);
  EXPECT_EQ(packed[129], 127);
  EXPECT_EQ(packed[258], 43);
  for (const std::vector<UInt8>& row : {flat, ramp, std::vector<UInt8>{1, 1, 1, 2, 1, 1, 1, 1, 1, 3, 3, 3}})
    EXPECT_EQ(Unpack(Pack(row), UInt32(row.size())), row);
}

TEST_F(PICTCodec, UnpackingStopsAtTheCapacityAndAtTheCount) {
  // A run of 129 (-128 is no special case), a literal beyond the row.
  EXPECT_EQ(Unpack({0x80, 4}, 200), std::vector<UInt8>(129, 4));
  EXPECT_EQ(Unpack({4, 1, 2, 3, 4, 5}, 3), (std::vector<UInt8>{1, 2, 3}));
  EXPECT_EQ(Unpack({6, 1, 2}, 10), (std::vector<UInt8>{1, 2}));  // the literal is cut by the count
  EXPECT_EQ(Unpack({0xFE}, 10), std::vector<UInt8>{});           // a run without its value
  XMemoryStream s(std::vector<UInt8>{0xFE, 0x12, 0x34, 1, 0xAB, 0xCD, 0x00, 0x01}.data(), 8, kBigEndian);
  std::vector<UInt16> units(10);
  units.resize(XUnpacker(s).UnpackBits16(8, 10, units.data()));
  EXPECT_EQ(units, (std::vector<UInt16>{0x1234, 0x1234, 0x1234, 0xABCD, 0x0001}));
}

// ---------------------------------------------------------------- round trips

TEST_F(PICTCodec, EveryPlaneTypeTheEncoderWritesComesBack) {
  const X3DRect box(-3, 7, 2, 118, 52, 3);  // 121 x 45, off the origin
  {
    SCOPED_TRACE("mask");
    XMaskVolume mask(box);
    {
      XLock lock(mask, kLockWrite);
      for (UInt64 i = 0; i < mask.GetVolumeVoxels(); ++i) mask.GetBaseVoxelPtr()[i] = (i * i / 7) % 3 ? 255 : 0;
    }
    UInt32 depth = 0;
    std::unique_ptr<XVolume> back = Decode(Encode(mask).bytes, 0, &depth);
    EXPECT_EQ(depth, 1u);
    back->OffsetBounds(0, 0, 2);
    EXPECT_TRUE(*back == mask);
  }
  {
    SCOPED_TRACE("8-bit grey with its renderer");
    std::unique_ptr<XGrey8Volume> grey = PatternGrey8(box);
    XGrey8ImageRenderer renderer;
    renderer.SetWhiteColour(XARGB32Colour(255, 255, 128, 0));
    grey->SetPlaneRenderer(renderer);
    XARGB32Colour white;
    std::unique_ptr<XIntToColourLUT>(renderer.GetLUT())->IndexToValue(255, white);
    UInt32 depth = 0;
    std::unique_ptr<XVolume> back = Decode(Encode(*grey).bytes, 0, &depth);
    EXPECT_EQ(depth, 8u);
    back->OffsetBounds(0, 0, 2);
    EXPECT_TRUE(*back == *grey);
    EXPECT_EQ(back->GetPlaneRenderer().GetWhiteColour().GetARGB(), white.GetARGB());  // through the table
  }
  {
    SCOPED_TRACE("16-bit grey, exactly");
    // 100 x 90 voxels: 18016 bytes, a full block and a short one.
    std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(X3DRect(5, 6, 0, 105, 96, 1));
    const XEncoded e = Encode(*grey16);
    UInt32 depth = 0;
    std::unique_ptr<XVolume> back = Decode(e.bytes, 0, &depth);
    EXPECT_EQ(depth, XPICTDecoder::kDeepGreyDepth);
    EXPECT_TRUE(*back == *grey16);
    EXPECT_EQ(back->GetPlaneRenderer().GetWhite(), 65535.0);
    // The colour picture behind it, for other programs.
    std::unique_ptr<XVolume> colour = Decode(e.bytes, e.bytes.size() - e.last, &depth);
    EXPECT_EQ(depth, 32u);
    EXPECT_EQ(VoxelAt<XARGB32Colour>(*colour, 9, 3, 0).red, VoxelAt<UInt16>(*grey16, 9, 3, 0) >> 8);
  }
  {
    SCOPED_TRACE("colour");
    std::unique_ptr<XARGB32Volume> colour = PatternARGB32(box);
    const XEncoded e = Encode(*colour);
    EXPECT_EQ(e.last, e.bytes.size());  // one picture only
    std::unique_ptr<XVolume> back = Decode(e.bytes);
    EXPECT_EQ(CompareRGB(dynamic_cast<XARGB32Volume&>(*back), *colour).largest, 0);
    EXPECT_EQ(VoxelAt<XARGB32Colour>(*back, 1, 1, 0).alpha, 0);  // alpha is not stored
  }
  {
    SCOPED_TRACE("float, written as colour");
    XFPVolume floats(X3DRect(20, 10, 1));
    floats.Fill(0.5f, nullptr, nullptr);
    const XEncoded e = Encode(floats);
    EXPECT_EQ(e.last, e.bytes.size());
    EXPECT_NEAR(VoxelAt<XARGB32Colour>(*Decode(e.bytes), 3, 3, 0).red, 127, 1);
  }
}

TEST_F(PICTCodec, PlanesWiderThanTheRowBytesFieldComeBack) {
  std::unique_ptr<XARGB32Volume> wide = PatternARGB32(X3DRect(4096, 3, 1));  // row bytes 0x4000
  std::unique_ptr<XVolume> back = Decode(Encode(*wide).bytes);
  EXPECT_EQ(CompareRGB(dynamic_cast<XARGB32Volume&>(*back), *wide).largest, 0);
  XGrey8Volume huge(X3DRect(0, 0, 0, 40000, 1, 1));
  EXPECT_EQ(ErrorOf([&] { Encode(huge); }), kErrUnsupportedImage);  // beyond 16-bit corners
  XGrey8Volume planes(4, 4, 2);
  EXPECT_THROW(Encode(planes), XInternalError);
}

// ---------------------------------------------------------------- the decoder's rules

TEST_F(PICTCodec, RowCountsAreBytesBelow251RowBytesAndWordsFrom251) {
  for (UInt16 width : {250, 251}) {
    SCOPED_TRACE(width);
    const XRect r(0, 0, width, 2);
    XPictureWriter w;
    w.Header(r).PixMap(0x0098, width, r, 0, 8).ColourTable(256).Rects(r);
    for (int row = 0; row < 2; ++row) {
      // A run of width bytes: 1 - 128 for 128, then 1 - (width - 128).
      if (width < 251)
        w.Bytes({4});
      else
        w.Word(4);
      w.Bytes({0x81, UInt8(10 + row), UInt8(1 - (width - 128)), UInt8(20 + row)});
    }
    XGrey8Volume v(X3DRect(r, 0, 1));
    EXPECT_EQ(DecodeError(w.End().Get(), v), 0);
    EXPECT_EQ(VoxelAt<UInt8>(v, 0, 1, 0), 11);
    EXPECT_EQ(VoxelAt<UInt8>(v, width - 1, 1, 0), 21);
  }
}

TEST_F(PICTCodec, ALiteralLongerThanTheRowIsCutAndTheNextRowStartsAtItsCount) {
  const XRect r(0, 0, 4, 2);
  std::vector<UInt8> bytes = XPictureWriter()
                                 .Header(r)
                                 .PixMap(0x0098, 4, r, 0, 8)
                                 .ColourTable(256)
                                 .Rects(r)
                                 .Bytes({9, 7, 1, 2, 3, 4, 5, 6, 7, 8})  // 8 bytes for a row of 4
                                 .Bytes({2, 0xFD, 42})
                                 .End()
                                 .Get();
  XGrey8Volume v(X3DRect(r, 0, 1));
  EXPECT_EQ(DecodeError(bytes, v), 0);
  EXPECT_EQ(VoxelAt<UInt8>(v, 3, 0, 0), 4);
  EXPECT_EQ(VoxelAt<UInt8>(v, 0, 1, 0), 42);
  EXPECT_EQ(VoxelAt<UInt8>(v, 3, 1, 0), 42);
}

TEST_F(PICTCodec, ColourTablesRunBackwardsAndOnlyFullOnesAreTaken) {
  const XRect r(0, 0, 2, 1);
  auto picture = [&](UInt32 inEntries) {
    return XPictureWriter()
        .Header(r)
        .PixMap(0x0098, 2, r, 0, 8)
        .ColourTable(inEntries)
        .Rects(r)
        .Bytes({3, 1, 0, 255})
        .End()
        .Get();
  };
  XGrey8Volume full(X3DRect(r, 0, 1)), two(X3DRect(r, 0, 1));
  ASSERT_EQ(DecodeError(picture(256), full), 0);
  ASSERT_EQ(DecodeError(picture(2), two), 0);
  // Picture entry 0 (red 0, green 0, blue 255) is table entry 255: the white
  // end of the renderer made from the table.
  EXPECT_EQ(full.GetPlaneRenderer().GetWhiteColour().GetARGB(), XARGB32Colour(255, 0, 0, 255).GetARGB());
  EXPECT_TRUE(two.GetPlaneRenderer().IsNormal());  // the default table stays
  EXPECT_EQ(VoxelAt<UInt8>(two, 1, 0, 0), 255);
}

TEST_F(PICTCodec, DirectMapsOfEveryPackType) {
  const XRect r(0, 0, 2, 1);
  auto decode = [&](UInt16 inPackType, UInt16 inPixelSize, UInt16 inRowBytes, std::initializer_list<UInt8> inData) {
    XARGB32Volume v(X3DRect(r, 0, 1));
    EXPECT_EQ(DecodeError(XPictureWriter()
                              .Header(r)
                              .PixMap(0x009A, inRowBytes, r, inPackType, inPixelSize)
                              .Rects(r)
                              .Bytes(inData)
                              .End()
                              .Get(),
                          v),
              0);
    return std::make_pair(VoxelAt<XARGB32Colour>(v, 0, 0, 0).GetARGB(), VoxelAt<XARGB32Colour>(v, 1, 0, 0).GetARGB());
  };
  // 0x7FFF: each channel 31 * 8, no replication of the high bits.
  EXPECT_EQ(decode(1, 16, 4, {0x7F, 0xFF, 0x04, 0x21}), std::make_pair(0x00F8F8F8u, 0x00080808u));
  EXPECT_EQ(decode(3, 16, 4, {3, 0xFF, 0x7F, 0xFF}), std::make_pair(0x00F8F8F8u, 0x00F8F8F8u));
  EXPECT_EQ(decode(1, 32, 8, {9, 1, 2, 3, 8, 4, 5, 6}), std::make_pair(0x09010203u, 0x08040506u));
  EXPECT_EQ(decode(2, 32, 8, {1, 2, 3, 4, 5, 6}), std::make_pair(0x00010203u, 0x00040506u));
  // Three planes, then four (alpha first).
  EXPECT_EQ(decode(4, 32, 8, {7, 5, 1, 2, 3, 4, 5, 6}), std::make_pair(0x00010305u, 0x00020406u));
  EXPECT_EQ(decode(4, 32, 8, {9, 7, 9, 8, 1, 2, 3, 4, 5, 6}), std::make_pair(0x09010305u, 0x08020406u));
  // Any volume class takes a direct map.
  XGrey8Volume grey(X3DRect(r, 0, 1));
  EXPECT_EQ(DecodeError(XPictureWriter()
                            .Header(r)
                            .PixMap(0x009A, 8, r, 2, 32)
                            .Rects(r)
                            .Bytes({30, 60, 90, 3, 3, 3})
                            .End()
                            .Get(),
                        grey),
            0);
  EXPECT_EQ(VoxelAt<UInt8>(grey, 0, 0, 0), 60);
}

TEST_F(PICTCodec, DrawingOpcodesBeforeTheImageAreSkipped) {
  const XRect r(0, 0, 3, 1);
  XPictureWriter w;
  w.Header(r)
      .Word(0x0C00).Long(0xFFFEFFFF).Long(0x480000).Long(0x480000).Rect(r).Long(0)  // header op
      .Word(0x001E)
      .Word(0x0001).Word(10).Rect(r)                         // clip region
      .Word(0x0030).Rect(r)                                  // frame rect
      .Word(0x0038)                                          // the same
      .Word(0x0028).Long(0).Bytes({3, 'a', 'b', 'c'})        // long text
      .Word(0x0070).Word(12).Rect(r).Word(0)                 // polygon, its size counts itself
      .Word(0x00A0).Word(7)                                  // short comment
      .Word(0x00A1).Word(100).Word(3).Bytes({1, 2, 3, 0})    // someone else's comment, padded
      .Word(0x0012).Word(2).Long(0).Long(0).Word(1).Word(2).Word(3)  // dithered pattern
      .Word(0x0002).Long(0).Long(0)                          // pattern
      .Word(0x8000)                                          // reserved, no data
      .Word(0x00D4).Long(2).Word(0)                          // reserved, 32-bit length
      .Word(0x0200).Long(0);                                 // reserved, 2 * high byte
  w.PixMap(0x0098, 3, r, 0, 8).ColourTable(256).Rects(r).Bytes({4, 2, 4, 5, 6});
  XGrey8Volume v(X3DRect(r, 0, 1));
  const std::vector<UInt8> bytes = w.End().Get();
  EXPECT_EQ(DecodeError(bytes, v), 0);
  EXPECT_EQ(VoxelAt<UInt8>(v, 2, 0, 0), 6);
  XMemoryStream s(bytes.data(), bytes.size(), kBigEndian);
  XRect rect;
  UInt32 depth = 0;
  XPICTDecoder(s, UInt32(bytes.size())).ReadInfo(rect, depth);
  EXPECT_EQ(depth, 8u);
}

TEST_F(PICTCodec, PicturesTheDecoderDoesNotTakeAreRefused) {
  const XRect r(0, 0, 2, 1);
  XGrey8Volume grey(X3DRect(r, 0, 1));
  XARGB32Volume colour(X3DRect(r, 0, 1));
  XGrey16Volume grey16(X3DRect(r, 0, 1));
  // Version word; a version 1 picture.
  XPictureWriter v1;
  v1.Word(0).Rect(r).Bytes({0x11, 0x01, 0xFF});
  EXPECT_EQ(DecodeError(v1.Get(), grey), XPICTDecoder::kErrPICTVersion);
  XPictureWriter v3;
  v3.Word(0).Rect(r).Word(0x0011).Word(0x03FF).End();
  EXPECT_EQ(DecodeError(v3.Get(), grey), XPICTDecoder::kErrPICTVersion);
  // Unpacked bits, an unknown pack type.
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).Word(0x0090).Bytes({0, 0, 0, 0}).End().Get(), grey), XPICTDecoder::kErrPICTPacking);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).PixMap(0x009A, 8, r, 5, 32).Rects(r).End().Get(), colour),
            XPICTDecoder::kErrPICTPacking);
  // A packed map of 4 bits; a map for a volume of the wrong class.
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).PixMap(0x0098, 1, r, 0, 4).ColourTable(16).Rects(r).End().Get(), grey),
            XPICTDecoder::kErrPICTPixelSize);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).PixMap(0x0098, 2, r, 0, 8).End().Get(), colour), XPICTDecoder::kErrPICTVolumeClass);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).PixMap(0x0098, 1, r, 0, 1).End().Get(), grey), XPICTDecoder::kErrPICTVolumeClass);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).DeepComment(kPixels, {1, 2, 3, 4}, 16).End().Get(), grey),
            XPICTDecoder::kErrPICTVolumeClass);
  // A table block before any table; no image before the end; QuickTime.
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).DeepComment(kTable, {1, 2}, 0).End().Get(), grey16),
            XPICTDecoder::kErrPICTNoDeepTable);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).Word(0x00A1).Word(100).Word(0).End().Get(), grey), XPICTDecoder::kErrPICTNoImage);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).Get(), grey), XPICTDecoder::kErrPICTNoImage);  // ends by its length
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).Word(0x8200).Long(4).Long(0).End().Get(), colour), XPICTDecoder::kErrPICTQuickTime);
  // A second deep colour table, a deep table deeper than 16 bits.
  XPictureWriter twice;
  twice.Header(r);
  for (int i = 0; i < 2; ++i) twice.Word(0x00A1).Word(102).Word(2056).ColourTable(256);
  EXPECT_EQ(DecodeError(twice.End().Get(), grey16), XPICTDecoder::kErrPICTDamaged);
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).DeepComment(kPixels, {1, 2, 3, 4}, 40).End().Get(), grey16),
            XPICTDecoder::kErrPICTDamaged);
  // But a deep pixel comment alone is an image.
  EXPECT_EQ(DecodeError(XPictureWriter().Header(r).DeepComment(kPixels, {1, 2, 3, 4}, 16).End().Get(), grey16), 0);
  EXPECT_EQ(VoxelAt<UInt16>(grey16, 1, 0, 0), 0x0304);
}

// Every single-byte corruption of small pictures ends in a picture or an
// XException, never a crash, a broken precondition or a read out of bounds.
TEST_F(PICTCodec, EverySingleByteCorruptionEndsInAPictureOrAnException) {
  const X3DRect box(7, 5, 1);
  std::unique_ptr<XGrey16Volume> grey16 = PatternGrey16(box);
  std::unique_ptr<XGrey8Volume> grey = PatternGrey8(box);
  std::unique_ptr<XARGB32Volume> colour = PatternARGB32(box);
  XMaskVolume mask(box);
  mask.Fill(255, nullptr, nullptr);
  for (const XVolume* plane : std::initializer_list<const XVolume*>{grey.get(), colour.get(), &mask, grey16.get()}) {
    const std::vector<UInt8> good = Encode(*plane).bytes;
    // The 16-bit picture is long (its deep table): its head and its end suffice.
    const size_t head = 400;
    UInt64 pictures = 0, refusals = 0;
    for (size_t at = 0; at < good.size(); ++at) {
      if (good.size() > 2 * head && at >= head && at < good.size() - head) continue;
      for (UInt32 value = 0; value < 256; ++value) {
        if (value == good[at]) continue;
        std::vector<UInt8> bad = good;
        bad[at] = UInt8(value);
        XMemoryStream s(bad.data(), bad.size(), kBigEndian);
        try {
          XPICTDecoder decoder(s, UInt32(bad.size()));
          XRect rect;
          UInt32 depth = 0;
          decoder.ReadInfo(rect, depth);
          if (UInt64(rect.GetWidth()) * rect.GetHeight() > (UInt64(1) << 22)) continue;  // a host would refuse
          std::unique_ptr<XVolume> volume = VolumeForDepth(depth, rect);
          s.SeekTo(0);
          decoder.ReadToVolume(*volume);
          ++pictures;
        } catch (const XException&) {
          ++refusals;
        }
      }
    }
    EXPECT_GT(pictures, 0u);
    EXPECT_GT(refusals, 0u);
  }
}

// ---------------------------------------------------------------- real files

TEST_F(PICTCodec, RealFilesAreReadOrRefusedAndAgreeWithAnIndependentDecoder) {
  if (!SharedDataPresent()) GTEST_SKIP() << "no shared data folder";
  const bool reference = HaveImageMagick();
  struct Case {
    const char* name;
    SInt32 error;  // 0: read
    UInt32 depth;
    XRect bounds;
    bool indexed;  // the decoder keeps indices; compare the mapping
    SInt32 dx, dy;  // where the map's destination lies in the frame
  } cases[] = {
      {"twelvemonkeys_pict_VENUS.PCT", 0, 8, XRect(0, 0, 300, 150), true, 0, 0},
      {"twelvemonkeys_pict_demo.pict", 0, 8, XRect(0, 0, 360, 178), true, 15, 34},
      {"twelvemonkeys_pict_1.pict", 0, 8, XRect(0, 0, 622, 10), true, 0, 0},
      {"twelvemonkeys_pict_mire16.pict", 0, 16, XRect(0, 0, 64, 64), false, 0, 0},
      {"twelvemonkeys_pict_16bit.pict", 0, 16, XRect(0, 0, 270, 269), false, 0, 0},
      {"twelvemonkeys_pict_mire32.pict", 0, 32, XRect(0, 0, 64, 64), false, 0, 0},
      {"twelvemonkeys_pict_TRU256.PCT", 0, 32, XRect(0, 0, 256, 64), false, 0, 0},
      {"twelvemonkeys_pict_FLAG_B24.PCT", 0, 32, XRect(0, 0, 124, 124), false, 0, 0},
      {"twelvemonkeys_pict_test.pct", 0, 32, XRect(0, 0, 300, 200), false, 0, 0},
      {"twelvemonkeys_pict_food.pct", 0, 32, XRect(0, 0, 146, 194), false, 0, 0},
      {"twelvemonkeys_pict_qt_mire.pict", XPICTDecoder::kErrPICTQuickTime, 0, XRect(), false, 0, 0},
      {"twelvemonkeys_pict_qt_jpeg.pict", XPICTDecoder::kErrPICTQuickTime, 0, XRect(), false, 0, 0},
      {"twelvemonkeys_pict_FC10.PCT", XPICTDecoder::kErrPICTVersion, 0, XRect(), false, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<UInt8> file = FileBytes(SharedData(c.name));
    ASSERT_GT(file.size(), 512u);
    const std::vector<UInt8> bytes(file.begin() + 512, file.end());  // without the file header
    XMemoryStream s(bytes.data(), bytes.size(), kBigEndian);
    XPICTDecoder decoder(s, UInt32(bytes.size()));
    XRect rect;
    UInt32 depth = 0;
    std::unique_ptr<XVolume> image;
    const SInt32 error = ErrorOf([&] {
      decoder.ReadInfo(rect, depth);
      image = VolumeForDepth(depth, rect);
      s.SeekTo(0);
      decoder.ReadToVolume(*image);
    });
    ASSERT_EQ(error, c.error);
    if (error) continue;
    EXPECT_EQ(depth, c.depth);
    EXPECT_EQ(rect.GetWidth(), c.bounds.GetWidth());
    EXPECT_EQ(rect.GetHeight(), c.bounds.GetHeight());
    if (!reference) continue;
    const XReference ref = DecodeWithImageMagick(SharedData(c.name));
    if (ref.width == 0) continue;  // ImageMagick does not read it
    // ImageMagick draws the map at its destination in the picture's frame.
    const SInt32 dx = c.dx, dy = c.dy;
    const UInt32 width = std::min<UInt32>(rect.GetWidth(), ref.width - dx);
    const UInt32 height = std::min<UInt32>(rect.GetHeight(), ref.height - dy);
    // An indexed picture keeps its indices (its table only gives the
    // renderer its white), so each index must stand for one colour there.
    XLock lock(*image, kLockRead);
    std::map<UInt8, UInt32> colourOfIndex;
    int largest = 0, inconsistent = 0;
    for (UInt32 y = 0; y < height; ++y)
      for (UInt32 x = 0; x < width; ++x) {
        const UInt8* r = ref.At(x + dx, y + dy);
        const UInt32 rgb = (UInt32(r[0]) << 16) | (r[1] << 8) | r[2];
        if (c.indexed) {
          const UInt8 index = dynamic_cast<XGrey8Volume&>(*image).GetVoxel(rect.left + x, rect.top + y, 0);
          auto known = colourOfIndex.emplace(index, rgb);
          if (known.first->second != rgb) ++inconsistent;
        } else {
          const XARGB32Colour& v = dynamic_cast<XARGB32Volume&>(*image).GetVoxel(rect.left + x, rect.top + y, 0);
          // 5-bit channels are widened without replication here.
          const int slack = depth == 16 ? 7 : 0;
          largest = std::max({largest, std::abs(v.red - r[0]) - slack, std::abs(v.green - r[1]) - slack,
                              std::abs(v.blue - r[2]) - slack});
        }
      }
    if (c.indexed) {
      EXPECT_EQ(inconsistent, 0);  // one colour for each index
      EXPECT_GT(colourOfIndex.size(), 1u);
    }
    EXPECT_LE(largest, 0);
  }
  if (!reference) GTEST_SKIP() << "sizes checked; pixels need ImageMagick's convert (Debian package imagemagick)";
}
