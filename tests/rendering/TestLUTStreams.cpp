#include <gtest/gtest.h>

#include <memory>

#include "RenderingTestClasses.h"

namespace {

class LUTStreams : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterRenderingClassesForTest(); }
};

XARGB32Colour EntryOf(const XIntToColourLUT& inLUT, UInt32 inIndex) {
  XARGB32Colour c;
  inLUT.IndexToValue(inIndex, c);
  return c;
}

XIntToColourLUT TwoEntryTable() {
  XIntToColourLUT lut(2);
  XLock lock(lut, kLockReadWrite);
  lut.SetValue(0, XARGB32Colour(0x11, 0x22, 0x33, 0x44));
  lut.SetValue(1, XARGB32Colour(0xFF, 0xA0, 0xB0, 0xC0));
  return lut;
}

template <class T>
std::unique_ptr<T> ReadBack(const std::vector<UInt8>& inBytes) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kLittleEndian);
  return stream.ReadObjectAs<T>();
}

// ---------------------------------------------------------- exact layouts

TEST_F(LUTStreams, ColourTableBytesAreExact) {
  XMemoryStream stream(kLittleEndian);
  stream.WriteObject(TwoEntryTable());
  const std::vector<UInt8> expected = XByteWriter()
                                          .U32(0x00010017)  // object tag
                                          .U32(0x00010017)  // the class's own word
                                          .U32(2)           // size
                                          .Handle({0x11, 0x22, 0x33, 0x44, 0xFF, 0xA0, 0xB0, 0xC0})
                                          .U32(1)  // true depth: highest bit of 2
                                          .U32(1)  // last true value
                                          .bytes;
  EXPECT_EQ(stream.GetBytes(), expected);
}

TEST_F(LUTStreams, BigEndianStreamsSwapNumbersNotEntries) {
  XMemoryStream stream(kBigEndian);
  TwoEntryTable().WriteStream2(stream);
  const std::vector<UInt8> bytes = stream.GetBytes();
  const std::vector<UInt8> head = {0x00, 0x01, 0x00, 0x17, 0, 0, 0, 2};
  EXPECT_TRUE(std::equal(head.begin(), head.end(), bytes.begin()));
  // Entries sit after the handle's two tags, 64-bit size and compression word.
  const std::vector<UInt8> entries = {0x11, 0x22, 0x33, 0x44, 0xFF, 0xA0, 0xB0, 0xC0};
  EXPECT_TRUE(std::equal(entries.begin(), entries.end(), bytes.begin() + 8 + 4 + 4 + 8 + 4));

  stream.SeekTo(0);
  XIntToColourLUT back;
  back.ReadStream2(stream);
  EXPECT_EQ(EntryOf(back, 1), XARGB32Colour(0xFF, 0xA0, 0xB0, 0xC0));
}

TEST_F(LUTStreams, FloatAndNumberTableBytesAreExact) {
  XFloatToColourLUT floatTable(-1.5, 2.0);
  floatTable = TwoEntryTable();  // other size: resampled by depth into 256 entries
  XMemoryStream stream(kLittleEndian);
  floatTable.WriteStream2(stream);
  const std::vector<UInt8> bytes = stream.GetBytes();
  const std::vector<UInt8> tail = XByteWriter().U32(8).U32(255).U32(0x16).F64(-1.5).F64(2.0).bytes;
  ASSERT_EQ(bytes.size(), 4 + 4 + 4 + 4 + 8 + 4 + 1024 + tail.size());
  EXPECT_TRUE(std::equal(tail.begin(), tail.end(), bytes.end() - tail.size()));

  XIntToIntLUT numbers(3);
  {
    XLock lock(numbers, kLockReadWrite);
    numbers.SetValue(0, 7);
    numbers.SetValue(1, 8);
    numbers.SetValue(2, 9);
  }
  XMemoryStream numberStream(kLittleEndian);
  numbers.WriteStream2(numberStream);
  EXPECT_EQ(numberStream.GetBytes(), XByteWriter().U32(0x15).U32(3).Handle({7, 8, 9}).bytes);
}

// ------------------------------------------------------------- round trips

