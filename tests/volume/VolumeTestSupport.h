// Shared helpers of the volume tests: class registration, byte builders,
// stream round trips and small volume makers.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "core/XClassRegistry.h"
#include "core/XCoreClasses.h"
#include "core/XStream.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/XIntToColourLUT.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/XRegisterVolumeClasses.h"

using namespace mirelan;

namespace volumetest {

// Tests read streams through the library's own class table.
inline void RegisterVolumeClasses() { XRegisterVolumeClasses(); }

class VolumeTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterVolumeClasses(); }
};

// Hand-written stream bytes in either byte order.
class Bytes {
 public:
  explicit Bytes(XByteOrder inOrder = kLittleEndian) : itsOrder(inOrder) {}
  Bytes& U8(UInt8 v) {
    itsBytes.push_back(v);
    return *this;
  }
  Bytes& U32(UInt32 v) { return Put(v, 4); }
  Bytes& U64(UInt64 v) { return Put(v, 8); }
  Bytes& F64(Float64 v) {
    UInt64 bits;
    std::memcpy(&bits, &v, 8);
    return Put(bits, 8);
  }
  Bytes& Raw(const std::vector<UInt8>& v) {
    itsBytes.insert(itsBytes.end(), v.begin(), v.end());
    return *this;
  }
  // A memory handle object of the given data: word 33, tag 33, size, compression 0, bytes.
  Bytes& Handle(const std::vector<UInt8>& inData) {
    U32(33).U32(33).U64(inData.size()).U32(0);
    return Raw(inData);
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

inline std::vector<UInt8> WriteToBytes(const XStorable& inObject, XByteOrder inOrder = kLittleEndian) {
  XMemoryStream stream(inOrder);
  stream.WriteObject(inObject);
  return stream.GetBytes();
}

template <class C>
std::unique_ptr<C> ReadFromBytes(const std::vector<UInt8>& inBytes, XByteOrder inOrder = kLittleEndian,
                                 XStorable::XOptions inOptions = XStorable::kReadAll) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), inOrder);
  return stream.ReadObjectAs<C>(inOptions);
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

// Sets every voxel from a function of its coordinates.
template <class V, class Fn>
void FillWith(V& ioVolume, Fn inValueAt) {
  XLock lock(ioVolume, kLockReadWrite);
  const X3DRect& b = ioVolume.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) ioVolume.SetVoxel(x, y, z, inValueAt(x, y, z));
}

// A one-row volume of the given voxels, and the voxels of such a row.
template <class V>
std::unique_ptr<V> Row(const std::vector<typename V::Voxel>& inValues) {
  auto volume = std::make_unique<V>(UInt32(inValues.size()), 1, 1);
  FillWith(*volume, [&](SInt32 x, SInt32, SInt32) { return inValues[x]; });
  return volume;
}

template <class V>
std::vector<typename V::Voxel> Values(const V& inVolume) {
  std::vector<typename V::Voxel> values;
  XLock lock(inVolume, kLockRead);
  for (SInt32 x = inVolume.GetBounds().left; x < inVolume.GetBounds().right; ++x)
    values.push_back(inVolume.GetVoxel(x, inVolume.GetBounds().top, inVolume.GetBounds().front));
  return values;
}

// The XVolume layer of a stream: tag 520, sizes, origin, unit calibrations.
inline Bytes& VolumeLayer(Bytes& b, UInt32 w, UInt32 h, UInt32 d, SInt32 l = 0, SInt32 t = 0, SInt32 f = 0) {
  return b.U32(520).U32(w).U32(h).U32(d).U32(UInt32(l)).U32(UInt32(t)).U32(UInt32(f)).F64(1).F64(1).F64(1);
}

// A complete Grey8 stream whose rows hold inRowVoxels voxels (padding when wider than w).
inline Bytes Grey8Stream(UInt32 w, UInt32 h, UInt32 d, UInt32 inRowVoxels, const std::vector<UInt8>& inData) {
  Bytes b;
  VolumeLayer(b.U32(65641), w, h, d).U32(114).U32(65638).U32(inRowVoxels).U32(0).Handle(inData);
  b.U32(103).U32(65640).U32(65641);
  return b;
}

// A legacy image: id, rectangle (left, top, bottom, right), a data flag and the block.
inline Bytes Legacy(UInt32 inId, UInt32 l, UInt32 t, UInt32 b, UInt32 r, const std::vector<UInt8>& inData,
                    XByteOrder inOrder = kLittleEndian) {
  Bytes bytes(inOrder);
  bytes.U32(inId).U32(l).U32(t).U32(b).U32(r).U8(inData.empty() ? 0 : 1);
  if (!inData.empty()) bytes.Handle(inData);
  return bytes;
}

template <class V>
typename V::Voxel VoxelAt(const V& inVolume, SInt32 x, SInt32 y, SInt32 z) {
  XLock lock(inVolume, kLockRead);
  return inVolume.GetVoxel(x, y, z);
}

}  // namespace volumetest
