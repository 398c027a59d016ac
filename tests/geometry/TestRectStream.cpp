#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/XClassRegistry.h"
#include "core/XStream.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"

namespace {

using Bytes = std::vector<UInt8>;

template <class T>
Bytes Written(const T& inObject, XByteOrder inOrder) {
  XMemoryStream stream(inOrder);
  inObject.WriteStream2(stream);
  EXPECT_EQ(stream.GetExtent(), inObject.GetStreamUsage());
  return stream.GetBytes();
}

XMemoryStream StreamOf(const Bytes& inBytes) {
  return XMemoryStream(inBytes.data(), inBytes.size(), kBigEndian);
}

// The number of the XException that constructing a T from the stream throws, 0 if none.
template <class T>
SInt32 ErrorReading(XStream& inStream) {
  try {
    T object(inStream);
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

template <class T>
SInt32 ErrorReading(const Bytes& inBytes) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kBigEndian);
  return ErrorReading<T>(stream);
}

Bytes Tag(UInt8 inVersion, UInt8 inClass, size_t inBodyBytes) {
  Bytes bytes{0, inVersion, 0, inClass};
  bytes.resize(4 + inBodyBytes, 0);
  return bytes;
}

}  // namespace

TEST(RectStreamForm, XRectWritesLeftTopBottomRight) {
  XRect r(-2, 3, 0x01020304, 7);
  EXPECT_EQ(Written(r, kBigEndian), (Bytes{0, 0, 0, 34, 0xFF, 0xFF, 0xFF, 0xFE, 0, 0, 0, 3, 0, 0, 0,
                                           7, 1, 2, 3, 4}));
  EXPECT_EQ(Written(r, kLittleEndian), (Bytes{34, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 3, 0, 0, 0, 7, 0,
                                              0, 0, 4, 3, 2, 1}));
}

TEST(RectStreamForm, XRectFWritesFloats) {
  XRectF r(1.5f, -2.0f, 100.0f, 0.25f);
  EXPECT_EQ(Written(r, kBigEndian),
            (Bytes{0, 0, 0, 50, 0x3F, 0xC0, 0, 0, 0xC0, 0, 0, 0, 0x3E, 0x80, 0, 0, 0x42, 0xC8, 0, 0}));
  EXPECT_EQ(Written(r, kLittleEndian),
            (Bytes{50, 0, 0, 0, 0, 0, 0xC0, 0x3F, 0, 0, 0, 0xC0, 0, 0, 0x80, 0x3E, 0, 0, 0xC8, 0x42}));
}

TEST(RectStreamForm, X3DRectWritesFieldOrder) {
  X3DRect box(1, 3, 5, 2, 4, 0x100);
  EXPECT_EQ(Written(box, kBigEndian), (Bytes{0, 0, 0, 100, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0,
                                             0, 4, 0, 0, 0, 5, 0, 0, 1, 0}));
  EXPECT_EQ(Written(box, kLittleEndian), (Bytes{100, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4,
                                                0, 0, 0, 5, 0, 0, 0, 0, 1, 0, 0}));
}

TEST(RectStreamRead, XRectComesBackOrderedThroughSetters) {
  // left 10, top 0, bottom 5, right 3: SetLeft raises right to 10, SetRight
  // then lowers left to 3.
  XMemoryStream s = StreamOf({0, 0, 0, 34, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 3});
  XRect r(s);
  EXPECT_EQ(r, XRect(3, 0, 3, 5));
  EXPECT_EQ(s.GetPosition(), 20u);

  // top 10 over bottom 5 collapses to 5.
  XMemoryStream t = StreamOf({0, 0, 0, 34, 0, 0, 0, 1, 0, 0, 0, 10, 0, 0, 0, 5, 0, 0, 0, 2});
  EXPECT_EQ(XRect(t), XRect(1, 5, 2, 5));
}

TEST(RectStreamRead, XRectFComesBackOrdered) {
  // left 2.0, top 0, bottom 1.0, right 1.0.
  XMemoryStream s = StreamOf({0, 0, 0, 50, 0x40, 0, 0, 0, 0, 0, 0, 0, 0x3F, 0x80, 0, 0, 0x3F, 0x80,
                              0, 0});
  XRectF r(s);
  EXPECT_EQ(r, XRectF(1.0f, 0.0f, 1.0f, 1.0f));
}

