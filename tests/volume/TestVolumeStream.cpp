// Stored forms of volumes: round trips, byte layouts, version gates, byte
// order, legacy images and tables, the lossy framing, and bad input.
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XMaskImageRenderer.h"
#include "volume/internal/XLossyVolumeCodec.h"
#include "VolumeTestSupport.h"

using namespace mirelan;

using namespace volumetest;

using VolumeStream = VolumeTest;

namespace {

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
  auto calibration = [](const V& v) {
    return std::vector<Float64>{v.GetXCalibration(), v.GetYCalibration(), v.GetZCalibration()};
  };
  EXPECT_EQ(inRead.GetVersion(), inWritten.GetVersion());
  EXPECT_EQ(inRead.GetBounds(), inWritten.GetBounds());
  EXPECT_EQ(calibration(inRead), calibration(inWritten));
  EXPECT_TRUE(inRead == inWritten);
  EXPECT_EQ(inRead.HasPlaneRenderer(), inWritten.HasPlaneRenderer());
}

// Through the registry's stream constructor and through the layer reader, in both byte orders.
template <class V, class Fn>
void RoundTrip(Fn inValueAt) {
  SCOPED_TRACE(V().GetDescription());
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

// A stand-in lossy coder: the quality word and the raw voxels.
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

// ---------------------------------------------------------------- round trips and layouts

TEST_F(VolumeStream, EveryClassRoundTrips) {
  RoundTrip<XGrey8Volume>([](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 3 + y * 7 + z); });
  RoundTrip<XMaskVolume>([](SInt32 x, SInt32 y, SInt32) { return UInt8((x + y) & 1 ? 255 : 0); });
  RoundTrip<XGrey16Volume>([](SInt32 x, SInt32 y, SInt32 z) { return UInt16(x * 4099 + y * 257 + z); });
  RoundTrip<XFPVolume>([](SInt32 x, SInt32 y, SInt32 z) { return Float32(x * 0.125 - y * 1e5 + z); });
  RoundTrip<XARGB32Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XARGB32Colour(UInt8(z), UInt8(x), UInt8(y), 9); });
  RoundTrip<XBGRA32Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XBGRA32Colour(UInt8(z), UInt8(x), UInt8(y), 9); });
  RoundTrip<XRGB48Volume>([](SInt32 x, SInt32 y, SInt32 z) { return XRGB48Colour(UInt16(x * 999), UInt16(y), UInt16(z + 60000)); });
  // Grey32 has no registry entry but reads itself.
  auto volume = Made<XGrey32Volume>(X3DRect(0, 0, 0, 3, 2, 2), [](SInt32 x, SInt32 y, SInt32 z) {
    return UInt32(0x01020304u * UInt32(x + 1) + UInt32(y * 77 + z));
  });
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    std::vector<UInt8> bytes = WriteToBytes(*volume, order);
    EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey32Volume>(bytes, order); }), kErrWrongClass);
    XMemoryStream stream(bytes.data(), bytes.size(), order);
    EXPECT_EQ(stream.ReadVersion(), XVersion(111, 0));
    ExpectSameVolume(XGrey32Volume(stream), *volume);
  }
}

TEST_F(VolumeStream, Grey8LayoutIsByteExactAndEachClassEndsWithItsOwnLayers) {
  auto volume = Made<XGrey8Volume>(X3DRect(3, -1, 5, 5, 0, 6), [](SInt32 x, SInt32, SInt32) { return UInt8(x == 3 ? 7 : 9); });
  std::vector<UInt8> data{7, 9};
  data.resize(18);
  Bytes expected;
  expected.U32(0x00010069);                                      // object: class 105, version 1
  expected.U32(0x00000208).U32(2).U32(1).U32(1);                 // XVolume: 520, sizes
  expected.U32(3).U32(0xFFFFFFFF).U32(5).F64(0.25).F64(0.5).F64(3.0);
  expected.U32(0x00000072);                                      // XBasePackedVolume: 114
  expected.U32(0x00010066).U32(2).U32(0);                        // XPackedVolume: 102 v1, rows, format
  expected.U32(33).U32(33).U64(18).U32(0).Raw(data);             // the block, with 16 spare bytes
  expected.U32(0x00000067);                                      // XNumberVolume: 103
  expected.U32(0x00010068);                                      // XIntegerVolume: 104 v1
  expected.U32(0x00010069);                                      // XGrey8Volume: 105 v1
  EXPECT_EQ(WriteToBytes(*volume), expected.Get());
  EXPECT_EQ(volume->GetStreamUsage(), 18u);

  auto tail = [](const XVolume& inVolume, const std::vector<UInt32>& inWords) {
    Bytes words;
    for (UInt32 w : inWords) words.U32(w);
    std::vector<UInt8> bytes = WriteToBytes(inVolume);
    EXPECT_EQ(std::vector<UInt8>(bytes.end() - words.Get().size(), bytes.end()), words.Get()) << inVolume.GetDescription();
  };
  tail(XMaskVolume(1, 1, 1), {103, 65640, 65641, 115});
  tail(XGrey16Volume(1, 1, 1), {103, 65640, 106});
  tail(XGrey32Volume(1, 1, 1), {103, 65640, 111});
  tail(XFPVolume(1, 1, 1), {103, 65643});
  tail(XARGB32Volume(1, 1, 1), {65644});
  tail(XRGB48Volume(1, 1, 1), {112});
  // BGRA32 has no layer of its own: the block's last spare bytes end the stream.
  tail(XBGRA32Volume(1, 1, 1), {0});
  EXPECT_EQ(WriteToBytes(XBGRA32Volume(1, 1, 1)).size(), 4 + 4 + 24 + 24 + 4 + 12 + 20 + 20u);
}

