// Shared helpers of the alignment tests: a fixture with the Fourier strategy
// manager, synthetic images with structure at every scale, and a reader for
// the uncompressed ImageJ stacks of the shared test data.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "../volume/VolumeTestSupport.h"
#include "numeric/XFourierStrategyManager.h"

using namespace mirelan;

namespace aligntest {

class FourierTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
  void SetUp() override { itsManager = std::make_unique<XFourierStrategyManager>(); }
  void TearDown() override { itsManager.reset(); }

  std::unique_ptr<XFourierStrategyManager> itsManager;
};

// A field of Gaussian blobs of several sizes, in 0..1, defined everywhere
// (so that crops at different places are shifted views of one scene).
class BlobField {
 public:
  explicit BlobField(unsigned inSeed, int inCount = 60, double inExtent = 400.0) {
    std::mt19937 engine(inSeed);
    std::uniform_real_distribution<double> place(-50.0, inExtent), size(2.0, 9.0), level(0.3, 1.0);
    for (int i = 0; i < inCount; ++i) itsBlobs.push_back({place(engine), place(engine), size(engine), level(engine)});
  }
  double operator()(double x, double y) const {
    double sum = 0.0;
    for (const Blob& b : itsBlobs) {
      const double dx = x - b.x, dy = y - b.y;
      sum += b.level * std::exp(-(dx * dx + dy * dy) / (2.0 * b.sigma * b.sigma));
    }
    return std::min(1.0, sum);
  }

 private:
  struct Blob {
    double x, y, sigma, level;
  };
  std::vector<Blob> itsBlobs;
};

// A w x h x d Grey16 crop of the field whose voxel (x, y) shows the field at
// (x + inOffsetX, y + inOffsetY); planes differ a little.
inline std::unique_ptr<XGrey16Volume> Crop16(const BlobField& inField, UInt32 w, UInt32 h, UInt32 d, int inOffsetX,
                                             int inOffsetY) {
  auto volume = std::make_unique<XGrey16Volume>(w, h, d);
  volumetest::FillWith(*volume, [&](SInt32 x, SInt32 y, SInt32 z) {
    return UInt16(1000 + 40000 * inField(x + inOffsetX + 0.5 * z, y + inOffsetY));
  });
  return volume;
}

// The frames of an uncompressed little-endian 16-bit ImageJ stack (all
// pages' data follow the first page's strip in one run), or nothing when the
// file is absent or laid out otherwise.
inline std::vector<std::unique_ptr<XGrey16Volume>> ReadImageJStack16(const std::string& inPath) {
  std::vector<std::unique_ptr<XGrey16Volume>> frames;
  std::FILE* file = std::fopen(inPath.c_str(), "rb");
  if (file == nullptr) return frames;
  std::vector<UInt8> bytes;
  UInt8 buffer[65536];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.insert(bytes.end(), buffer, buffer + got);
  std::fclose(file);
  auto u16 = [&](size_t at) { return at + 2 <= bytes.size() ? UInt32(bytes[at] | bytes[at + 1] << 8) : 0u; };
  auto u32 = [&](size_t at) { return at + 4 <= bytes.size() ? UInt32(u16(at) | u16(at + 2) << 16) : 0u; };
  if (bytes.size() < 8 || bytes[0] != 'I' || bytes[1] != 'I' || u16(2) != 42) return frames;
  size_t ifd = u32(4);
  UInt32 width = 0, height = 0, bits = 0, compression = 1, offset = 0, pages = 0;
  for (UInt32 i = 0, n = u16(ifd); i < n; ++i) {
    const size_t entry = ifd + 2 + 12 * i;
    const UInt32 tag = u16(entry), type = u16(entry + 2);
    const UInt32 value = type == 3 ? u16(entry + 8) : u32(entry + 8);
    if (tag == 256) width = value;
    if (tag == 257) height = value;
    if (tag == 258) bits = value;
    if (tag == 259) compression = value;
    if (tag == 273 && u32(entry + 4) == 1) offset = value;
  }
  for (size_t next = ifd; next != 0 && next < bytes.size() && pages < 10000; next = u32(next + 2 + 12 * u16(next)))
    ++pages;
  const size_t frameBytes = size_t(width) * height * 2;
  if (bits != 16 || compression != 1 || offset == 0 || offset + frameBytes * pages > bytes.size()) return frames;
  for (UInt32 t = 0; t < pages; ++t) {
    auto frame = std::make_unique<XGrey16Volume>(width, height, 1);
    const size_t base = offset + frameBytes * t;
    volumetest::FillWith(*frame, [&](SInt32 x, SInt32 y, SInt32) { return UInt16(u16(base + 2 * (size_t(y) * width + x))); });
    frames.push_back(std::move(frame));
  }
  return frames;
}

}  // namespace aligntest