TEST(RectStreamRead, X3DRectKeepsInvertedValues) {
  XMemoryStream s = StreamOf({0, 0, 0, 100, 0, 0, 0, 9, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 4, 0xFF,
                              0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE});
  X3DRect box(s);
  EXPECT_EQ(box.left, 9);
  EXPECT_EQ(box.right, 1);
  EXPECT_EQ(box.top, 0);
  EXPECT_EQ(box.bottom, 4);
  EXPECT_EQ(box.front, -1);
  EXPECT_EQ(box.back, -2);
}

TEST(RectStreamRead, ThroughRegistryObjects) {
  XClassRegistry::RegisterClass(XRect::GetClassVersion(), XRect::GetSuperClassVersion(),
                                XStreamConstructorFactory<XRect>, XVersionedReaderFactory<XRect>,
                                nullptr, "XRect");
  XClassRegistry::RegisterClass(XRectF::GetClassVersion(), XRectF::GetSuperClassVersion(), nullptr,
                                XVersionedReaderFactory<XRectF>, nullptr, "XRectF");
  XClassRegistry::RegisterClass(X3DRect::GetClassVersion(), X3DRect::GetSuperClassVersion(),
                                XStreamConstructorFactory<X3DRect>,
                                XVersionedReaderFactory<X3DRect>, nullptr, "X3DRect");
  XMemoryStream s;
  s.WriteObject(XRect(1, 2, 3, 4));
  s.WriteObject(XRectF(1, 2, 3, 4));
  s.WriteObject(X3DRect(1, 2, 3, 4, 5, 6));
  s.SeekTo(0);
  std::unique_ptr<XRect> r = s.ReadObjectAs<XRect>();
  std::unique_ptr<XRectF> f = s.ReadObjectAs<XRectF>();
  std::unique_ptr<X3DRect> b = s.ReadObjectAs<X3DRect>();
  ASSERT_TRUE(r && f && b);
  EXPECT_EQ(*r, XRect(1, 2, 3, 4));
  EXPECT_EQ(*f, XRectF(1, 2, 3, 4));
  EXPECT_EQ(*b, X3DRect(1, 2, 3, 4, 5, 6));
  EXPECT_TRUE(r->IsA(XStorable::GetClassVersion()));
}

TEST(RectStreamErrors, NewerVersionIs1015) {
  EXPECT_EQ(ErrorReading<XRect>(Tag(1, 34, 16)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<XRectF>(Tag(1, 50, 16)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<X3DRect>(Tag(1, 100, 24)), kErrNewerVersion);
  EXPECT_EQ(ErrorReading<XRect>(Tag(0, 34, 16)), 0);
}

TEST(RectStreamErrors, OtherClassIs1005) {
  EXPECT_EQ(ErrorReading<XRect>(Tag(0, 50, 16)), kErrWrongClass);
  EXPECT_EQ(ErrorReading<XRectF>(Tag(0, 34, 16)), kErrWrongClass);
  XMemoryStream s(kLittleEndian);
  XRect(0, 0, 1, 1).WriteStream2(s);
  s.Write32(0);
  s.Write32(0);
  s.SeekTo(0);
  EXPECT_EQ(ErrorReading<X3DRect>(s), kErrWrongClass);
}

TEST(RectStreamErrors, TruncatedDataThrows) {
  Bytes rect{0, 0, 0, 34, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3};
  XMemoryStream s = StreamOf(rect);
  EXPECT_THROW(XRect r(s), XException);
  XMemoryStream f = StreamOf({0, 0, 0, 50, 0, 0});
  EXPECT_THROW(XRectF r(f), XException);
  XMemoryStream b = StreamOf({0, 0, 0, 100, 0, 0, 0, 1, 0, 0, 0, 2});
  EXPECT_THROW(X3DRect r(b), XException);
  XMemoryStream tagOnly = StreamOf({0, 0});
  EXPECT_THROW(X3DRect r(tagOnly), XException);

  // A failed read leaves the rectangle as it was.
  XRect kept(1, 2, 3, 4);
  XMemoryStream again = StreamOf(rect);
  EXPECT_THROW(kept.ReadStream2(again), XException);
  EXPECT_EQ(kept, XRect(1, 2, 3, 4));
}

