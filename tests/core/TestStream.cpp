#include <gtest/gtest.h>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XHandleStream.h"
#include "core/XStream.h"

using namespace mirelan;

namespace {

SInt32 ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

}  // namespace

TEST(Stream, NumbersFollowTheStreamsByteOrder) {
  XMemoryStream big(kBigEndian);
  big.Write16(0x0102);
  big.Write32(0x03040506);
  big.Write64S(-2);
  big.WriteFloat32S(1.0f);
  EXPECT_EQ(big.GetBytes(), (std::vector<UInt8>{1, 2, 3, 4, 5, 6, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                               0xFF, 0xFF, 0xFE, 0x3F, 0x80, 0, 0}));
  XMemoryStream little(kLittleEndian);
  little.Write32(0x03040506);
  little.WriteFloat64S(-0.5);
  little.WriteARGB32(0x11223344);  // colour bytes keep their order whatever the stream's
  EXPECT_EQ(little.GetBytes(),
            (std::vector<UInt8>{6, 5, 4, 3, 0, 0, 0, 0, 0, 0, 0xE0, 0xBF, 0x11, 0x22, 0x33, 0x44}));
  big.SeekTo(0);
  EXPECT_EQ(big.Read16(), 0x0102);
  EXPECT_EQ(big.Read32(), 0x03040506u);
  EXPECT_EQ(big.Read64S(), -2);
  EXPECT_EQ(big.ReadFloat32S(), 1.0f);
  little.SeekTo(12);
  EXPECT_EQ(little.ReadARGB32(), 0x11223344u);
}

TEST(Stream, BuffersAndStringsRoundTripInEitherOrder) {
  for (XByteOrder order : {kBigEndian, kLittleEndian}) {
    XMemoryStream s(order);
    UInt16 shorts[3] = {1, 0xABCD, 0xFFFF}, shortsBack[3];
    UInt32 words[2] = {0xDEADBEEF, 7}, wordsBack[2];
    XUUID id = XUUID::Generate();
    s.WriteBuffer16(shorts, 3);
    s.WriteBuffer32(words, 2);
    s.WriteString("grün");
    s.WriteString("");
    s.WriteUUID(id);
    const bool big = order == kBigEndian;  // the buffers are swapped as the single values are
    EXPECT_EQ(s.GetBuffer()[2], big ? 0xAB : 0xCD);
    EXPECT_EQ(s.GetBuffer()[6], big ? 0xDE : 0xEF);
    s.SeekTo(0);
    s.ReadBuffer16(shortsBack, 3);
    s.ReadBuffer32(wordsBack, 2);
    EXPECT_EQ(shortsBack[1], 0xABCD);
    EXPECT_EQ(wordsBack[0], 0xDEADBEEFu);
    EXPECT_EQ(s.ReadString(), "grün");
    EXPECT_EQ(s.ReadString(), "");
    EXPECT_EQ(s.ReadUUID(), id);
    EXPECT_EQ(s.GetRemaining(), 0u);
  }
}

TEST(Stream, SeekPeekTruncateGapsAndTheEnd) {
  XMemoryStream s;
  s.Write32(1);
  s.Write32(2);
  s.Seek(-4);
  UInt8 peek[8];
  EXPECT_EQ(s.PeekBuffer8(peek, 8), 4u);
  EXPECT_EQ(s.GetPosition(), 4u);
  EXPECT_EQ(ErrorOf([&] { s.Read64S(); }), kErrEndOfStream);
  s.SeekTo(4);
  EXPECT_EQ(s.Read32(), 2u);  // the failed read left the stream usable
  s.SeekTo(4);
  s.Truncate();
  EXPECT_EQ(s.GetExtent(), 4u);
  s.SeekTo(10);  // writing beyond the end leaves zeros in the gap
  s.Write8(9);
  EXPECT_EQ(s.GetExtent(), 11u);
  EXPECT_EQ(s.GetBuffer()[6], 0);
  EXPECT_EQ(ErrorOf([&] { s.Seek(-100); }), kErrEndOfStream);

  // A string whose length word is a lie fails before allocating.
  XMemoryStream lie;
  lie.Write32(100);
  lie.WriteBuffer8("abc", 3);
  lie.SeekTo(0);
  EXPECT_EQ(ErrorOf([&] { lie.ReadString(); }), kErrBadStreamSize);
}

