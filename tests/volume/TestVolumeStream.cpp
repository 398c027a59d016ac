// Stored forms of volumes: round trips, byte layouts, version gates, byte
// order, legacy images and tables, the lossy framing, and bad input.
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XMaskImageRenderer.h"
#include "volume/XLossyVolumeCodec.h"
#include "VolumeTestSupport.h"

using namespace volumetest;

namespace {

class VolumeStream : public VolumeTest {};

// The XVolume layer of a stream: tag 520, sizes, origin, calibrations.
Bytes& VolumeLayer(Bytes& b, UInt32 w, UInt32 h, UInt32 d, SInt32 l = 0, SInt32 t = 0, SInt32 f = 0) {
  return b.U32(520).U32(w).U32(h).U32(d).U32(UInt32(l)).U32(UInt32(t)).U32(UInt32(f)).F64(1).F64(1).F64(1);
}

// A complete Grey8 stream of the given rows and data.
Bytes Grey8Stream(UInt32 w, UInt32 h, UInt32 d, UInt32 inRowVoxels, const std::vector<UInt8>& inData) {
  Bytes b;
  b.U32(65641);
  VolumeLayer(b, w, h, d).U32(114).U32(65638).U32(inRowVoxels).U32(0).Handle(inData);
  b.U32(103).U32(65640).U32(65641);
  return b;
}

template <class V, class Fn>
std::unique_ptr<V> Made(const X3DRect& inBounds, Fn inValueAt) {
  auto volume = std::make_unique<V>(inBounds);
  volume->SetXCalibration(0.25);
  volume->SetYCalibration(0.5);
  volume->SetZCalibration(3.0);
  FillWith(*volume, inValueAt);
  return volume;
}

template <class V>
void ExpectSameVolume(const V& inRead, const V& inWritten) {
  EXPECT_EQ(inRead.GetVersion(), inWritten.GetVersion());
  EXPECT_EQ(inRead.GetBounds(), inWritten.GetBounds());
  EXPECT_EQ(inRead.GetXCalibration(), inWritten.GetXCalibration());
  EXPECT_EQ(inRead.GetYCalibration(), inWritten.GetYCalibration());
  EXPECT_EQ(inRead.GetZCalibration(), inWritten.GetZCalibration());
  EXPECT_TRUE(inRead == inWritten);
  EXPECT_EQ(inRead.HasPlaneRenderer(), inWritten.HasPlaneRenderer());
}

// Through the registry's stream constructor and through the layer reader, in both byte orders.
template <class V, class Fn>
void RoundTrip(Fn inValueAt) {
  auto volume = Made<V>(X3DRect(-4, 3, 100, 1, 6, 102), inValueAt);
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    std::vector<UInt8> bytes = WriteToBytes(*volume, order);
    auto read = ReadFromBytes<V>(bytes, order);
    ASSERT_TRUE(read);
    ExpectSameVolume(*read, *volume);

    XMemoryStream stream(bytes.data(), bytes.size(), order);
    EXPECT_EQ(stream.ReadVersion(), V::GetClassVersion());
    V layered;
    layered.ReadStream2(stream);
    ExpectSameVolume(layered, *volume);
    EXPECT_EQ(stream.GetRemaining(), 0u);
  }
}

}  // namespace

// ---------------------------------------------------------------- round trips

TEST_F(VolumeStream, EveryClassRoundTrips) {
  RoundTrip<XGrey8Volume>([](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 3 + y * 7 + z); });
  RoundTrip<XMaskVolume>([](SInt32 x, SInt32 y, SInt32) { return UInt8((x + y) & 1 ? 255 : 0); });
  RoundTrip<XGrey16Volume>([](SInt32 x, SInt32 y, SInt32 z) { return UInt16(x * 4099 + y * 257 + z); });
  RoundTrip<XFPVolume>([](SInt32 x, SInt32 y, SInt32 z) { return Float32(x * 0.125 - y * 1e5 + z); });
  RoundTrip<XARGB32Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XARGB32Colour(UInt8(z), UInt8(x), UInt8(y), 9); });
  RoundTrip<XBGRA32Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XBGRA32Colour(UInt8(z), UInt8(x), UInt8(y), 9); });
  RoundTrip<XRGB48Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XRGB48Colour(UInt16(x * 999), UInt16(y), UInt16(z + 60000)); });
}