TEST_F(VolumeStream, SwappedTypesStoreVoxelsInTheStreamsOrderAndSwapOnFirstLock) {
  auto volume = Row<XGrey16Volume>({0x0102, 0xA1B2});
  std::vector<UInt8> bytes = WriteToBytes(*volume, kBigEndian);
  // Block: word, tag, 64-bit size, compression, the voxels, 16 spare; then 103, 65640, 106.
  size_t data = bytes.size() - 12 - 20;
  EXPECT_EQ(bytes[data - 5], 20);  // last byte of the big-endian size: 4 voxel bytes and 16 spare
  EXPECT_EQ(std::vector<UInt8>(bytes.begin() + data, bytes.begin() + data + 4), (std::vector<UInt8>{1, 2, 0xA1, 0xB2}));
  EXPECT_EQ(VoxelAt(*volume, 1, 0, 0), 0xA1B2);  // the volume itself is untouched by the write
  std::vector<UInt8> fp = WriteToBytes(*Row<XFPVolume>({1.0f}), kBigEndian);
  EXPECT_EQ(std::vector<UInt8>(fp.end() - 28, fp.end() - 24), (std::vector<UInt8>{0x3F, 0x80, 0x00, 0x00}));

  auto rgb = Row<XRGB48Volume>({XRGB48Colour(0x1234, 0xFF00, 7), XRGB48Colour(0x1235, 0xFF00, 7)});
  auto read = ReadFromBytes<XRGB48Volume>(WriteToBytes(*rgb, kBigEndian), kBigEndian);
  EXPECT_EQ(read->GetStorage().GetSwapOnLock(), kByteSwap16);  // nothing swapped during the read
  EXPECT_EQ(VoxelAt(*read, 1, 0, 0), XRGB48Colour(0x1235, 0xFF00, 7));
  EXPECT_EQ(read->GetStorage().GetSwapOnLock(), kNoByteSwap);
  // The platform's own order needs no swap.
  auto same = ReadFromBytes<XRGB48Volume>(WriteToBytes(*rgb, kLittleEndian), kLittleEndian);
  EXPECT_EQ(same->GetStorage().GetSwapOnLock(), kNoByteSwap);
}

// ---------------------------------------------------------------- version gates and options

TEST_F(VolumeStream, OlderLayerVersionsAndTheDataFormatWord) {
  // Packed layer version 0 (tag 102) has no format word.
  Bytes v0;
  VolumeLayer(v0.U32(65641), 2, 1, 1).U32(114).U32(102).U32(2).Handle({4, 5}).U32(103).U32(65640).U32(65641);
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XGrey8Volume>(v0.Get()), 1, 0, 0), 5);
  // A non-zero format word means no data on the stream.
  Bytes format;
  VolumeLayer(format.U32(65641), 2, 1, 1).U32(114).U32(65638).U32(2).U32(1).U32(103).U32(65640).U32(65641);
  auto empty = ReadFromBytes<XGrey8Volume>(format.Get());
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->GetWidth(), 2u);
  EXPECT_FALSE(empty->GetStorage().IsDataPresent());  // a data fetcher is to bring it
  EXPECT_EQ(empty->GetDataSize(), 2u + XGrey8Volume::kSpareBytes);
  // Volume tag 101 carries no origin.
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
  auto header = ReadFromBytes<XGrey16Volume>(WriteToBytes(*volume), kLittleEndian, XStorable::kReadHeaderOnly);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->GetBounds(), volume->GetBounds());
  EXPECT_EQ(header->GetZCalibration(), 3.0);
  EXPECT_FALSE(header->GetStorage().IsDataPresent());
  EXPECT_EQ(header->GetDataSize(), volume->GetDataSize());
  // Without a fetcher the pixels cannot be had: an error, not a crash.
  EXPECT_NE(ErrorOf([&] { XLock lock(*header, kLockRead); }), 0);
}

