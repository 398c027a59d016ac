#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/XClassRegistry.h"
#include "core/XStream.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"

using namespace mirelan;

namespace {

using Bytes = std::vector<UInt8>;

template <class T>
Bytes Written(const T& inObject, XByteOrder inOrder) {
  XMemoryStream stream(inOrder);
  inObject.WriteStream2(stream);
  EXPECT_EQ(stream.GetExtent(), inObject.GetStreamUsage());
  return stream.GetBytes();
}

template <class T>
T ReadBack(const Bytes& inBytes) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kBigEndian);
  T object(stream);
  EXPECT_EQ(stream.GetPosition(), inBytes.size());
  return object;
}

// The number of the XException that constructing a T from the stream throws, 0 if none.
template <class T>
SInt32 ErrorReading(const Bytes& inBytes) {
  try {
    ReadBack<T>(inBytes);
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

// A version word (class version, class id) and a zeroed body.
Bytes Tag(UInt8 inVersion, UInt8 inClass, size_t inBodyBytes) {
  Bytes bytes{0, inVersion, 0, inClass};
  bytes.resize(4 + inBodyBytes, 0);
  return bytes;
}

}  // namespace

TEST(RectStreamForm, FieldOrderAndByteOrder) {
  // XRect writes left, top, bottom, right.
  XRect r(-2, 3, 0x01020304, 7);
  EXPECT_EQ(Written(r, kBigEndian),
            (Bytes{0, 0, 0, 34, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 3, 0, 0, 0, 7, 1, 2, 3, 4}));
  EXPECT_EQ(Written(r, kLittleEndian),
            (Bytes{34, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 3, 0, 0, 0, 7, 0, 0, 0, 4, 3, 2, 1}));
  EXPECT_EQ(Written(XRectF(1.5f, -2.0f, 100.0f, 0.25f), kLittleEndian),
            (Bytes{50, 0, 0, 0, 0, 0, 0xC0, 0x3F, 0, 0, 0, 0xC0, 0, 0, 0x80, 0x3E, 0, 0, 0xC8,
                   0x42}));
  // X3DRect writes left, right, top, bottom, front, back.
  EXPECT_EQ(Written(X3DRect(1, 3, 5, 2, 4, 0x100), kBigEndian),
            (Bytes{0, 0, 0, 100, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0,
                   1, 0}));
}

TEST(RectStreamRead, RectanglesComeBackOrderedThroughSettersBoxesAsStored) {
  // left 10, top 0, bottom 5, right 3: SetLeft raises right to 10, SetRight then lowers left to 3.
  EXPECT_EQ(ReadBack<XRect>({0, 0, 0, 34, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 3}),
            XRect(3, 0, 3, 5));
  // left 2.0, top 0, bottom 1.0, right 1.0.
  EXPECT_EQ(ReadBack<XRectF>({0, 0, 0, 50, 0x40, 0, 0, 0, 0, 0, 0, 0, 0x3F, 0x80, 0, 0, 0x3F, 0x80,
                              0, 0}),
            XRectF(1.0f, 0.0f, 1.0f, 1.0f));
  X3DRect box = ReadBack<X3DRect>({0, 0, 0, 100, 0, 0, 0, 9, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 4,
                                   0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE});
  EXPECT_EQ((std::vector<SInt32>{box.left, box.right, box.top, box.bottom, box.front, box.back}),
            (std::vector<SInt32>{9, 1, 0, 4, -1, -2}));
}

TEST(RectStreamRead, ThroughTheRegistry) {
  XClassRegistry::RegisterClass(XRect::GetClassVersion(), XRect::GetSuperClassVersion(),
                                XStreamConstructorFactory<XRect>, XVersionedReaderFactory<XRect>,
                                nullptr, "XRect");
  XMemoryStream s;
  s.WriteObject(XRect(1, 2, 3, 4));
  s.SeekTo(0);
  std::unique_ptr<XRect> r = s.ReadObjectAs<XRect>();
  ASSERT_TRUE(r);
  EXPECT_EQ(*r, XRect(1, 2, 3, 4));
  EXPECT_TRUE(r->IsA(XStorable::GetClassVersion()));
}

TEST(RectStreamErrors, NewerVersionOtherClassAndTruncation) {
  EXPECT_EQ(ErrorReading<XRect>(Tag(0, 34, 16)), 0);
  // Version 1 of a version-0 class.
  EXPECT_EQ(ErrorReading<XRect>(Tag(1, 34, 16)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<XRectF>(Tag(1, 50, 16)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<X3DRect>(Tag(1, 100, 24)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<XRect>(Tag(0, 50, 16)), kErrWrongClass);
  EXPECT_EQ(ErrorReading<XRectF>(Tag(0, 34, 16)), kErrWrongClass);
  EXPECT_EQ(ErrorReading<X3DRect>(Tag(0, 34, 24)), kErrWrongClass);
  EXPECT_EQ(ErrorReading<XRect>(Tag(0, 34, 12)), kErrEndOfStream);
  EXPECT_EQ(ErrorReading<XRectF>(Tag(0, 50, 0)), kErrEndOfStream);
  EXPECT_EQ(ErrorReading<X3DRect>(Tag(0, 100, 8)), kErrEndOfStream);
  EXPECT_EQ(ErrorReading<X3DRect>({0, 0}), kErrEndOfStream);

  // A failed read leaves the rectangle as it was.
  XRect kept(1, 2, 3, 4);
  Bytes cut = Tag(0, 34, 12);
  XMemoryStream again(cut.data(), cut.size(), kBigEndian);
  EXPECT_THROW(kept.ReadStream2(again), XException);
  EXPECT_EQ(kept, XRect(1, 2, 3, 4));
}