TEST_F(VolumeStream, Grey32HasNoRegistryEntryButReadsItself) {
  auto volume = Made<XGrey32Volume>(X3DRect(0, 0, 0, 3, 2, 2), [](SInt32 x, SInt32 y, SInt32 z) {
    return UInt32(0x01020304u * UInt32(x + 1) + UInt32(y * 77 + z));
  });
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    std::vector<UInt8> bytes = WriteToBytes(*volume, order);
    EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey32Volume>(bytes, order); }), kErrWrongClass);
    XMemoryStream stream(bytes.data(), bytes.size(), order);
    EXPECT_EQ(stream.ReadVersion(), XVersion(111, 0));
    XGrey32Volume read(stream);
    ExpectSameVolume(read, *volume);
  }
}

// ---------------------------------------------------------------- byte layouts

TEST_F(VolumeStream, Grey8LayoutIsByteExact) {
  XGrey8Volume volume(X3DRect(3, -1, 5, 5, 0, 6));
  volume.SetXCalibration(0.5);
  volume.SetYCalibration(2.0);
  volume.SetZCalibration(4.0);
  FillWith(volume, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 3 ? 7 : 9); });
  std::vector<UInt8> data(18, 0);
  data[0] = 7;
  data[1] = 9;
  Bytes expected;
  expected.U32(0x00010069);                                      // object: class 105, version 1
  expected.U32(0x00000208).U32(2).U32(1).U32(1);                 // XVolume: 520, sizes
  expected.U32(3).U32(0xFFFFFFFF).U32(5).F64(0.5).F64(2.0).F64(4.0);
  expected.U32(0x00000072);                                      // XBasePackedVolume: 114
  expected.U32(0x00010066).U32(2).U32(0);                        // XPackedVolume: 102 v1, rows, format
  expected.U32(33).U32(33).U64(18).U32(0).Raw(data);             // the block, with 16 spare bytes
  expected.U32(0x00000067);                                      // XNumberVolume: 103
  expected.U32(0x00010068);                                      // XIntegerVolume: 104 v1
  expected.U32(0x00010069);                                      // XGrey8Volume: 105 v1
  EXPECT_EQ(WriteToBytes(volume), expected.Get());
  EXPECT_EQ(volume.GetStreamUsage(), 18u);
}

TEST_F(VolumeStream, EachClassEndsWithItsOwnLayers) {
  auto tail = [](const XVolume& inVolume, size_t inWords) {
    std::vector<UInt8> bytes = WriteToBytes(inVolume);
    std::vector<UInt32> words;
    for (size_t i = bytes.size() - 4 * inWords; i < bytes.size(); i += 4)
      words.push_back(UInt32(bytes[i]) | UInt32(bytes[i + 1]) << 8 | UInt32(bytes[i + 2]) << 16 |
                      UInt32(bytes[i + 3]) << 24);
    return words;
  };
  using W = std::vector<UInt32>;
  EXPECT_EQ(tail(XMaskVolume(1, 1, 1), 4), (W{103, 65640, 65641, 115}));
  EXPECT_EQ(tail(XGrey16Volume(1, 1, 1), 3), (W{103, 65640, 106}));
  EXPECT_EQ(tail(XGrey32Volume(1, 1, 1), 3), (W{103, 65640, 111}));
  EXPECT_EQ(tail(XFPVolume(1, 1, 1), 2), (W{103, 65643}));
  EXPECT_EQ(tail(XARGB32Volume(1, 1, 1), 1), (W{65644}));
  EXPECT_EQ(tail(XRGB48Volume(1, 1, 1), 1), (W{112}));
  // BGRA32 has no layer of its own: the block's last spare bytes end the stream.
  EXPECT_EQ(tail(XBGRA32Volume(1, 1, 1), 1), (W{0}));
  std::vector<UInt8> bgra = WriteToBytes(XBGRA32Volume(1, 1, 1));
  EXPECT_EQ(bgra.size(), 4 + 4 + 24 + 24 + 4 + 12 + 20 + 20u);
}

