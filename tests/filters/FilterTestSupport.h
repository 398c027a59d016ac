// Shared helpers of the filter tests: random volumes of every pixel type,
// snapshots read voxel by voxel, per-component access, worker counts, and
// runs of a tool that keep the source's alpha.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "../volume/VolumeTestSupport.h"
#include "core/XWorkerPool.h"
#include "tools/X1To1VolumeTool.h"

using namespace mirelan;

namespace filtertest {

using volumetest::ErrorOf;
using volumetest::FillWith;

class FilterTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
};

// Sets the library's worker count for a scope.
class XWorkers {
 public:
  explicit XWorkers(UInt32 inCount) : itsOld(XWorkerPool::GetWorkerCount()) { XWorkerPool::SetWorkerCount(inCount); }
  ~XWorkers() { XWorkerPool::SetWorkerCount(itsOld); }

 private:
  UInt32 itsOld;
};

// The filtered components of each voxel type, as numbers.
template <class T>
struct XComponents {
  static std::vector<UInt32> List() { return {0}; }
  static Float64 Get(const T& v, UInt32) { return Float64(v); }
  static void Set(T& v, UInt32, Float64 inValue) { v = T(inValue); }
};
template <>
struct XComponents<XARGB32Colour> {
  static std::vector<UInt32> List() { return {1, 2, 3}; }
  static Float64 Get(const XARGB32Colour& v, UInt32 c) { return c == 1 ? v.red : c == 2 ? v.green : v.blue; }
  static void Set(XARGB32Colour& v, UInt32 c, Float64 inValue) {
    (c == 1 ? v.red : c == 2 ? v.green : v.blue) = UInt8(inValue);
  }
};
template <>
struct XComponents<XRGB48Colour> {
  static std::vector<UInt32> List() { return {0, 1, 2}; }
  static Float64 Get(const XRGB48Colour& v, UInt32 c) { return c == 0 ? v.red : c == 1 ? v.green : v.blue; }
  static void Set(XRGB48Colour& v, UInt32 c, Float64 inValue) {
    (c == 0 ? v.red : c == 1 ? v.green : v.blue) = UInt16(inValue);
  }
};

// A random voxel; integer components drawn from inLevels values (few levels
// make many ties), floats from a grid of inLevels steps with negatives.
template <class T>
T RandomVoxel(std::mt19937& ioRandom, UInt32 inLevels) {
  T v{};
  for (UInt32 c : XComponents<T>::List()) {
    const Float64 level = Float64(ioRandom() % inLevels);
    if constexpr (std::is_same_v<T, Float32>)
      XComponents<T>::Set(v, c, (level - inLevels / 3.0) * 0.37);
    else if constexpr (std::is_same_v<T, UInt16> || std::is_same_v<T, XRGB48Colour>)
      XComponents<T>::Set(v, c, std::floor(level * (65535.0 / std::max(1u, inLevels - 1))));
    else
      XComponents<T>::Set(v, c, std::floor(level * (255.0 / std::max(1u, inLevels - 1))));
  }
  if constexpr (std::is_same_v<T, XARGB32Colour>) v.alpha = UInt8(ioRandom());
  return v;
}

template <class V>
std::unique_ptr<V> RandomVolume(const X3DRect& inBox, UInt32 inSeed, UInt32 inLevels = 256) {
  std::mt19937 random(inSeed);
  auto volume = std::make_unique<V>(inBox);
  FillWith(*volume, [&](SInt32, SInt32, SInt32) { return RandomVoxel<typename V::Voxel>(random, inLevels); });
  return volume;
}

// Every voxel of a volume, read once under a lock.
template <class V>
class XSnapshot {
 public:
  using T = typename V::Voxel;
  explicit XSnapshot(const V& inVolume) : itsBounds(inVolume.GetBounds()) {
    XLock lock(inVolume, kLockRead);
    for (SInt32 z = itsBounds.front; z < itsBounds.back; ++z)
      for (SInt32 y = itsBounds.top; y < itsBounds.bottom; ++y)
        for (SInt32 x = itsBounds.left; x < itsBounds.right; ++x) itsVoxels.push_back(inVolume.GetVoxel(x, y, z));
  }
  const X3DRect& Bounds() const { return itsBounds; }
  bool Contains(SInt64 x, SInt64 y, SInt64 z) const {
    return x >= itsBounds.left && x < itsBounds.right && y >= itsBounds.top && y < itsBounds.bottom &&
           z >= itsBounds.front && z < itsBounds.back;
  }
  const T& At(SInt64 x, SInt64 y, SInt64 z) const {
    return itsVoxels[size_t(((z - itsBounds.front) * SInt64(itsBounds.GetHeight()) + (y - itsBounds.top)) *
                                SInt64(itsBounds.GetWidth()) +
                            (x - itsBounds.left))];
  }
  const std::vector<T>& Voxels() const { return itsVoxels; }

 private:
  X3DRect itsBounds;
  std::vector<T> itsVoxels;
};

// Byte equality of two voxel lists (floats by bits: NaN and -0 included).
template <class T>
bool SameBytes(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Expects two volumes voxel for voxel equal, byte for byte, and names the first difference.
template <class V>
void ExpectSameVoxels(const V& inExpected, const V& inActual) {
  const XSnapshot<V> expected(inExpected), actual(inActual);
  ASSERT_EQ(expected.Bounds(), actual.Bounds());
  const X3DRect& b = expected.Bounds();
  size_t differences = 0;
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        if (!SameBytes(expected.At(x, y, z), actual.At(x, y, z)) && differences++ < 3)
          ADD_FAILURE() << "voxel " << x << ", " << y << ", " << z << " differs";
  EXPECT_EQ(differences, 0u);
}

// The tool applied in place on a copy of the source: the destination starts
// as the source, so alpha and unwritten voxels are the source's.
template <class V>
std::unique_ptr<V> Filtered(X1To1VolumeTool& ioTool, const V& inSource) {
  auto result = std::make_unique<V>(inSource);
  ioTool.ApplyToolInPlace(*result);
  return result;
}

// A copy of the source whose filtered components come from a function of
// (x, y, z, component); the rest (alpha) is kept.
template <class V, class Fn>
std::unique_ptr<V> Expected(const V& inSource, Fn inComponentAt) {
  using T = typename V::Voxel;
  const XSnapshot<V> source(inSource);
  auto result = std::make_unique<V>(inSource.GetBounds());
  FillWith(*result, [&](SInt32 x, SInt32 y, SInt32 z) {
    T v = source.At(x, y, z);
    for (UInt32 c : XComponents<T>::List()) XComponents<T>::Set(v, c, inComponentAt(x, y, z, c));
    return v;
  });
  return result;
}

// The lower median, by sorting: independent of the library's selection.
inline Float64 LowerMedian(std::vector<Float64> inValues) {
  std::sort(inValues.begin(), inValues.end());
  return inValues[(inValues.size() - 1) / 2];
}

}  // namespace filtertest
