// Helpers of the codec tests: test planes, pictures and JPEGs in memory,
// and an independent decoder (ImageMagick's convert) for real files.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "StorageTestSupport.h"
#include "core/XStream.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace codectest {

using namespace mirelan;

// A smooth pattern with some texture, as camera images have.
inline UInt8 PatternValue(SInt32 inX, SInt32 inY, SInt32 inSeed = 0) {
  const SInt32 smooth = 128 + (inX * 3 + inY * 2 + inSeed * 17) % 96 - 48;
  const SInt32 texture = ((inX * 7919 + inY * 104729 + inSeed * 31) % 13) - 6;
  return UInt8(std::min(255, std::max(0, smooth + texture)));
}

inline std::unique_ptr<XGrey8Volume> PatternGrey8(const X3DRect& inBounds, SInt32 inSeed = 0) {
  std::unique_ptr<XGrey8Volume> v(new XGrey8Volume(inBounds));
  XLock lock(*v, kLockWrite);
  for (SInt32 z = inBounds.front; z < inBounds.back; ++z)
    for (SInt32 y = inBounds.top; y < inBounds.bottom; ++y)
      for (SInt32 x = inBounds.left; x < inBounds.right; ++x) v->SetVoxel(x, y, z, PatternValue(x, y, inSeed + z));
  return v;
}

inline std::unique_ptr<XARGB32Volume> PatternARGB32(const X3DRect& inBounds) {
  std::unique_ptr<XARGB32Volume> v(new XARGB32Volume(inBounds));
  XLock lock(*v, kLockWrite);
  for (SInt32 z = inBounds.front; z < inBounds.back; ++z)
    for (SInt32 y = inBounds.top; y < inBounds.bottom; ++y)
      for (SInt32 x = inBounds.left; x < inBounds.right; ++x)
        v->SetVoxel(x, y, z, XARGB32Colour(200, PatternValue(x, y, 1), PatternValue(y, x, 2), PatternValue(x + y, y, 3)));
  return v;
}

inline std::unique_ptr<XGrey16Volume> PatternGrey16(const X3DRect& inBounds) {
  std::unique_ptr<XGrey16Volume> v(new XGrey16Volume(inBounds));
  XLock lock(*v, kLockWrite);
  UInt32 i = 0;
  for (SInt32 z = inBounds.front; z < inBounds.back; ++z)
    for (SInt32 y = inBounds.top; y < inBounds.bottom; ++y)
      for (SInt32 x = inBounds.left; x < inBounds.right; ++x) v->SetVoxel(x, y, z, UInt16(++i * 40503u));
  return v;
}

// Largest and mean absolute difference of two planes of the same size, per
// channel of colour; grey planes compare their values.
struct XDifference {
  int largest = 0;
  double mean = 0;
};

template <class T, class Channels>
XDifference Compare(const XPackedVolume<T>& a, const XPackedVolume<T>& b, Channels inChannels) {
  XLock la(a, kLockRead), lb(b, kLockRead);
  XDifference d;
  UInt64 count = 0;
  const X3DRect& ba = a.GetBounds();
  const X3DRect& bb = b.GetBounds();
  for (UInt32 y = 0; y < a.GetHeight(); ++y)
    for (UInt32 x = 0; x < a.GetWidth(); ++x) {
      const T& va = a.GetVoxel(ba.left + x, ba.top + y, ba.front);
      const T& vb = b.GetVoxel(bb.left + x, bb.top + y, bb.front);
      for (int diff : inChannels(va, vb)) {
        d.largest = std::max(d.largest, std::abs(diff));
        d.mean += std::abs(diff);
        ++count;
      }
    }
  d.mean /= double(std::max<UInt64>(count, 1));
  return d;
}

inline XDifference CompareGrey8(const XGrey8Volume& a, const XGrey8Volume& b) {
  return Compare(a, b, [](UInt8 x, UInt8 y) { return std::vector<int>{int(x) - int(y)}; });
}

inline XDifference CompareRGB(const XARGB32Volume& a, const XARGB32Volume& b) {
  return Compare(a, b, [](const XARGB32Colour& x, const XARGB32Colour& y) {
    return std::vector<int>{int(x.red) - int(y.red), int(x.green) - int(y.green), int(x.blue) - int(y.blue)};
  });
}

// A stream that fails once more than a given number of bytes went through it.
class XFailingStream : public XMemoryStream {
 public:
  explicit XFailingStream(UInt64 inLimit, XByteOrder inOrder = kBigEndian) : XMemoryStream(inOrder), itsLimit(inLimit) {}
  XFailingStream(const std::vector<UInt8>& inBytes, UInt64 inLimit)
      : XMemoryStream(inBytes.data(), inBytes.size(), kBigEndian), itsLimit(inLimit) {}
  void WriteBytes(const void* inBuffer, UInt64 inBytes) override {
    Count(inBytes);
    XMemoryStream::WriteBytes(inBuffer, inBytes);
  }
  void ReadBytes(void* outBuffer, UInt64 inBytes) override {
    Count(inBytes);
    XMemoryStream::ReadBytes(outBuffer, inBytes);
  }
  static constexpr SInt32 kError = 1099;

 private:
  void Count(UInt64 inBytes) {
    itsDone += inBytes;
    if (itsDone > itsLimit) throw XException(kError, "the test stream fails");
  }
  UInt64 itsLimit;
  UInt64 itsDone = 0;
};

// ---------------------------------------------------------------- ImageMagick

inline bool HaveImageMagick() { return std::system("convert -version >/dev/null 2>&1") == 0; }

// An image as ImageMagick decodes it: 8-bit RGB, row by row.
struct XReference {
  UInt32 width = 0;
  UInt32 height = 0;
  std::vector<UInt8> rgb;
  const UInt8* At(UInt32 inX, UInt32 inY) const { return &rgb[3 * (UInt64(inY) * width + inX)]; }
};

// Decodes the first image of a file with convert; empty when it fails.
inline XReference DecodeWithImageMagick(const std::string& inPath) {
  XReference image;
  std::FILE* pipe = ::popen(("convert '" + inPath + "[0]' -depth 8 ppm:- 2>/dev/null").c_str(), "r");
  if (!pipe) return image;
  std::vector<UInt8> bytes;
  UInt8 buffer[65536];
  while (size_t n = std::fread(buffer, 1, sizeof(buffer), pipe)) bytes.insert(bytes.end(), buffer, buffer + n);
  ::pclose(pipe);
  // P6, width, height, maximum, one white-space byte, then the pixels.
  size_t at = 0;
  auto next = [&]() -> std::string {
    while (at < bytes.size() && std::isspace(bytes[at])) ++at;
    std::string word;
    while (at < bytes.size() && !std::isspace(bytes[at])) word += char(bytes[at++]);
    return word;
  };
  if (next() != "P6") return image;
  const UInt32 width = UInt32(std::stoul(next())), height = UInt32(std::stoul(next()));
  if (next() != "255") return image;
  ++at;
  if (bytes.size() - at < UInt64(width) * height * 3) return image;
  image.width = width;
  image.height = height;
  image.rgb.assign(bytes.begin() + at, bytes.begin() + at + UInt64(width) * height * 3);
  return image;
}

}  // namespace codectest