TEST_F(VolumeStream, SwappedTypesStoreVoxelsInTheStreamsOrder) {
  XGrey16Volume volume(2, 1, 1);
  FillWith(volume, [](SInt32 x, SInt32, SInt32) { return UInt16(x ? 0xA1B2 : 0x0102); });
  std::vector<UInt8> bytes = WriteToBytes(volume, kBigEndian);
  // Block: word, tag, 64-bit size, compression, then the voxels; the stream ends with 103, 65640, 106.
  size_t data = bytes.size() - 12 - 20;
  EXPECT_EQ(bytes[data - 5], 20);  // last byte of the big-endian size: 4 voxel bytes and 16 spare
  EXPECT_EQ(std::vector<UInt8>(bytes.begin() + data, bytes.begin() + data + 4),
            (std::vector<UInt8>{0x01, 0x02, 0xA1, 0xB2}));
  // The volume itself is untouched by the write.
  EXPECT_EQ(VoxelAt(volume, 1, 0, 0), 0xA1B2);

  XFPVolume fp(1, 1, 1);
  fp.Fill(1.0f);
  std::vector<UInt8> fpBytes = WriteToBytes(fp, kBigEndian);
  size_t fpData = fpBytes.size() - 8 - 20;
  EXPECT_EQ(std::vector<UInt8>(fpBytes.begin() + fpData, fpBytes.begin() + fpData + 4),
            (std::vector<UInt8>{0x3F, 0x80, 0x00, 0x00}));
}

TEST_F(VolumeStream, ForeignByteOrderIsSwappedOnFirstLock) {
  XRGB48Volume volume(2, 1, 1);
  FillWith(volume, [](SInt32 x, SInt32, SInt32) { return XRGB48Colour(UInt16(0x1234 + x), 0xFF00, 7); });
  std::vector<UInt8> bytes = WriteToBytes(volume, kBigEndian);
  auto read = ReadFromBytes<XRGB48Volume>(bytes, kBigEndian);
  EXPECT_EQ(read->GetStorage().GetSwapOnLock(), kByteSwap16);  // nothing swapped during the read
  EXPECT_EQ(VoxelAt(*read, 1, 0, 0), XRGB48Colour(0x1235, 0xFF00, 7));
  EXPECT_EQ(read->GetStorage().GetSwapOnLock(), kNoByteSwap);
  // The platform's own order needs no swap.
  auto same = ReadFromBytes<XRGB48Volume>(WriteToBytes(volume, kLittleEndian), kLittleEndian);
  EXPECT_EQ(same->GetStorage().GetSwapOnLock(), kNoByteSwap);
}

// ---------------------------------------------------------------- version gates and options

TEST_F(VolumeStream, PackedLayerVersionZeroHasNoFormatWord) {
  Bytes b;
  b.U32(65641);
  VolumeLayer(b, 2, 1, 1).U32(114).U32(102).U32(2).Handle({4, 5}).U32(103).U32(65640).U32(65641);
  auto volume = ReadFromBytes<XGrey8Volume>(b.Get());
  EXPECT_EQ(VoxelAt(*volume, 1, 0, 0), 5);
}

TEST_F(VolumeStream, NonZeroDataFormatMeansNoDataOnTheStream) {
  Bytes b;
  b.U32(65641);
  VolumeLayer(b, 2, 1, 1).U32(114).U32(65638).U32(2).U32(1).U32(103).U32(65640).U32(65641);
  auto volume = ReadFromBytes<XGrey8Volume>(b.Get());
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->GetWidth(), 2u);
  EXPECT_EQ(volume->GetDataSize(), 0u);
}

TEST_F(VolumeStream, OlderVolumeTagCarriesNoOrigin) {
  Bytes b;
  b.U32(65641).U32(101).U32(2).U32(1).U32(1).F64(1.5).F64(1).F64(1);
  b.U32(114).U32(65638).U32(2).U32(0).Handle({1, 2}).U32(103).U32(65640).U32(65641);
  auto volume = ReadFromBytes<XGrey8Volume>(b.Get());
  EXPECT_EQ(volume->GetBounds(), X3DRect(0, 0, 0, 2, 1, 1));
  EXPECT_EQ(volume->GetXCalibration(), 1.5);
  EXPECT_EQ(VoxelAt(*volume, 1, 0, 0), 2);
}