TEST_F(LUTStreams, RoundTripsKeepEntriesDepthAndRange) {
  XIntToColourLUT lut(XIntToColourLUT::GetStandardLUT(12));
  lut.SetLastTrueValue(4000);
  XMemoryStream stream;
  stream.WriteObject(lut);
  stream.SeekTo(0);
  std::unique_ptr<XIntToColourLUT> back = stream.ReadObjectAs<XIntToColourLUT>();
  ASSERT_TRUE(back);
  EXPECT_EQ(back->GetSize(), 65536u);
  EXPECT_EQ(back->GetTrueDepth(), 12u);
  EXPECT_EQ(back->GetLastTrueValue(), 4000u);
  EXPECT_EQ(EntryOf(*back, 2048), EntryOf(lut, 2048));
  EXPECT_NE(back->GetSeed(), lut.GetSeed());  // read tables are new content

  XFloatToColourLUT floatTable(-3.0, 7.5);
  XMemoryStream floatStream;
  floatStream.WriteObject(floatTable);
  floatStream.SeekTo(0);
  std::unique_ptr<XStorable> object(floatStream.ReadObject());
  auto* floatBack = dynamic_cast<XFloatToColourLUT*>(object.get());
  ASSERT_NE(floatBack, nullptr);
  EXPECT_EQ(floatBack->GetMin(), -3.0);
  EXPECT_EQ(floatBack->GetMax(), 7.5);
  EXPECT_EQ(floatBack->ValueToIndex(7.5), 255);  // scale recomputed
  EXPECT_EQ(floatBack->GetSize(), 256u);

  XIntToIntLUT numbers(XIntToIntLUT::GetStandardLUT(8));
  XMemoryStream numberStream;
  numberStream.WriteObject(numbers);
  numberStream.SeekTo(0);
  std::unique_ptr<XIntToIntLUT> numbersBack = numberStream.ReadObjectAs<XIntToIntLUT>();
  ASSERT_TRUE(numbersBack);
  UInt8 v;
  numbersBack->IndexToValue(200, v);
  EXPECT_EQ(v, 200);
}

TEST_F(LUTStreams, VersionedReaderReadsTheSameAsTheStreamConstructor) {
  XMemoryStream stream;
  stream.WriteObject(XFloatToColourLUT(1.0, 2.0));
  stream.SeekTo(0);
  // Header-only reading goes through the default constructor and ReadStream2.
  std::unique_ptr<XStorable> object(stream.ReadObject(XStorable::kReadHeaderOnly));
  auto* back = dynamic_cast<XFloatToColourLUT*>(object.get());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->GetMax(), 2.0);
  EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
}

// ------------------------------------------------------------- old forms

TEST_F(LUTStreams, OlderId20FormHasNoClassWordDepthOrLastValue) {
  // Tag 20, then straight away the size and the entries.
  const std::vector<UInt8> bytes =
      XByteWriter().U32(20).U32(3).Handle({255, 1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3}).bytes;
  std::unique_ptr<XIntToColourLUT> lut = ReadBack<XIntToColourLUT>(bytes);
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->GetSize(), 3u);
  EXPECT_EQ(lut->GetTrueDepth(), 1u);      // floor(log2(3))
  EXPECT_EQ(lut->GetLastTrueValue(), 1u);  // 2^1 - 1
  EXPECT_EQ(EntryOf(*lut, 2), XARGB32Colour(255, 3, 3, 3));

  // The same through the versioned reader.
  XMemoryStream stream(bytes.data(), bytes.size(), kLittleEndian);
  std::unique_ptr<XStorable> object(stream.ReadObject(XStorable::kReadHeaderOnly));
  auto* viaReader = dynamic_cast<XIntToColourLUT*>(object.get());
  ASSERT_NE(viaReader, nullptr);
  EXPECT_EQ(viaReader->GetSize(), 3u);
  EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
}

TEST_F(LUTStreams, Id20WordWithABodyReadsAsAnOldTable) {
  // An id-20 word in the class's own place: no depth field, no last value.
  const std::vector<UInt8> bytes = XByteWriter().U32(20).U32(20).U32(1).Handle({255, 9, 9, 9}).bytes;
  std::unique_ptr<XIntToColourLUT> lut = ReadBack<XIntToColourLUT>(bytes);
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->GetSize(), 1u);
  EXPECT_EQ(lut->GetTrueDepth(), 0u);
  EXPECT_EQ(lut->GetLastTrueValue(), 0u);
}

TEST_F(LUTStreams, Version0HasNoLastTrueValue) {
  const std::vector<UInt8> bytes =
      XByteWriter().U32(23).U32(23).U32(2).Handle({255, 0, 0, 0, 255, 1, 1, 1}).U32(5).bytes;
  std::unique_ptr<XIntToColourLUT> lut = ReadBack<XIntToColourLUT>(bytes);
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->GetTrueDepth(), 5u);
  EXPECT_EQ(lut->GetLastTrueValue(), 31u);
}

TEST_F(LUTStreams, OldFloatTableReadsItsRangeBehindTheBase) {
  const std::vector<UInt8> bytes =
      XByteWriter().U32(22).U32(1).Handle({255, 4, 4, 4}).U32(0x16).F64(0.5).F64(4.5).bytes;
  std::unique_ptr<XFloatToColourLUT> lut = ReadBack<XFloatToColourLUT>(bytes);
  ASSERT_TRUE(lut);
  EXPECT_EQ(lut->GetSize(), 1u);
  EXPECT_EQ(lut->GetMin(), 0.5);
  EXPECT_EQ(lut->GetMax(), 4.5);
}

// ----------------------------------------------------------------- errors