// ---------------------------------------------------------------- legacy forms

TEST_F(VolumeStream, LegacyImagesOfEveryAlias) {
  auto volume = ReadFromBytes<XGrey8Volume>(Legacy(4, 1, 2, 4, 4, {1, 2, 3, 4, 5, 6}).Get());
  ASSERT_TRUE(volume);
  EXPECT_EQ(volume->GetVersion(), XGrey8Volume::GetClassVersion());
  EXPECT_EQ(volume->GetBounds(), X3DRect(1, 2, 0, 4, 4, 1));
  EXPECT_EQ(VoxelAt(*volume, 3, 3, 0), 6);
  EXPECT_TRUE(volume->IsPlaneRendererSupported(volume->GetPlaneRenderer()));
  EXPECT_FALSE(volume->HadLegacyLUT());
  // The rectangle stored as an object (34).
  Bytes stored;
  stored.U32(4).U32(34).U32(34).U32(UInt32(-2)).U32(0).U32(1).U32(1).U8(1).Handle({8, 9, 0});
  auto boxed = ReadFromBytes<XGrey8Volume>(stored.Get());
  EXPECT_EQ(boxed->GetBounds(), X3DRect(-2, 0, 0, 1, 1, 1));
  EXPECT_EQ(VoxelAt(*boxed, -1, 0, 0), 9);
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XGrey8Volume>(Legacy(4, 0, 0, 2, 2, {}).Get()), 1, 1, 0), 0);  // no data

  auto g16 = ReadFromBytes<XGrey16Volume>(Legacy(3, 0, 0, 1, 2, {0x12, 0x34, 0xAB, 0xCD}, kBigEndian).Get(), kBigEndian);
  EXPECT_EQ(VoxelAt(*g16, 1, 0, 0), 0xABCD);
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XARGB32Volume>(Legacy(1, 0, 0, 1, 1, {1, 2, 3, 4}).Get()), 0, 0, 0),
            XARGB32Colour(1, 2, 3, 4));
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XRGB48Volume>(Legacy(6, 0, 0, 1, 1, {1, 0, 2, 0, 3, 0}).Get()), 0, 0, 0),
            XRGB48Colour(1, 2, 3));
  EXPECT_EQ(VoxelAt(*ReadFromBytes<XFPVolume>(Legacy(2, 0, 0, 1, 1, {0, 0, 0x80, 0x3F}).Get()), 0, 0, 0), 1.0f);
  // 515 is in the tree but names no class that can read it.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(Legacy(515, 0, 0, 1, 1, {}).Get()); }), kErrWrongClass);
}

TEST_F(VolumeStream, LegacyMaskRowsArePaddedAndInverted) {
  // 3 x 2: rows of 4 bytes, each byte stored as NOT the mask byte.
  auto mask = ReadFromBytes<XMaskVolume>(Legacy(5, 0, 0, 2, 3, {0, 0xFF, 0, 0xAA, 0xFF, 0xFF, 0, 0xAA}).Get());
  ASSERT_TRUE(mask);
  EXPECT_EQ(mask->GetRowVoxels(), 3u);
  const UInt8 expected[2][3] = {{255, 0, 255}, {0, 0, 255}};
  for (SInt32 i = 0; i < 6; ++i) EXPECT_EQ(VoxelAt(*mask, i % 3, i / 3, 0), expected[i / 3][i % 3]) << i;
  EXPECT_TRUE(mask->IsPlaneRendererSupported(XMaskImageRenderer()));
  // A block shorter than the padded rows is refused.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XMaskVolume>(Legacy(5, 0, 0, 2, 3, {0, 0, 0, 0, 0, 0, 0}).Get()); }),
            kErrBadStreamSize);
}