TEST(Stream, HeaderCarriesByteOrderAndFormat) {
  XMemoryStream s(kBigEndian);
  s.WriteStreamInfo();
  s.Write32(0x01020304);
  const UInt8* b = s.GetBuffer();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(b), 8),
            std::string("MIRLMM\0", 7) + char(XStream::kCurrentStreamFormat));

  XMemoryStream reader(s.GetBuffer(), s.GetExtent(), kLittleEndian);
  EXPECT_EQ(reader.ReadStreamInfo() >> 16, XStream::kCurrentStreamFormat);
  EXPECT_EQ(reader.GetByteOrder(), kBigEndian);
  EXPECT_EQ(reader.Read32(), 0x01020304u);

  XMemoryStream junk("GIF89a....", 10);
  EXPECT_EQ(ErrorOf([&] { junk.ReadStreamInfo(); }), kErrBadStreamHeader);
}

TEST(Stream, HandleStreamWritesIntoTheCallersHandle) {
  XMemoryHandle handle(0);
  XMemoryHandle earlier = handle;
  {
    XHandleStream s(handle, kBigEndian);
    for (UInt32 i = 0; i < 1000; ++i) s.Write32(i);
    s.SeekTo(8);
    s.Truncate();
  }
  EXPECT_EQ(handle.GetDataSize(), 8u);
  EXPECT_EQ(earlier.GetDataSize(), 0u);  // the copy taken before is untouched
  EXPECT_EQ(handle.GetByte(7), 1);
}

// A small storable class for the object protocol.
class XTestPoint : public XStorable {
 public:
  static constexpr UInt16 kClassID = 60001;
  static XVersion GetClassVersion() { return XVersion(kClassID, 1); }
  XTestPoint() = default;
  explicit XTestPoint(XStream& s) { ReadStream2(s, kReadAll); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XStorable* Clone() const override { return new XTestPoint(*this); }
  void WriteStream2(XStream& s, XOptions) const override {
    s.WriteVersion(GetClassVersion());
    s.Write32(static_cast<UInt32>(x));
  }
  void ReadStream2(XStream& s, XOptions) override {
    seenCreating = s.GetLastClassCreated();
    ReadCheckedClassVersion(s, GetClassVersion());
    x = static_cast<SInt32>(s.Read32());
  }
  SInt32 x = 0;
  XVersion seenCreating;
};

class ObjectStream : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    XRegisterCoreClasses();
    XClassRegistry::RegisterClass(XTestPoint::GetClassVersion(), XStorable::GetClassVersion(),
                                  XStreamConstructorFactory<XTestPoint>,
                                  XVersionedReaderFactory<XTestPoint>, nullptr, "test point");
  }
};

TEST_F(ObjectStream, ObjectsRoundTripThroughTheRegistry) {
  XMemoryStream s(kBigEndian);
  XTestPoint p;
  p.x = -7;
  s.WriteObject(p);
  s.WriteObject(static_cast<const XStorable*>(nullptr));
  EXPECT_EQ(s.GetBytes(), (std::vector<UInt8>{0, 1, 0xEA, 0x61, 0, 1, 0xEA, 0x61, 0xFF, 0xFF, 0xFF,
                                              0xF9, 0, 0, 0, 0}));
  s.SeekTo(0);
  auto back = s.ReadObjectAs<XTestPoint>();
  ASSERT_TRUE(back);
  EXPECT_EQ(back->x, -7);
  EXPECT_EQ(back->seenCreating, XTestPoint::GetClassVersion());
  EXPECT_EQ(s.GetLastClassCreated(), XVersion());
  EXPECT_EQ(s.ReadObject(), nullptr);
}

