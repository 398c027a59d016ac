// Compile-time facts about each voxel type, in the manner of VIGRA's
// NumericTraits: the inner loops ask these instead of switching on a class id.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

#include "core/XByteOrder.h"
#include "core/XExport.h"
#include "core/XTypes.h"
#include "volume/XColour.h"

namespace mirelan {

template <class T>
struct XPixelTraits;

// Grey levels: one number per voxel.
template <class T, class PromoteT, class SumT, XByteSwapMode kSwap>
struct MIRELAN_EXPORT XScalarPixelTraits {
  using Value = T;
  using Channel = T;
  // Arithmetic type of voxel operations: unsigned for integers, so that a
  // product of two 16-bit voxels wraps instead of overflowing an int.
  using Promote = PromoteT;
  // Exact accumulator for sums over a whole volume.
  using Sum = SumT;
  static constexpr bool kIsColour = false;
  static constexpr bool kIsInteger = std::is_integral_v<T>;
  static constexpr bool kHasAlpha = false;
  static constexpr UInt32 kChannels = 1;
  static constexpr XByteSwapMode kSwapMode = kSwap;
  static constexpr T Max() { return std::numeric_limits<T>::max(); }
  static constexpr T Zero() { return T(0); }
  // The display range of a volume that has no plane renderer to say otherwise:
  // the integer types' full range, 0 to 1 for float (the float renderer's default).
  static constexpr Float64 kDefaultLow = 0.0;
  static constexpr Float64 kDefaultHigh = kIsInteger ? Float64(std::numeric_limits<T>::max()) : 1.0;
};

template <>
struct XPixelTraits<UInt8> : XScalarPixelTraits<UInt8, UInt32, UInt64, kNoByteSwap> {};
template <>
struct XPixelTraits<UInt16> : XScalarPixelTraits<UInt16, UInt32, UInt64, kByteSwap16> {};
template <>
struct XPixelTraits<UInt32> : XScalarPixelTraits<UInt32, UInt32, UInt64, kByteSwap32> {};
template <>
struct XPixelTraits<Float32> : XScalarPixelTraits<Float32, Float32, Float64, kByteSwap32> {};

// Colours: red, green and blue channels of one integer type, alpha where the
// word has one. Every colour type names its channels red, green, blue.
template <class T, class ChannelT, bool kAlpha, XByteSwapMode kSwap>
struct MIRELAN_EXPORT XColourPixelTraits {
  using Value = T;
  using Channel = ChannelT;
  static constexpr bool kIsColour = true;
  static constexpr bool kIsInteger = false;
  static constexpr bool kHasAlpha = kAlpha;
  static constexpr UInt32 kChannels = 3;
  static constexpr XByteSwapMode kSwapMode = kSwap;
  static constexpr ChannelT ChannelMax() { return std::numeric_limits<ChannelT>::max(); }
  static constexpr T Zero() { return T(); }
  static constexpr Float64 kDefaultLow = 0.0;
  static constexpr Float64 kDefaultHigh = Float64(std::numeric_limits<ChannelT>::max());
};

template <>
struct XPixelTraits<XARGB32Colour> : XColourPixelTraits<XARGB32Colour, UInt8, true, kNoByteSwap> {
  using Layout = XARGB32Layout;  // the byte order of the word
};
template <>
struct XPixelTraits<XBGRA32Colour> : XColourPixelTraits<XBGRA32Colour, UInt8, true, kNoByteSwap> {
  using Layout = XBGRA32Layout;
};
template <>
struct XPixelTraits<XRGB48Colour> : XColourPixelTraits<XRGB48Colour, UInt16, false, kByteSwap16> {};

static_assert(sizeof(UInt8) == 1 && sizeof(UInt16) == 2 && sizeof(UInt32) == 4 && sizeof(Float32) == 4,
              "voxel sizes");

// Carries an integer level between bit depths. Widening repeats the bit
// pattern (255 becomes 65535: v * 257), narrowing keeps the high part (v >> 8),
// so black and white stay black and white both ways.
template <class To, class From>
constexpr To XRescaleLevel(From inValue) {
  static_assert(std::is_unsigned_v<To> && std::is_unsigned_v<From>, "integer levels only");
  if constexpr (sizeof(To) == sizeof(From)) {
    return To(inValue);
  } else if constexpr (sizeof(To) > sizeof(From)) {
    constexpr To kRepeat = To(std::numeric_limits<To>::max() / std::numeric_limits<From>::max());
    return To(To(inValue) * kRepeat);
  } else {
    return To(inValue >> (8 * (sizeof(From) - sizeof(To))));
  }
}

// A double to an integer voxel by truncation, defined for every input: what
// the processor's truncating conversion gives, so that NaN and values beyond
// 64 bits become 0 instead of undefined behaviour; others wrap to the type.
template <class T>
inline T XTruncateTo(Float64 inValue) {
  if constexpr (std::is_integral_v<T>) {
    if (!(inValue > -9223372036854775808.0 && inValue < 9223372036854775808.0)) return T(0);
    return static_cast<T>(static_cast<UInt64>(static_cast<SInt64>(inValue)));
  } else {
    return static_cast<T>(inValue);
  }
}

// The same with the current rounding mode of the processor (round to nearest even by default).
template <class T>
inline T XRoundCurrentTo(Float64 inValue) {
  if constexpr (std::is_integral_v<T>)
    return XTruncateTo<T>(std::nearbyint(inValue));
  else
    return static_cast<T>(inValue);
}

}  // namespace mirelan