TEST_F(VolumeStream, VersionZeroIntegerLayerTableBecomesTheRenderer) {
  XIntToColourLUT lut(256);
  lut.MakeChannelLUT(kRedChannel);
  XMemoryStream table;
  table.WriteObject(lut);
  auto withTable = [&](UInt32 inObject, bool inTable, UInt32 inExtraTag = 0) {
    Bytes b;
    VolumeLayer(b.U32(inObject), 1, 1, 1).U32(114).U32(65638).U32(1).U32(0).Handle({200, 0}).U32(103).U32(104);
    b.Raw(inTable ? table.GetBytes() : Bytes().U32(0).Get()).U32(65641);
    if (inExtraTag) b.U32(inExtraTag);
    return b.Get();
  };
  auto grey = ReadFromBytes<XGrey8Volume>(withTable(65641, true));
  EXPECT_TRUE(grey->HadLegacyLUT());
  EXPECT_TRUE(grey->IsPlaneRendererSupported(grey->GetPlaneRenderer()));
  EXPECT_EQ(VoxelAt(*grey, 0, 0, 0), 200);
  EXPECT_FALSE(ReadFromBytes<XGrey8Volume>(withTable(65641, false))->HadLegacyLUT());
  auto mask = ReadFromBytes<XMaskVolume>(withTable(115, true, 115));
  EXPECT_TRUE(mask->HadLegacyLUT());  // the table's renderer stays, not the mask's
  EXPECT_FALSE(mask->IsPlaneRendererSupported(mask->GetPlaneRenderer()));
  // The layer reader takes the same road; setting a renderer forgets the table.
  std::vector<UInt8> layered = withTable(65641, true);
  XMemoryStream stream(layered.data(), layered.size());
  stream.ReadVersion();
  XGrey8Volume read;
  read.ReadStream2(stream);
  EXPECT_TRUE(read.HadLegacyLUT());
  read.SetPlaneRenderer(XGrey8ImageRenderer());
  EXPECT_FALSE(read.HadLegacyLUT());
}

TEST_F(VolumeStream, OlderColourImageCarriesARectangleAndACodedImage) {
  FakeCodec codec;
  const XARGB32Colour pixels[2] = {XARGB32Colour(255, 1, 2, 3), XARGB32Colour(255, 4, 5, 6)};
  auto imageBytes = [&](UInt16 inVersion) {
    Bytes b, coded;
    b.U32(XVersion(514, inVersion).GetValue()).U32(34).U32(34).U32(10).U32(20).U32(21).U32(12);
    coded.U32(75);
    for (const auto& p : pixels) coded.U8(p.alpha).U8(p.red).U8(p.green).U8(p.blue);
    if (inVersion >= 2) b.U32(UInt32(coded.Get().size()));
    return b.Raw(coded.Get()).U32(0xC0FFEE).Get();
  };
  for (UInt16 version : {UInt16(1), UInt16(2)}) {
    std::vector<UInt8> bytes = imageBytes(version);
    XMemoryStream in(bytes.data(), bytes.size());
    std::unique_ptr<XARGB32Volume> image = in.ReadObjectAs<XARGB32Volume>();
    EXPECT_EQ(image->GetBounds(), X3DRect(10, 20, 0, 12, 21, 1));
    EXPECT_EQ(VoxelAt(*image, 11, 20, 0).GetARGB(), pixels[1].GetARGB());
    EXPECT_EQ(in.Read32(), 0xC0FFEEu);
  }
  // With a length the image can be stepped over.
  std::vector<UInt8> bytes = imageBytes(2);
  XMemoryStream headerOnly(bytes.data(), bytes.size());
  EXPECT_EQ(headerOnly.ReadObjectAs<XARGB32Volume>(XStorable::kReadHeaderOnly)->GetWidth(), 2u);
  EXPECT_EQ(headerOnly.Read32(), 0xC0FFEEu);
}

