// The kernels with several instruction-set forms: every form the processor
// has gives what the plain loop gives, bit for bit.
#include <gtest/gtest.h>

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "core/XInstructionSet.h"
#include "volume/internal/XWideKernels.h"

using namespace mirelan;

namespace {

// Runs inCheck once for each instruction set this processor has.
template <class Check>
void ForEveryPath(Check inCheck) {
  const XInstructionSet saved = XLimitInstructionSet(XInstructionSet::kAVX512);
  for (UInt8 set = 0; set <= UInt8(XGetProcessorInstructionSet()); ++set) {
    XLimitInstructionSet(XInstructionSet(set));
    SCOPED_TRACE("instruction set " + std::to_string(set));
    inCheck();
  }
  XLimitInstructionSet(saved);
}

// The plain sixteen-lane fold the library used before the wide forms.
template <class T>
void PlainMinMax(const T* inRun, UInt64 inCount, T& ioLow, T& ioHigh) {
  T low[16], high[16];
  for (int k = 0; k < 16; ++k) low[k] = ioLow, high[k] = ioHigh;
  UInt64 i = 0;
  for (; i + 16 <= inCount; i += 16)
    for (int k = 0; k < 16; ++k) {
      const T v = inRun[i + k];
      low[k] = v < low[k] ? v : low[k];
      high[k] = v > high[k] ? v : high[k];
    }
  for (; i < inCount; ++i) {
    ioLow = inRun[i] < ioLow ? inRun[i] : ioLow;
    ioHigh = inRun[i] > ioHigh ? inRun[i] : ioHigh;
  }
  for (int k = 0; k < 16; ++k) {
    ioLow = low[k] < ioLow ? low[k] : ioLow;
    ioHigh = high[k] > ioHigh ? high[k] : ioHigh;
  }
}

template <class T>
void ExpectSameMinMax(const std::vector<T>& inData) {
  for (UInt64 start : {0, 1, 3})
    for (UInt64 count : {UInt64(0), UInt64(1), UInt64(15), UInt64(64), UInt64(129), inData.size() - start}) {
      if (start + count > inData.size() || count == 0) continue;
      T low = inData[start], high = inData[start], wideLow = low, wideHigh = high;
      PlainMinMax(inData.data() + start, count, low, high);
      XWideMinMax(inData.data() + start, count, wideLow, wideHigh);
      EXPECT_EQ(std::memcmp(&low, &wideLow, sizeof(T)), 0) << start << " " << count;
      EXPECT_EQ(std::memcmp(&high, &wideHigh, sizeof(T)), 0) << start << " " << count;
    }
}

}  // namespace

TEST(WideKernels, MinMaxOfEveryTypeOnEveryPath) {
  std::mt19937 random(7);
  std::vector<UInt8> bytes(1001);
  std::vector<UInt16> shorts(1003);
  std::vector<UInt32> words(997);
  for (auto& v : bytes) v = UInt8(random());
  for (auto& v : shorts) v = UInt16(random());
  for (auto& v : words) v = UInt32(random());
  // Zeros of both signs and NaNs, where lane order could show.
  std::vector<Float32> floats(1000);
  for (size_t i = 0; i < floats.size(); ++i)
    floats[i] = i % 7 == 0 ? (i % 2 ? -0.0f : 0.0f) : i % 13 == 0 ? std::numeric_limits<Float32>::quiet_NaN()
                                                                     : Float32(SInt32(random() % 2001) - 1000) / 1000.0f;
  std::vector<Float32> zeros(100, 0.0f);
  zeros[37] = -0.0f;
  ForEveryPath([&] {
    ExpectSameMinMax(bytes);
    ExpectSameMinMax(shorts);
    ExpectSameMinMax(words);
    ExpectSameMinMax(floats);
    ExpectSameMinMax(zeros);
  });
}

TEST(WideKernels, CRC32AgreesWithZlibForEveryLengthAndStart) {
  std::mt19937 random(11);
  std::vector<UInt8> data(5 << 20);
  for (auto& b : data) b = UInt8(random());
  ForEveryPath([&] {
    for (UInt64 length = 0; length <= 300; ++length)
      for (UInt64 start : {0, 5}) {
        const UInt32 seed = length % 3 ? 0 : 0x12345678;
        ASSERT_EQ(XWideCRC32(seed, data.data() + start, length),
                  UInt32(crc32(seed, data.data() + start, uInt(length))))
            << length << " from " << start;
      }
    // Around the 256-byte steps of the widest form and its hand-over.
    for (UInt64 length : {511, 512, 513, 767, 768, 784, 1023, 1104, 4117})
      ASSERT_EQ(XWideCRC32(7, data.data() + 3, length), UInt32(crc32(7, data.data() + 3, uInt(length)))) << length;
    EXPECT_EQ(XWideCRC32(0, data.data() + 1, data.size() - 1), UInt32(crc32(0, data.data() + 1, uInt(data.size() - 1))));
  });
}

TEST(WideKernels, ColourAverageOfEveryChannelSumOnEveryPath) {
  // Words whose red, green and blue run through all sums 0 .. 765.
  std::vector<UInt8> words;
  for (UInt32 i = 0; i < 3 * 256 + 7; ++i) {
    const UInt8 r = UInt8(std::min<UInt32>(i, 255)), g = UInt8(std::min<UInt32>(i > 255 ? i - 255 : 0, 255)),
                b = UInt8(i > 510 ? std::min<UInt32>(i - 510, 255) : 0);
    words.insert(words.end(), {UInt8(i * 31), r, g, b});
  }
  const UInt64 count = words.size() / 4;
  ForEveryPath([&] {
    for (UInt32 start : {0u, 1u, 5u}) {
      std::vector<UInt8> grey(count, 0);
      XWideColourAverage(words.data() + 4 * start, grey.data(), count - start, 1, 2, 3);
      for (UInt64 i = 0; i + start < count; ++i) {
        const UInt8* w = &words[4 * (i + start)];
        ASSERT_EQ(grey[i], (UInt32(w[1]) + w[2] + w[3]) / 3) << i;
      }
    }
  });
}