TEST_F(ObjectStream, BadObjectsGiveNumberedErrors) {
  // A stream of version words, then a 32-bit body if asked for.
  auto tagged = [](std::vector<XVersion> inWords, bool inBody) {
    auto s = std::make_unique<XMemoryStream>();
    for (XVersion v : inWords) s->WriteVersion(v);
    if (inBody) s->Write32(1);
    s->SeekTo(0);
    return s;
  };
  auto errorReading = [](XMemoryStream& s) { return ErrorOf([&] { delete s.ReadObject(); }); };
  const XVersion point = XTestPoint::GetClassVersion(), pointV2(XTestPoint::kClassID, 2);
  EXPECT_EQ(errorReading(*tagged({XVersion(59999, 0)}, false)), kErrWrongClass);
  // Version 2 of a version-1 class.
  EXPECT_EQ(errorReading(*tagged({point, pointV2}, true)), kErrNewerVersion);
  EXPECT_EQ(errorReading(*tagged({point, XVersion(34, 0)}, true)), kErrWrongClass);
  auto truncated = tagged({point, point}, false);
  EXPECT_EQ(errorReading(*truncated), kErrEndOfStream);
  EXPECT_EQ(truncated->GetLastClassCreated(), XVersion());  // popped on the way out

  XMemoryStream wrongType;
  wrongType.WriteObject(XTestPoint());
  wrongType.SeekTo(0);
  EXPECT_EQ(ErrorOf([&] { wrongType.ReadObjectAs<XMemoryHandle>(); }), kErrWrongClass);
}

// Reads one nested object per level, as containers of objects do.
class XTestBox : public XTestPoint {
 public:
  static constexpr UInt16 kClassID = 60003;
  XTestBox() = default;
  explicit XTestBox(XStream& s) { delete s.ReadObject(); }
  XVersion GetVersion() const override { return XVersion(kClassID, 0); }
};

TEST_F(ObjectStream, NestingStopsAtSixtyFourObjects) {
  XClassRegistry::RegisterClass(XVersion(XTestBox::kClassID, 0), XStorable::GetClassVersion(),
                                XStreamConstructorFactory<XTestBox>, nullptr, nullptr, "");
  // inDepth boxes, the innermost holding the null object.
  auto nested = [](size_t inDepth) {
    auto s = std::make_unique<XMemoryStream>();
    for (size_t i = 0; i < inDepth; ++i) s->WriteVersion(XVersion(XTestBox::kClassID, 0));
    s->Write32(0);
    s->SeekTo(0);
    return s;
  };
  ASSERT_EQ(XStream::kMaxObjectNesting, 64u);
  auto deepest = nested(64);
  EXPECT_EQ(ErrorOf([&] { delete deepest->ReadObject(); }), 0);
  EXPECT_EQ(deepest->GetRemaining(), 0u);
  auto tooDeep = nested(65);
  EXPECT_EQ(ErrorOf([&] { delete tooDeep->ReadObject(); }), kErrBadStreamSize);
  EXPECT_EQ(tooDeep->GetLastClassCreated(), XVersion());  // every level popped
  auto hostile = nested(100000);
  EXPECT_EQ(ErrorOf([&] { delete hostile->ReadObject(); }), kErrBadStreamSize);
}

TEST(Registry, IsAFollowsInheritanceAndAliasesButNotVersions) {
  XClassRegistry::RegisterInheritance(61001, 48);
  XClassRegistry::RegisterInheritance(61002, 61001);
  XClassRegistry::RegisterAlias(61003, 61002);
  XClassRegistry::RegisterInheritance(61003, 61010);
  EXPECT_TRUE(XVersion(61002, 5).IsA(XVersion(61001, 0)));
  EXPECT_TRUE(XVersion(61003, 0).IsA(XVersion(48, 0)));
  EXPECT_TRUE(XVersion(61003, 0).IsA(XVersion(61010, 0)));
  EXPECT_FALSE(XVersion(61001, 0).IsA(XVersion(61002, 0)));
  EXPECT_FALSE(XVersion(61002, 0).IsA(XVersion(61003, 0)));  // aliases point one way
  // ... except for a class with no place of its own, which stands where its
  // legacy id stands.
  XClassRegistry::RegisterAlias(61004, 61005);
  XClassRegistry::RegisterInheritance(61004, 61001);
  EXPECT_TRUE(XVersion(61005, 0).IsA(XVersion(48, 0)));
  EXPECT_FALSE(XVersion(61002, 0).IsA(XVersion(61010, 0)));  // 61002 has a base of its own
  EXPECT_TRUE(XVersion(61999, 3).IsA(XVersion(61999, 0)));   // unregistered: equal ids only
  // A careless cycle must not hang the walk.
  XClassRegistry::RegisterInheritance(61020, 61021);
  XClassRegistry::RegisterInheritance(61021, 61020);
  EXPECT_FALSE(XVersion(61020, 0).IsA(XVersion(48, 0)));
}
