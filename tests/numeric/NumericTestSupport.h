// Shared helpers of the numeric tests: aligned float arrays, random data, a
// fixture with the Fourier strategy manager, and a private preferences folder
// for the whole test program (FFTW's wisdom is written there, never to the
// user's own preferences).
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

#include "../volume/VolumeTestSupport.h"
#include "numeric/XFourierStrategyManager.h"
#include "numeric/XFourierVolume.h"

using namespace mirelan;

namespace numerictest {

// Floats on a 64-byte boundary, with room to start a view 4 bytes off.
class AlignedFloats {
 public:
  explicit AlignedFloats(size_t inCount, float inFill = 0.0f)
      : itsCount(inCount), itsData(static_cast<float*>(std::aligned_alloc(64, ((inCount + 1) * 4 + 63) / 64 * 64))) {
    for (size_t i = 0; i <= inCount; ++i) itsData.get()[i] = inFill;
  }
  AlignedFloats(const AlignedFloats& inOther) : AlignedFloats(inOther.itsCount) {
    std::memcpy(itsData.get(), inOther.itsData.get(), (itsCount + 1) * sizeof(float));
  }
  AlignedFloats& operator=(const AlignedFloats&) = delete;

  float* get() { return itsData.get(); }
  const float* get() const { return itsData.get(); }
  // The same memory shifted by one float: never 16-byte aligned.
  float* Unaligned() { return itsData.get() + 1; }
  float& operator[](size_t i) { return itsData.get()[i]; }
  float operator[](size_t i) const { return itsData.get()[i]; }
  size_t size() const { return itsCount; }

 private:
  struct Free {
    void operator()(float* p) const { std::free(p); }
  };
  size_t itsCount;
  std::unique_ptr<float, Free> itsData;
};

inline AlignedFloats RandomFloats(size_t inCount, float inLow, float inHigh, unsigned inSeed) {
  std::mt19937 engine(inSeed);
  std::uniform_real_distribution<float> distribution(inLow, inHigh);
  AlignedFloats values(inCount);
  for (size_t i = 0; i <= inCount; ++i) values[i] = distribution(engine);
  return values;
}

inline bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Every test that makes Fourier volumes runs with a manager, as a host does.
class FourierTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
  void SetUp() override { itsManager = std::make_unique<XFourierStrategyManager>(); }
  void TearDown() override { itsManager.reset(); }

  std::unique_ptr<XFourierStrategyManager> itsManager;
};

// Voxel by voxel from a function of (x, y, z) in bounds coordinates.
template <class V, class Fn>
void Fill(V& ioVolume, Fn inValueAt) {
  volumetest::FillWith(ioVolume, inValueAt);
}

template <class V>
float At(const V& inVolume, SInt32 x, SInt32 y, SInt32 z) {
  return float(volumetest::VoxelAt(inVolume, x, y, z));
}

}  // namespace numerictest