// ---------------------------------------------------------------- the lossy framing

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
  EXPECT_EQ(bytes[header.Get().size()], 4 + 6);  // the placeholder holds the count of bytes behind it
  ExpectSameVolume(*ReadFromBytes<XGrey8Volume>(bytes), *grey);  // 12101: the stream constructor reads it

  auto colour = Made<XARGB32Volume>(X3DRect(0, 0, 0, 2, 1, 1), [](SInt32 x, SInt32, SInt32) { return XARGB32Colour(UInt8(x), 1, 2, 3); });
  XMemoryStream colourStream;
  colour->WriteStreamLossyCompressed(colourStream, 90);
  colourStream.Write32(0xC0FFEE);  // what follows the object must be reached
  std::vector<UInt8> colourBytes = colourStream.GetBytes();
  XMemoryStream in(colourBytes.data(), colourBytes.size());
  ExpectSameVolume(*in.ReadObjectAs<XARGB32Volume>(), *colour);
  EXPECT_EQ(in.Read32(), 0xC0FFEEu);
  // Header only goes through PreReadStream and skips the image.
  XMemoryStream headerOnly(colourBytes.data(), colourBytes.size());
  EXPECT_EQ(headerOnly.ReadObjectAs<XARGB32Volume>(XStorable::kReadHeaderOnly)->GetBounds(), colour->GetBounds());
  EXPECT_EQ(headerOnly.Read32(), 0xC0FFEEu);
}

TEST_F(VolumeStream, Grey8PreReadStreamAnswersToTheColourId) {
  XMemoryStream noCoder;
  EXPECT_EQ(ErrorOf([&] { XGrey8Volume(1, 1, 1).WriteStreamLossyCompressed(noCoder, 50); }), kErrGeneral);
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

// ---------------------------------------------------------------- bad input

TEST_F(VolumeStream, WrongClassIs1005AndNewerVersionIs1015AtEveryLayer) {
  const std::vector<UInt8> valid = Grey8Stream(2, 1, 1, 2, {1, 2, 0, 0}).Get();  // whole words throughout
  const size_t last = valid.size() / 4 - 1;
  // Word positions: 0 object, 1 volume tag, 14 base packed, 15 packed, 18 handle word, then the tail.
  const struct { size_t index; UInt32 word; SInt32 error; } cases[] = {
      {1, 100, kErrWrongClass},          {14, 520, kErrWrongClass},
      {15, 0x00010065, kErrWrongClass},  // a tag off the branch fails the IsA test
      {18, 34, kErrWrongClass},          // not a memory block
      {18, 0, kErrWrongClass},           // no block at all
      {last - 2, 102, kErrWrongClass},   {last, 106, kErrWrongClass},
      {1, 0x00010208, kErrNewerVersion},  // 520 version 1
      {14, 0x00010072, kErrNewerVersion}, {15, 0x00020066, kErrNewerVersion},
      {last - 2, 0x00010067, kErrNewerVersion}, {last - 1, 0x00020068, kErrNewerVersion},
      {last, 0x00020069, kErrNewerVersion},
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(testing::Message() << "word " << t.index << " = " << t.word);
    std::vector<UInt8> bytes = valid;
    for (int i = 0; i < 4; ++i) bytes[t.index * 4 + i] = UInt8(t.word >> (8 * i));
    EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(bytes); }), t.error);
  }
  // An object of another class is refused by the typed read.
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey16Volume>(valid); }), kErrWrongClass);
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
  Bytes claim;  // a block that claims more than the stream holds
  VolumeLayer(claim.U32(65641), 1000, 1000, 1000).U32(114).U32(65638).U32(1000).U32(0);
  claim.U32(33).U32(33).U64(1000000000ull).U32(0).U8(0);
  Bytes lossy;  // lossy headers are held to the same rules
  lossy.U32(0x00012F45).U32(100000).U32(100000).U32(100000).U32(0).U32(0).U32(0).F64(1).F64(1).F64(1);
  lossy.U32(100000).U32(4).U32(0);
  const struct { const char* name; std::vector<UInt8> bytes; } cases[] = {
      {"2^31 - 1 sides overflow the voxel count", Grey8Stream(0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, {0}).Get()},
      {"a side of 2^31 is no box", Grey8Stream(0x80000000u, 1, 1, 0x80000000u, {0}).Get()},
      {"rows shorter than the width", Grey8Stream(4, 1, 1, 3, {0, 0, 0, 0}).Get()},
      {"row bytes beyond 64 bits", Grey8Stream(1, 0x7FFFFFFF, 0x7FFFFFFF, 0xFFFFFFFFu, {0}).Get()},
      {"block smaller than the bounds", Grey8Stream(2, 2, 1, 2, {1, 2, 3}).Get()},
      {"block beyond the stream", claim.Get()},
      {"lossy header", lossy.Get()},
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(t.name);
    EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(t.bytes); }), kErrBadStreamSize);
  }
  EXPECT_NE(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(Legacy(4, 0x80000000u, 0, 1, 0x7FFFFFFF, {}).Get()); }), 0);
}