TEST_F(VolumeStream, HeaderOnlyReadLeavesThePixels) {
  auto volume = Made<XGrey16Volume>(X3DRect(1, 2, 3, 5, 6, 7), [](SInt32, SInt32, SInt32) { return UInt16(1); });
  std::vector<UInt8> bytes = WriteToBytes(*volume);
  auto header = ReadFromBytes<XGrey16Volume>(bytes, kLittleEndian, XStorable::kReadHeaderOnly);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->GetBounds(), volume->GetBounds());
  EXPECT_EQ(header->GetZCalibration(), 3.0);
  EXPECT_FALSE(header->GetStorage().IsDataPresent());
  EXPECT_EQ(header->GetDataSize(), volume->GetDataSize());
  // Without a fetcher the pixels cannot be had: an error, not a crash.
  EXPECT_NE(ErrorOf([&] { XLock lock(*header, kLockRead); }), 0);
}

// ---------------------------------------------------------------- legacy forms

TEST_F(VolumeStream, LegacyGreyImageWithPlainOrStoredRectangle) {
  Bytes plain;
  plain.U32(4).U32(1).U32(2).U32(4).U32(4).U8(1).Handle({1, 2, 3, 4, 5, 6});  // left, top, bottom, right
  auto volume = ReadFromBytes<XGrey8Volume>(plain.Get());
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->GetVersion(), XGrey8Volume::GetClassVersion());
  EXPECT_EQ(volume->GetBounds(), X3DRect(1, 2, 0, 4, 4, 1));
  EXPECT_EQ(VoxelAt(*volume, 3, 3, 0), 6);
  EXPECT_TRUE(volume->IsPlaneRendererSupported(volume->GetPlaneRenderer()));
  EXPECT_FALSE(volume->HadLegacyLUT());

  Bytes stored;
  stored.U32(4).U32(34).U32(34).U32(UInt32(-2)).U32(0).U32(1).U32(1).U8(1).Handle({8, 9, 0});
  auto boxed = ReadFromBytes<XGrey8Volume>(stored.Get());
  EXPECT_EQ(boxed->GetBounds(), X3DRect(-2, 0, 0, 1, 1, 1));
  EXPECT_EQ(VoxelAt(*boxed, -1, 0, 0), 9);

  Bytes blank;
  blank.U32(4).U32(0).U32(0).U32(2).U32(2).U8(0);
  auto empty = ReadFromBytes<XGrey8Volume>(blank.Get());
  EXPECT_EQ(VoxelAt(*empty, 1, 1, 0), 0);
}

TEST_F(VolumeStream, LegacyMaskRowsArePaddedAndInverted) {
  // 3 x 2: rows of 4 bytes, each byte stored as NOT the mask byte.
  Bytes b;
  b.U32(5).U32(0).U32(0).U32(2).U32(3).U8(1).Handle({0x00, 0xFF, 0x00, 0xAA, 0xFF, 0xFF, 0x00, 0xAA});
  auto mask = ReadFromBytes<XMaskVolume>(b.Get());
  ASSERT_TRUE(mask);
  EXPECT_EQ(mask->GetRowVoxels(), 3u);
  const UInt8 expected[2][3] = {{255, 0, 255}, {0, 0, 255}};
  for (SInt32 y = 0; y < 2; ++y)
    for (SInt32 x = 0; x < 3; ++x) EXPECT_EQ(VoxelAt(*mask, x, y, 0), expected[y][x]) << x << "," << y;
  EXPECT_TRUE(mask->IsPlaneRendererSupported(XMaskImageRenderer()));
  // A block shorter than the padded rows is refused.
  Bytes shortBlock;
  shortBlock.U32(5).U32(0).U32(0).U32(2).U32(3).U8(1).Handle({0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XMaskVolume>(shortBlock.Get()); }), kErrBadStreamSize);
}