// Sums run in narrow lanes over blocks: all-maximum data over several blocks
// is where a lane would overflow, odd starts and lengths where the tail is.
TEST(WideKernels, SumsOfNarrowValuesAreExactOnEveryPath) {
  std::mt19937 random(5);
  std::vector<UInt8> bytes(3u << 20, 255);
  std::vector<UInt16> shorts(3u << 20, 65535);
  for (size_t i = 0; i < 5000; ++i) bytes[i] = UInt8(random()), shorts[i] = UInt16(random());
  const auto plain = [](const auto* inRun, UInt64 inCount) {
    UInt64 total = 0;
    for (UInt64 i = 0; i < inCount; ++i) total += inRun[i];
    return total;
  };
  ForEveryPath([&] {
    for (UInt64 start : {0, 1, 7})
      for (UInt64 count : {UInt64(0), UInt64(1), UInt64(63), UInt64(64), UInt64(4999), bytes.size() - start}) {
        EXPECT_EQ(XWideSum(bytes.data() + start, count), plain(bytes.data() + start, count)) << start << " " << count;
        EXPECT_EQ(XWideSum(shorts.data() + start, count), plain(shorts.data() + start, count)) << start << " " << count;
      }
  });
}

TEST(WideKernels, SaturatingSumsAndDifferencesOnEveryPath) {
  std::mt19937 random(9);
  std::vector<UInt8> a8(1000), b8(1000);
  std::vector<UInt16> a16(1000), b16(1000);
  for (size_t i = 0; i < a8.size(); ++i) {
    // Every third pair sits at the edges, where saturation happens.
    a8[i] = i % 3 ? UInt8(random()) : 250, b8[i] = UInt8(random());
    a16[i] = i % 3 ? UInt16(random()) : 65530, b16[i] = i % 5 ? UInt16(random()) : 65535;
  }
  const auto check = [](auto a, const auto& b, UInt64 start, UInt64 count, bool add) {
    using T = typename decltype(a)::value_type;
    auto expected = a;
    for (UInt64 i = start; i < start + count; ++i) {
      const SInt64 v = add ? SInt64(a[i]) + b[i] : SInt64(a[i]) - b[i];
      expected[i] = T(std::min<SInt64>(std::max<SInt64>(v, 0), std::numeric_limits<T>::max()));
    }
    if (add)
      XWideSaturatingAdd(a.data() + start, b.data() + start, count);
    else
      XWideSaturatingSubtract(a.data() + start, b.data() + start, count);
    EXPECT_EQ(a, expected) << start << " " << count << " " << add;
  };
  ForEveryPath([&] {
    for (bool add : {true, false})
      for (UInt64 start : {0, 3})
        for (UInt64 count : {UInt64(0), UInt64(5), UInt64(64), UInt64(997)}) {
          check(a8, b8, start, count, add);
          check(a16, b16, start, count, add);
        }
    auto same = a8;  // a op= a
    XWideSaturatingAdd(same.data(), same.data(), same.size());
    for (size_t i = 0; i < same.size(); ++i) ASSERT_EQ(same[i], std::min(2 * a8[i], 255));
  });
}

TEST(WideKernels, AddingAValueWrapsIntegersAndRoundsFloatsAsThePlainLoopOnEveryPath) {
  std::mt19937 random(13);
  const auto check = [&](auto inValue, auto inMake) {
    using T = decltype(inValue);
    std::vector<T> data(1003);
    for (auto& v : data) v = inMake();
    ForEveryPath([&] {
      for (UInt64 start : {0, 5})
        for (UInt64 count : {UInt64(0), UInt64(7), UInt64(256), UInt64(998)}) {
          auto wide = data, plain = data;
          XWideAdd(wide.data() + start, count, inValue);
          for (UInt64 i = start; i < start + count; ++i) plain[i] = T(plain[i] + inValue);
          ASSERT_EQ(std::memcmp(wide.data(), plain.data(), data.size() * sizeof(T)), 0) << start << " " << count;
        }
    });
  };
  check(UInt8(200), [&] { return UInt8(random()); });
  check(UInt16(65000), [&] { return UInt16(random()); });
  check(UInt32(0xFFFFFF00u), [&] { return UInt32(random()); });
  check(0.1f, [&] { return Float32(SInt32(random() % 20001) - 10000) / 7.0f; });
}

TEST(WideKernels, ReversedBytesOnEveryPath) {
  std::vector<UInt8> source(300);
  for (size_t i = 0; i < source.size(); ++i) source[i] = UInt8(i * 7 + 3);
  ForEveryPath([&] {
    for (UInt64 count : {0, 1, 8, 31, 64, 65, 130, 300}) {
      std::vector<UInt8> dest(count + 2, 0xEE);
      XWideReverseBytes(source.data(), dest.data() + 1, count);
      for (UInt64 i = 0; i < count; ++i) ASSERT_EQ(dest[1 + count - 1 - i], source[i]) << count << " at " << i;
      EXPECT_EQ(dest.front(), 0xEE);
      EXPECT_EQ(dest.back(), 0xEE);
    }
  });
}
