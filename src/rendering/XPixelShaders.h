// Pixel shaders: small objects that turn one source value into one 32-bit
// display word. Renderers pick one per call and walk rows with it, so the
// choice is made once and the inner loop is a straight line. This header
// holds what hosts may use on their own buffers as well: the two byte
// orders of a word, the mask shaders and the row walker.
#pragma once

#include <cstring>
#include <type_traits>
#include <utility>

#include "core/XException.h"
#include "core/XTypes.h"
#include "rendering/XHyperLayout.h"
#include "volume/XColour.h"

namespace mirelan {

// The byte order of a written 32-bit word in memory.
enum XPixelFormat : SInt32 {
  kPixelFormatARGB = 0,  // alpha, red, green, blue from the lowest address: XARGB32Colour
  kPixelFormatBGRA = 1,  // blue, green, red, alpha: XBGRA32Colour
};

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "words are packed for a little-endian processor");

// The word whose bytes in memory are a, r, g, b in format F's order.
template <XPixelFormat F>
constexpr UInt32 XPackRGB32(UInt32 inAlpha, UInt32 inRed, UInt32 inGreen, UInt32 inBlue) {
  if constexpr (F == kPixelFormatARGB)
    return inAlpha | (inRed << 8) | (inGreen << 16) | (inBlue << 24);
  else
    return inBlue | (inGreen << 8) | (inRed << 16) | (inAlpha << 24);
}

template <XPixelFormat F>
constexpr UInt32 XPackRGB32(const XARGB32Colour& inColour) {
  return XPackRGB32<F>(inColour.alpha, inColour.red, inColour.green, inColour.blue);
}

// An opaque grey word: red, green and blue all inLevel (at most 255).
template <XPixelFormat F>
constexpr UInt32 XPackGrey32(UInt32 inLevel) {
  if constexpr (F == kPixelFormatARGB)
    return 0xFFu | (inLevel * 0x01010100u);
  else
    return 0xFF000000u | (inLevel * 0x00010101u);
}

// The colour a word of format F stands for.
template <XPixelFormat F>
inline XARGB32Colour XUnpackRGB32(UInt32 inWord) {
  if constexpr (F == kPixelFormatARGB)
    return XARGB32Colour(UInt8(inWord), UInt8(inWord >> 8), UInt8(inWord >> 16), UInt8(inWord >> 24));
  else
    return XARGB32Colour(UInt8(inWord >> 24), UInt8(inWord >> 16), UInt8(inWord >> 8), UInt8(inWord));
}

// The normal mask: clear bytes (below 128) give the word 0, transparent
// black; set bytes give all ones, opaque white.
class XSimpleMaskPixShader {
 public:
  void Shade(UInt8 inValue, UInt32& outWord) const { outWord = inValue < 128 ? 0u : 0xFFFFFFFFu; }
};

// The mask overlay drawn over BGRA32 words: where the mask is set (at or
// above 128; below 128 with inReversed) the word takes the colour, or with
// inBlended the colour laid over the word by its alpha. Elsewhere the word
// is left as it is.
template <bool inReversed, bool inBlended>
class XMaskFillWithBlendingPixShader {
 public:
  explicit XMaskFillWithBlendingPixShader(const XARGB32Colour& inColour) : itsColour(inColour) {
    if (inBlended) itsColour.PremultiplyAlpha();
    itsKeep = 255u - itsColour.alpha;
    // The colour's memory word with its four bytes reversed: ARGB bytes become BGRA bytes.
    UInt32 word;
    std::memcpy(&word, &itsColour, sizeof(word));
    itsReversedWord = __builtin_bswap32(word);
  }

  void Shade(UInt8 inMaskValue, UInt32& ioWord) const {
    if ((inMaskValue < 128) != inReversed) return;
    if (!inBlended) {
      ioWord = itsReversedWord;
      return;
    }
    const UInt32 blue = ((ioWord & 0xFF) * itsKeep >> 8) + itsColour.blue;
    const UInt32 green = (((ioWord >> 8) & 0xFF) * itsKeep >> 8) + itsColour.green;
    const UInt32 red = (((ioWord >> 16) & 0xFF) * itsKeep >> 8) + itsColour.red;
    ioWord = 0xFF000000u | (red << 16) | (green << 8) | blue;
  }

 private:
  XARGB32Colour itsColour;  // premultiplied in the blending form
  UInt32 itsKeep = 0;       // 255 - alpha: the share of the old word
  UInt32 itsReversedWord = 0;
};

// Whether a shader walks a whole row itself (ShadeRow) rather than one value
// at a time (Shade).
template <class Shader, class T, class = void>
struct XHasShadeRow : std::false_type {};
template <class Shader, class T>
struct XHasShadeRow<Shader, T,
                    std::void_t<decltype(std::declval<const Shader&>().ShadeRow(
                        static_cast<const T*>(nullptr), static_cast<UInt32*>(nullptr), UInt32(0)))>>
    : std::true_type {};

// One row of inCount values into inCount words.
template <class Shader, class T>
inline void XShadeRow(const Shader& inShader, const T* __restrict inSource, UInt32* __restrict outDest,
                      UInt32 inCount) {
  if constexpr (XHasShadeRow<Shader, T>::value) {
    inShader.ShadeRow(inSource, outDest, inCount);
  } else {
    for (UInt32 x = 0; x < inCount; ++x) inShader.Shade(inSource[x], outDest[x]);
  }
}

// Shades every element of a source view into the destination view of the
// same extents, row by row. Rows must be contiguous at both ends.
template <class T, class Shader>
void XCopyWithShading(const XHyperLayout<3, T>& src, const XHyperLayout<3, UInt32>& dest, const Shader& inShader) {
  XAssert(src.GetBounds().GetExtents() == dest.GetBounds().GetExtents());
  XAssert(src.GetSteps()[0] == 1);
  XAssert(dest.GetSteps()[0] == 1);
  const auto& extents = dest.GetBounds().GetExtents();
  const UInt32 width = extents[0];
  for (UInt32 z = 0; z < extents[2]; ++z) {
    const T* sourcePlane = src.GetBase() + static_cast<ptrdiff_t>(z) * src.GetSteps()[2];
    UInt32* destPlane = dest.GetBase() + static_cast<ptrdiff_t>(z) * dest.GetSteps()[2];
    for (UInt32 y = 0; y < extents[1]; ++y)
      XShadeRow(inShader, sourcePlane + static_cast<ptrdiff_t>(y) * src.GetSteps()[1],
                destPlane + static_cast<ptrdiff_t>(y) * dest.GetSteps()[1], width);
  }
}

}  // namespace mirelan