TEST_F(VolumeStream, LegacyImagesOfEveryAlias) {
  Bytes grey16(kBigEndian);
  grey16.U32(3).U32(0).U32(0).U32(1).U32(2).U8(1).Handle({0x12, 0x34, 0xAB, 0xCD});
  auto g16 = ReadFromBytes<XGrey16Volume>(grey16.Get(), kBigEndian);
  EXPECT_EQ(VoxelAt(*g16, 1, 0, 0), 0xABCD);

  Bytes argb;  // 514, the coded colour image, has a test of its own
  argb.U32(1).U32(0).U32(0).U32(1).U32(1).U8(1).Handle({1, 2, 3, 4});
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XARGB32Volume>(argb.Get()), 0, 0, 0), XARGB32Colour(1, 2, 3, 4));
  Bytes rgb48;
  rgb48.U32(6).U32(0).U32(0).U32(1).U32(1).U8(1).Handle({1, 0, 2, 0, 3, 0});
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XRGB48Volume>(rgb48.Get()), 0, 0, 0), XRGB48Colour(1, 2, 3));
  Bytes fp;
  fp.U32(2).U32(0).U32(0).U32(1).U32(1).U8(1).Handle({0, 0, 0x80, 0x3F});
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XFPVolume>(fp.Get()), 0, 0, 0), 1.0f);
  // 515 is in the tree but names no class that can read it.
  Bytes orphan;
  orphan.U32(515).U32(0).U32(0).U32(1).U32(1).U8(0);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(orphan.Get()); }), kErrWrongClass);
}

TEST_F(VolumeStream, VersionZeroIntegerLayerTableBecomesTheRenderer) {
  XIntToColourLUT lut(256);
  lut.MakeChannelLUT(kRedChannel);
  XMemoryStream table;
  table.WriteObject(lut);
  auto withTable = [&](UInt32 inObject, UInt32 inOwnTag, UInt32 inExtraTag, bool inTable) {
    Bytes b;
    b.U32(inObject);
    VolumeLayer(b, 1, 1, 1).U32(114).U32(65638).U32(1).U32(0).Handle({200, 0});
    b.U32(103).U32(104);
    if (inTable)
      b.Raw(table.GetBytes());
    else
      b.U32(0);
    b.U32(inOwnTag);
    if (inExtraTag) b.U32(inExtraTag);
    return b;
  };
  auto grey = ReadFromBytes<XGrey8Volume>(withTable(65641, 65641, 0, true).Get());
  EXPECT_TRUE(grey->HadLegacyLUT());
  EXPECT_TRUE(grey->IsPlaneRendererSupported(grey->GetPlaneRenderer()));
  EXPECT_EQ(VoxelAt(*grey, 0, 0, 0), 200);

  auto none = ReadFromBytes<XGrey8Volume>(withTable(65641, 65641, 0, false).Get());
  EXPECT_FALSE(none->HadLegacyLUT());

  auto mask = ReadFromBytes<XMaskVolume>(withTable(115, 65641, 115, true).Get());
  EXPECT_TRUE(mask->HadLegacyLUT());  // the table's renderer stays, not the mask's
  EXPECT_FALSE(mask->IsPlaneRendererSupported(mask->GetPlaneRenderer()));

  // The layer reader takes the same road.
  Bytes layered = withTable(65641, 65641, 0, true);
  XMemoryStream stream(layered.Get().data(), layered.Get().size());
  stream.ReadVersion();
  XGrey8Volume read;
  read.ReadStream2(stream);
  EXPECT_TRUE(read.HadLegacyLUT());
  // Setting a renderer forgets the table.
  read.SetPlaneRenderer(XGrey8ImageRenderer());
  EXPECT_FALSE(read.HadLegacyLUT());
}

// ---------------------------------------------------------------- the lossy framing

