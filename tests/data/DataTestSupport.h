// Shared helpers of the data tests: registration, stream round trips in both
// byte orders, hand-written bytes, damaged copies and small regions.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "core/XStream.h"
#include "data/XRegisterDataClasses.h"
#include "volume/X3DRegion.h"
#include "volume/XMaskVolume.h"
#include "volume/XRegisterVolumeClasses.h"

using namespace mirelan;

namespace datatest {

class DataTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    XRegisterVolumeClasses();
    XRegisterDataClasses();
  }
};

inline std::vector<UInt8> WriteToBytes(const XStorable& inObject, XByteOrder inOrder = kLittleEndian) {
  XMemoryStream stream(inOrder);
  stream.WriteObject(inObject);
  return stream.GetBytes();
}

template <class C>
std::unique_ptr<C> ReadFromBytes(const std::vector<UInt8>& inBytes, XByteOrder inOrder = kLittleEndian) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), inOrder);
  std::unique_ptr<C> object = stream.ReadObjectAs<C>();
  EXPECT_EQ(stream.GetPosition(), inBytes.size()) << "the reader left bytes of its form unread";
  return object;
}

// Writes, reads back through the registry and writes again, in both byte
// orders: the copies come back as the same class with the same stored form.
// Calls inCheck on each copy read.
template <class C>
void ExpectRoundTrip(const C& inObject, const std::function<void(const C&)>& inCheck = nullptr) {
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    SCOPED_TRACE(order == kBigEndian ? "big-endian" : "little-endian");
    const std::vector<UInt8> bytes = WriteToBytes(inObject, order);
    std::unique_ptr<C> copy = ReadFromBytes<C>(bytes, order);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->GetVersion(), inObject.GetVersion());
    EXPECT_EQ(WriteToBytes(*copy, order), bytes);
    if (inCheck) inCheck(*copy);
  }
}

// The number of the XException a call throws, 0 when it throws none.
inline SInt32 ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

// Every cut of the stored form fails with an XException, and every copy with
// one byte set to 0x00, to 0xFF or flipped either reads or fails with one:
// never a crash or a broken precondition. What reads must write again.
inline void ExpectDamageRefused(const std::vector<UInt8>& inBytes, XByteOrder inOrder = kLittleEndian) {
  for (size_t cut = 0; cut < inBytes.size(); ++cut) {
    XMemoryStream stream(inBytes.data(), cut, inOrder);
    try {
      std::unique_ptr<XStorable> object(stream.ReadObject());
      if (cut > 0) ADD_FAILURE() << "a stream cut at " << cut << " of " << inBytes.size() << " was read";
    } catch (const XException&) {
    }
  }
  for (size_t i = 0; i < inBytes.size(); ++i) {
    for (int change = 0; change < 3; ++change) {
      std::vector<UInt8> damaged = inBytes;
      damaged[i] = change == 0 ? 0x00 : change == 1 ? 0xFF : UInt8(~damaged[i]);
      XMemoryStream stream(damaged.data(), damaged.size(), inOrder);
      try {
        std::unique_ptr<XStorable> object(stream.ReadObject());
        if (object) WriteToBytes(*object, inOrder);
      } catch (const XException&) {
      } catch (const XInternalError& e) {
        ADD_FAILURE() << "byte " << i << " change " << change << ": " << e.what();
      }
    }
  }
}

// Hand-written stream bytes in either byte order.
class Bytes {
 public:
  explicit Bytes(XByteOrder inOrder = kLittleEndian) : itsOrder(inOrder) {}
  Bytes& U8(UInt8 v) {
    itsBytes.push_back(v);
    return *this;
  }
  Bytes& U32(UInt32 v) { return Put(v, 4); }
  Bytes& F32(Float32 v) {
    UInt32 bits;
    std::memcpy(&bits, &v, 4);
    return Put(bits, 4);
  }
  Bytes& Raw(const std::vector<UInt8>& v) {
    itsBytes.insert(itsBytes.end(), v.begin(), v.end());
    return *this;
  }
  const std::vector<UInt8>& Get() const { return itsBytes; }

 private:
  Bytes& Put(UInt64 inValue, int inCount) {
    for (int i = 0; i < inCount; ++i) {
      int shift = itsOrder == kLittleEndian ? 8 * i : 8 * (inCount - 1 - i);
      itsBytes.push_back(UInt8(inValue >> shift));
    }
    return *this;
  }
  XByteOrder itsOrder;
  std::vector<UInt8> itsBytes;
};

// A complex region of one plane from rows of '#' (set) and '.' (clear), with
// its top left voxel at (inLeft, inTop, inZ).
inline X3DRegion RegionFromRows(const std::vector<std::string>& inRows, SInt32 inLeft = 0, SInt32 inTop = 0,
                                SInt32 inZ = 0) {
  const SInt32 w = SInt32(inRows.front().size()), h = SInt32(inRows.size());
  XMaskVolume mask(X3DRect(inLeft, inTop, inZ, inLeft + w, inTop + h, inZ + 1));
  {
    XLock lock(mask, kLockWrite);
    for (SInt32 y = 0; y < h; ++y)
      for (SInt32 x = 0; x < w; ++x) mask.SetVoxel(inLeft + x, inTop + y, inZ, inRows[y][x] == '#' ? 255 : 0);
  }
  return X3DRegion(mask);
}

// The region's voxels of one plane as rows of '#' and '.', over inBox.
inline std::vector<std::string> RowsOf(const X3DRegion& inRegion, const XRect& inBox, SInt32 inZ = 0) {
  std::vector<std::string> rows;
  XLock lock(inRegion, kLockRead);
  for (SInt32 y = inBox.top; y < inBox.bottom; ++y) {
    std::string row;
    for (SInt32 x = inBox.left; x < inBox.right; ++x) row += inRegion.Contains(x, y, inZ) ? '#' : '.';
    rows.push_back(row);
  }
  return rows;
}

}  // namespace datatest