TEST_F(LUTStreams, WrongClassAndNewerVersionAreRefused) {
  XMemoryStream numbers;
  XIntToIntLUT(4).WriteStream2(numbers);
  numbers.SeekTo(0);
  XIntToColourLUT colour;
  EXPECT_EQ(ErrorNumberOf([&] { colour.ReadStream2(numbers); }), kErrWrongClass);

  XMemoryStream colours;
  XIntToColourLUT(4).WriteStream2(colours);
  colours.SeekTo(0);
  XIntToIntLUT number;
  EXPECT_EQ(ErrorNumberOf([&] { number.ReadStream2(colours); }), kErrWrongClass);

  // Outside ReadObject there is no class being created to fall back on.
  const std::vector<UInt8> noWord = XByteWriter().U32(2).Handle({0, 0, 0, 0, 0, 0, 0, 0}).bytes;
  XMemoryStream bare(noWord.data(), noWord.size(), kLittleEndian);
  EXPECT_EQ(ErrorNumberOf([&] { XIntToColourLUT lut(bare); }), kErrWrongClass);

  const std::vector<UInt8> newer =
      XByteWriter().U32(0x00020017).U32(0x00020017).U32(1).Handle({0, 0, 0, 0}).U32(0).U32(0).bytes;
  EXPECT_EQ(ErrorNumberOf([&] { ReadBack<XIntToColourLUT>(newer); }), kErrNewerVersion);
  const std::vector<UInt8> newerNumbers = XByteWriter().U32(0x00010015).U32(0x00010015).U32(1).Handle({0}).bytes;
  EXPECT_EQ(ErrorNumberOf([&] { ReadBack<XIntToIntLUT>(newerNumbers); }), kErrNewerVersion);

  XMemoryStream floatStream;
  XFloatToColourLUT(0, 1).WriteStream2(floatStream);
  std::vector<UInt8> floatBytes = floatStream.GetBytes();
  floatBytes[floatBytes.size() - 16 - 4 + 2] = 1;  // the float word becomes version 1
  XMemoryStream tampered(floatBytes.data(), floatBytes.size(), kLittleEndian);
  XFloatToColourLUT floatTable;
  EXPECT_EQ(ErrorNumberOf([&] { floatTable.ReadStream2(tampered); }), kErrNewerVersion);
}

TEST_F(LUTStreams, EntriesMustBeAMemoryHandleOfTheStatedSize) {
  // A table where the entries' handle should be.
  XMemoryStream wrongObject(kLittleEndian);
  wrongObject.WriteVersion(XIntToColourLUT::GetClassVersion());
  wrongObject.Write32(1);
  wrongObject.WriteObject(XIntToIntLUT(4));
  wrongObject.SeekTo(0);
  XIntToColourLUT lut;
  EXPECT_EQ(ErrorNumberOf([&] { lut.ReadStream2(wrongObject); }), kErrWrongClass);

  const std::vector<UInt8> nullEntries = XByteWriter().U32(0x10017).U32(1).U32(0).U32(0).U32(0).bytes;
  XMemoryStream nullStream(nullEntries.data(), nullEntries.size(), kLittleEndian);
  EXPECT_EQ(ErrorNumberOf([&] { lut.ReadStream2(nullStream); }), kErrWrongClass);

  const std::vector<UInt8> tooBig =
      XByteWriter().U32(0x10017).U32(1000000).Handle({0, 0, 0, 0}).U32(8).U32(255).bytes;
  XMemoryStream bigStream(tooBig.data(), tooBig.size(), kLittleEndian);
  EXPECT_EQ(ErrorNumberOf([&] { lut.ReadStream2(bigStream); }), kErrBadStreamSize);
  EXPECT_EQ(lut.GetSize(), 0u);  // a failed read leaves the table as it was

  const std::vector<UInt8> numbersMismatch = XByteWriter().U32(0x15).U32(5).Handle({1, 2, 3, 4}).bytes;
  XMemoryStream numberStream(numbersMismatch.data(), numbersMismatch.size(), kLittleEndian);
  XIntToIntLUT numbers;
  EXPECT_EQ(ErrorNumberOf([&] { numbers.ReadStream2(numberStream); }), kErrBadStreamSize);
}

TEST_F(LUTStreams, EveryTruncationThrowsAnXException) {
  XMemoryStream full;
  full.WriteObject(XFloatToColourLUT(0.0, 3.0));
  full.WriteObject(XIntToIntLUT::GetStandardLUT(2));
  const std::vector<UInt8> bytes = full.GetBytes();
  for (size_t length = 0; length < bytes.size(); length += (length < 64 || bytes.size() - length < 64) ? 1 : 97) {
    XMemoryStream cut(bytes.data(), length, kLittleEndian);
    const SInt32 error = ErrorNumberOf([&] {
      std::unique_ptr<XStorable> a(cut.ReadObject());
      std::unique_ptr<XStorable> b(cut.ReadObject());
    });
    EXPECT_NE(error, 0) << "length " << length;
  }
}

}  // namespace