namespace {

// A stand-in coder: a marker word and the raw voxels.
void FakeEncode(XStream& ioStream, const XVolume& inVolume, SInt32 inQuality) {
  const auto& packed = dynamic_cast<const XBasePackedVolume&>(inVolume);
  XLock lock(packed, kLockRead);
  ioStream.Write32(UInt32(inQuality));
  ioStream.WriteBuffer8(packed.GetBasePtr(), packed.GetVolumeBytes());
}

void FakeDecode(XStream& ioStream, XVolume& ioVolume) {
  auto& packed = dynamic_cast<XBasePackedVolume&>(ioVolume);
  XLock lock(packed, kLockWrite);
  ioStream.Read32();
  ioStream.ReadBuffer8(packed.GetBasePtr(), packed.GetVolumeBytes());
}

struct FakeCodec {
  FakeCodec() { XSetLossyVolumeCodec(FakeEncode, FakeDecode); }
  ~FakeCodec() { XSetLossyVolumeCodec(nullptr, nullptr); }
};

}  // namespace

TEST_F(VolumeStream, LossyFormFramesTheCodedImage) {
  FakeCodec codec;
  auto grey = Made<XGrey8Volume>(X3DRect(-1, 0, 2, 2, 2, 3), [](SInt32 x, SInt32 y, SInt32) { return UInt8(x + 5 * y + 9); });
  XMemoryStream stream;
  grey->WriteStreamLossyCompressed(stream, 75);
  std::vector<UInt8> bytes = stream.GetBytes();
  Bytes header;
  header.U32(0x00012F45).U32(3).U32(2).U32(1).U32(UInt32(-1)).U32(0).U32(2).F64(0.25).F64(0.5).F64(3.0).U32(3);
  ASSERT_GE(bytes.size(), header.Get().size() + 4);
  EXPECT_EQ(std::vector<UInt8>(bytes.begin(), bytes.begin() + header.Get().size()), header.Get());
  // The placeholder now holds the count of bytes behind it.
  EXPECT_EQ(bytes[header.Get().size()], 4 + 6);
  auto read = ReadFromBytes<XGrey8Volume>(bytes);  // 12101: the stream constructor reads it
  ExpectSameVolume(*read, *grey);

  auto colour = Made<XARGB32Volume>(X3DRect(0, 0, 0, 2, 1, 1), [](SInt32 x, SInt32, SInt32) { return XARGB32Colour(UInt8(x), 1, 2, 3); });
  XMemoryStream colourStream;
  colour->WriteStreamLossyCompressed(colourStream, 90);
  colourStream.Write32(0xC0FFEE);  // what follows the object must be reached
  std::vector<UInt8> colourBytes = colourStream.GetBytes();
  XMemoryStream in(colourBytes.data(), colourBytes.size());
  std::unique_ptr<XARGB32Volume> viaConstructor = in.ReadObjectAs<XARGB32Volume>();
  ExpectSameVolume(*viaConstructor, *colour);
  EXPECT_EQ(in.Read32(), 0xC0FFEEu);
  // Header only goes through PreReadStream and skips the image.
  XMemoryStream headerOnly(colourBytes.data(), colourBytes.size());
  std::unique_ptr<XARGB32Volume> skipped = headerOnly.ReadObjectAs<XARGB32Volume>(XStorable::kReadHeaderOnly);
  EXPECT_EQ(skipped->GetBounds(), colour->GetBounds());
  EXPECT_EQ(headerOnly.Read32(), 0xC0FFEEu);
}

TEST_F(VolumeStream, Grey8PreReadStreamAnswersToTheColourId) {
  FakeCodec codec;
  XMemoryStream stream;
  XGrey8Volume(1, 1, 1).WriteStreamLossyCompressed(stream, 50);
  XMemoryStream in(stream.GetBuffer(), stream.GetExtent());
  XVersion word = in.ReadVersion();
  XGrey8Volume volume;
  EXPECT_TRUE(volume.PreReadStream(in, word, XStorable::kReadAll));  // 12101 is not 12100
  EXPECT_FALSE(volume.PreReadStream(in, XVersion(12100, 1), XStorable::kReadAll));
  EXPECT_EQ(volume.GetBounds(), X3DRect(0, 0, 0, 1, 1, 1));
  EXPECT_EQ(in.GetRemaining(), 0u);

  // Read header-only, the grey form goes to the versioned reader, whose
  // layer readers find no tags: an error, not an empty volume.
  XMemoryStream headerOnly(stream.GetBuffer(), stream.GetExtent());
  EXPECT_EQ(ErrorOf([&] { headerOnly.ReadObjectAs<XGrey8Volume>(XStorable::kReadHeaderOnly); }), kErrWrongClass);
}

TEST_F(VolumeStream, LossyFormWithoutACoderIsAnError) {
  XMemoryStream stream;
  EXPECT_EQ(ErrorOf([&] { XGrey8Volume(1, 1, 1).WriteStreamLossyCompressed(stream, 50); }), kErrGeneral);
}

// ---------------------------------------------------------------- bad input

TEST_F(VolumeStream, WrongClassAtAnyLayerIs1005) {
  auto valid = Grey8Stream(2, 1, 1, 2, {1, 2, 0, 0});  // whole words throughout
  auto with = [&](size_t inWordIndex, UInt32 inWord) {
    std::vector<UInt8> bytes = valid.Get();
    for (int i = 0; i < 4; ++i) bytes[inWordIndex * 4 + i] = UInt8(inWord >> (8 * i));
    return ErrorOf([&] { ReadFromBytes<XGrey8Volume>(bytes); });
  };
  // Word positions: 0 object, 1 volume tag, 14 base packed, 15 packed, 18 handle word.
  EXPECT_EQ(with(1, 100), kErrWrongClass);
  EXPECT_EQ(with(14, 520), kErrWrongClass);
  // A tag of a derived class would pass the IsA test; one off the branch does not.
  EXPECT_EQ(with(15, 0x00010065), kErrWrongClass);
  EXPECT_EQ(with(18, 34), kErrWrongClass);  // not a memory block
  EXPECT_EQ(with(18, 0), kErrWrongClass);   // no block at all
  size_t last = valid.Get().size() / 4 - 1;
  EXPECT_EQ(with(last - 2, 102), kErrWrongClass);
  EXPECT_EQ(with(last, 106), kErrWrongClass);
  // An object of another class is refused by the typed read.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey16Volume>(valid.Get()); }), kErrWrongClass);
}

TEST_F(VolumeStream, NewerVersionAtAnyLayerIs1015) {
  auto valid = Grey8Stream(2, 1, 1, 2, {1, 2, 0, 0});  // whole words throughout
  size_t last = valid.Get().size() / 4 - 1;
  auto with = [&](size_t inWordIndex, UInt32 inWord) {
    std::vector<UInt8> bytes = valid.Get();
    for (int i = 0; i < 4; ++i) bytes[inWordIndex * 4 + i] = UInt8(inWord >> (8 * i));
    return ErrorOf([&] { ReadFromBytes<XGrey8Volume>(bytes); });
  };
  EXPECT_EQ(with(1, 0x00010208), kErrNewerVersion);   // 520 version 1
  EXPECT_EQ(with(14, 0x00010072), kErrNewerVersion);  // 114 version 1
  EXPECT_EQ(with(15, 0x00020066), kErrNewerVersion);  // 102 version 2
  EXPECT_EQ(with(last - 2, 0x00010067), kErrNewerVersion);
  EXPECT_EQ(with(last - 1, 0x00020068), kErrNewerVersion);
  EXPECT_EQ(with(last, 0x00020069), kErrNewerVersion);
  std::vector<UInt8> mask = WriteToBytes(XMaskVolume(1, 1, 1));
  mask[mask.size() - 2] = 1;  // 115 version 1
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XMaskVolume>(mask); }), kErrNewerVersion);
}

TEST_F(VolumeStream, TruncatedStreamsFailAtEveryLength) {
  std::vector<UInt8> bytes = WriteToBytes(XGrey16Volume(3, 2, 1), kBigEndian);
  for (size_t n = 0; n < bytes.size(); ++n) {
    std::vector<UInt8> cut(bytes.begin(), bytes.begin() + n);
    EXPECT_NE(ErrorOf([&] { ReadFromBytes<XGrey16Volume>(cut, kBigEndian); }), 0) << n;
  }
  Bytes legacy;
  legacy.U32(4).U32(0).U32(0).U32(1).U32(2).U8(1).U32(33).U32(33).U64(2).U32(0).U8(1);
  EXPECT_NE(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(legacy.Get()); }), 0);
}

TEST_F(VolumeStream, ImpossibleSizesAreRefusedBeforeAllocating) {
  // Sides of 2^31 - 1 overflow the 64-bit voxel count.
  Bytes huge = Grey8Stream(0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, {0});
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(huge.Get()); }), kErrBadStreamSize);
  // A side of 2^31 cannot be a box.
  Bytes side = Grey8Stream(0x80000000u, 1, 1, 0x80000000u, {0});
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(side.Get()); }), kErrBadStreamSize);
  // Rows shorter than the width.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(Grey8Stream(4, 1, 1, 3, {0, 0, 0, 0}).Get()); }),
            kErrBadStreamSize);
  // Row length times height times depth times voxel size beyond 64 bits.
  Bytes rows = Grey8Stream(1, 0x7FFFFFFF, 0x7FFFFFFF, 0xFFFFFFFFu, {0});
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(rows.Get()); }), kErrBadStreamSize);
  // A block smaller than the bounds need.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(Grey8Stream(2, 2, 1, 2, {1, 2, 3}).Get()); }),
            kErrBadStreamSize);
  // A block that claims more than the stream holds.
  Bytes claim;
  claim.U32(65641);
  VolumeLayer(claim, 1000, 1000, 1000).U32(114).U32(65638).U32(1000).U32(0);
  claim.U32(33).U32(33).U64(1000000000ull).U32(0).U8(0);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(claim.Get()); }), kErrBadStreamSize);
  // Legacy rectangles and lossy headers are held to the same rules.
  Bytes legacy;
  legacy.U32(4).U32(0x80000000u).U32(0).U32(1).U32(0x7FFFFFFF).U8(0);
  EXPECT_NE(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(legacy.Get()); }), 0);
  Bytes lossy;
  lossy.U32(0x00012F45).U32(100000).U32(100000).U32(100000).U32(0).U32(0).U32(0).F64(1).F64(1).F64(1);
  lossy.U32(100000).U32(4).U32(0);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(lossy.Get()); }), kErrBadStreamSize);
}

TEST_F(VolumeStream, OlderColourImageCarriesARectangleAndACodedImage) {
  FakeCodec codec;
  const XARGB32Colour pixels[2] = {XARGB32Colour(255, 1, 2, 3), XARGB32Colour(255, 4, 5, 6)};
  auto imageBytes = [&](UInt16 inVersion) {
    Bytes b;
    b.U32(XVersion(514, inVersion).GetValue()).U32(34).U32(34).U32(10).U32(20).U32(21).U32(12);
    Bytes coded;
    coded.U32(75);
    for (const auto& p : pixels) coded.U8(p.alpha).U8(p.red).U8(p.green).U8(p.blue);
    if (inVersion >= 2) b.U32(UInt32(coded.Get().size()));
    for (UInt8 byte : coded.Get()) b.U8(byte);
    return b.U32(0xC0FFEE).Get();
  };
  for (UInt16 version : {UInt16(1), UInt16(2)}) {
    std::vector<UInt8> bytes = imageBytes(version);
    XMemoryStream in(bytes.data(), bytes.size());
    std::unique_ptr<XARGB32Volume> image = in.ReadObjectAs<XARGB32Volume>();
    EXPECT_EQ(image->GetBounds(), X3DRect(10, 20, 0, 12, 21, 1));
    XLock lock(*image, kLockRead);
    EXPECT_EQ(image->GetVoxel(11, 20, 0).GetARGB(), pixels[1].GetARGB());
    EXPECT_EQ(in.Read32(), 0xC0FFEEu);
  }
  // With a length the image can be stepped over.
  std::vector<UInt8> bytes = imageBytes(2);
  XMemoryStream headerOnly(bytes.data(), bytes.size());
  std::unique_ptr<XARGB32Volume> skipped = headerOnly.ReadObjectAs<XARGB32Volume>(XStorable::kReadHeaderOnly);
  EXPECT_EQ(skipped->GetWidth(), 2u);
  EXPECT_EQ(headerOnly.Read32(), 0xC0FFEEu);
}
