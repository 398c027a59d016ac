// The conversion copy between pixel types. Each cell of the source by
// destination matrix is one call of XCopyCell, which picks a converter type
// at compile time and runs one tight loop: no per-voxel dispatch, allocation
// or bounds test.
//
// A converter has Setup(source, destination), called once before the loop
// (it reads display ranges there), and CopyVoxelPtr(source voxel, destination
// voxel). Integer levels carry between depths by XRescaleLevel; colours give
// grey by the integer average of red, green and blue; floats map through the
// display ranges of the plane renderers.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <typeinfo>

#include "core/XException.h"
#include "volume/internal/XBlockLoop.h"
#include "volume/XPackedVolume.h"
#include "volume/internal/XRegionRuns.h"
#include "volume/internal/XWideKernels.h"
#include "volume/XVolumeScaler.h"

namespace mirelan {

// Channels of colour voxels as plain numbers. A 32-bit colour is read and
// written as one word with shifts, which the vectorizer handles where four
// separate byte fields defeat it; RGB48 goes by its fields.
template <class C>
struct XColourChannels {
  using Traits = XPixelTraits<C>;
  static constexpr bool kWord = sizeof(C) == 4;
  static_assert(std::is_trivially_copyable_v<C>, "colour voxels are copied as bytes");

  static void Get(const C& inColour, UInt32& outRed, UInt32& outGreen, UInt32& outBlue) {
    if constexpr (kWord) {
      const UInt32 w = Word(inColour);
      outRed = (w >> kRed) & 0xFF;
      outGreen = (w >> kGreen) & 0xFF;
      outBlue = (w >> kBlue) & 0xFF;
    } else {
      outRed = inColour.red;
      outGreen = inColour.green;
      outBlue = inColour.blue;
    }
  }
  static UInt32 GetAlpha(const C& inColour) {
    static_assert(Traits::kHasAlpha, "no alpha");
    return (Word(inColour) >> kAlpha) & 0xFF;
  }
  // Alpha is ignored by colours without it.
  static void Set(C& outColour, UInt32 inAlpha, UInt32 inRed, UInt32 inGreen, UInt32 inBlue) {
    if constexpr (kWord) {
      const UInt32 w = inAlpha << kAlpha | inRed << kRed | inGreen << kGreen | inBlue << kBlue;
      std::memcpy(static_cast<void*>(&outColour), &w, 4);
    } else {
      using Channel = typename Traits::Channel;
      outColour.red = Channel(inRed);
      outColour.green = Channel(inGreen);
      outColour.blue = Channel(inBlue);
    }
  }

 private:
  template <class L>
  static constexpr UInt32 Shift(UInt32 inByte) {
    return 8 * (GetByteOrderFromPlatform() == kLittleEndian ? inByte : 3 - inByte);
  }
  template <class L = C>
  static constexpr UInt32 Offset(int inChannel) {
    if constexpr (sizeof(L) == 4) {
      using Layout = typename XPixelTraits<L>::Layout;
      switch (inChannel) {
        case 0:
          return UInt32(offsetof(Layout, alpha));
        case 1:
          return UInt32(offsetof(Layout, red));
        case 2:
          return UInt32(offsetof(Layout, green));
        default:
          return UInt32(offsetof(Layout, blue));
      }
    } else {
      return 0;
    }
  }
  static constexpr UInt32 kAlpha = Shift<C>(Offset(0));
  static constexpr UInt32 kRed = Shift<C>(Offset(1));
  static constexpr UInt32 kGreen = Shift<C>(Offset(2));
  static constexpr UInt32 kBlue = Shift<C>(Offset(3));

  static UInt32 Word(const C& inColour) {
    UInt32 w;
    std::memcpy(&w, &inColour, 4);
    return w;
  }
};

// An opaque colour of three levels.
template <class C>
inline void XSetColourRGB(C& outColour, UInt32 inRed, UInt32 inGreen, UInt32 inBlue) {
  XColourChannels<C>::Set(outColour, XPixelTraits<C>::ChannelMax(), inRed, inGreen, inBlue);
}

template <class S, class D>
struct XConverterNoSetup {
  void Setup(const XPackedVolume<S>&, const XPackedVolume<D>&) {}
};

template <class T>
struct XAssignmentConverter : XConverterNoSetup<T, T> {
  void CopyVoxelPtr(const T* inSource, T* outDest) const { *outDest = *inSource; }
};

// Grey 8, 16, 32 to one another: v * 257, v >> 8 and their like.
template <class S, class D>
struct XGreyLevelConverter : XConverterNoSetup<S, D> {
  void CopyVoxelPtr(const S* inSource, D* outDest) const { *outDest = XRescaleLevel<D>(*inSource); }
};

template <class S>
struct XGreyToFloatConverter : XConverterNoSetup<S, Float32> {
  void CopyVoxelPtr(const S* inSource, Float32* outDest) const { *outDest = Float32(*inSource); }
};

// Grey to colour: opaque, the level in all three channels.
template <class S, class C>
struct XGreyToColourConverter : XConverterNoSetup<S, C> {
  using Channel = typename XPixelTraits<C>::Channel;
  void CopyVoxelPtr(const S* inSource, C* outDest) const {
    Channel v = XRescaleLevel<Channel>(*inSource);
    XSetColourRGB(*outDest, v, v, v);
  }
};

// Colour to grey: the integer average of red, green and blue, carried to the destination's depth.
template <class C, class D>
struct XColourAverageConverter : XConverterNoSetup<C, D> {
  using Channel = typename XPixelTraits<C>::Channel;
  void CopyVoxelPtr(const C* inSource, D* outDest) const {
    UInt32 r, g, b;
    XColourChannels<C>::Get(*inSource, r, g, b);
    *outDest = XRescaleLevel<D>(Channel((r + g + b) / 3));
  }
};

// Colour to colour, channel by channel; alpha is kept where both have it and
// opaque where only the destination has it.
template <class S, class D>
struct XColourChannelConverter : XConverterNoSetup<S, D> {
  using SourceChannel = typename XPixelTraits<S>::Channel;
  using Channel = typename XPixelTraits<D>::Channel;
  void CopyVoxelPtr(const S* inSource, D* outDest) const {
    UInt32 r, g, b, a = XPixelTraits<D>::ChannelMax();
    XColourChannels<S>::Get(*inSource, r, g, b);
    if constexpr (XPixelTraits<S>::kHasAlpha && XPixelTraits<D>::kHasAlpha) a = XColourChannels<S>::GetAlpha(*inSource);
    XColourChannels<D>::Set(*outDest, a, XRescaleLevel<Channel>(SourceChannel(r)),
                            XRescaleLevel<Channel>(SourceChannel(g)), XRescaleLevel<Channel>(SourceChannel(b)));
  }
};

// Colour to float: low + average * (high - low) / channel maximum, with the
// destination renderer's range.
template <class C>
struct XColourToFloatConverter {
  Float64 itsLow = 0.0;
  Float64 itsRange = 1.0;
  void Setup(const XPackedVolume<C>&, const XPackedVolume<Float32>& inDest) {
    Float64 high = 1.0;
    inDest.GetDisplayRange(itsLow, high);
    itsRange = high - itsLow;
  }
  void CopyVoxelPtr(const C* inSource, Float32* outDest) const {
    UInt32 r, g, b;
    XColourChannels<C>::Get(*inSource, r, g, b);
    const UInt32 average = (r + g + b) / 3;
    *outDest = Float32(itsLow + average * itsRange / Float64(XPixelTraits<C>::ChannelMax()));
  }
};

// Float to grey: (v - source low) * gain + destination low, kept within the
// destination range and rounded; gain carries the source renderer's range
// onto the destination's. NaN lands on the destination low.
template <class D>
struct XFloatToGreyConverter {
  Float64 itsSourceLow = 0.0;
  Float64 itsGain = 1.0;
  Float64 itsDestLow = 0.0;
  Float64 itsDestHigh = 1.0;
  void Setup(const XPackedVolume<Float32>& inSource, const XPackedVolume<D>& inDest) {
    Float64 sourceHigh = 1.0;
    inSource.GetDisplayRange(itsSourceLow, sourceHigh);
    inDest.GetDisplayRange(itsDestLow, itsDestHigh);
    itsGain = (itsDestHigh - itsDestLow) / (sourceHigh - itsSourceLow);
    // What the type cannot hold is out of range, whatever a renderer says.
    if (!(itsDestLow > 0.0)) itsDestLow = 0.0;
    if (!(itsDestHigh < Float64(XPixelTraits<D>::Max()))) itsDestHigh = Float64(XPixelTraits<D>::Max());
  }
  void CopyVoxelPtr(const Float32* inSource, D* outDest) const {
    Float64 v = (Float64(*inSource) - itsSourceLow) * itsGain + itsDestLow;
    v = v > itsDestLow ? (v < itsDestHigh ? v : itsDestHigh) : itsDestLow;
    *outDest = D(v + 0.5);
  }
};

// Float to colour: (v - low) * channel maximum / (high - low) with the source
// renderer's range, clamped and truncated, opaque.
template <class C>
struct XFloatToColourConverter {
  using Channel = typename XPixelTraits<C>::Channel;
  Float64 itsLow = 0.0;
  Float64 itsRange = 1.0;
  void Setup(const XPackedVolume<Float32>& inSource, const XPackedVolume<C>&) {
    Float64 high = 1.0;
    inSource.GetDisplayRange(itsLow, high);
    itsRange = high - itsLow;
  }
  void CopyVoxelPtr(const Float32* inSource, C* outDest) const {
    constexpr Float64 kMax = Float64(XPixelTraits<C>::ChannelMax());
    // Multiply, then divide, in this order: a reciprocal could land an exact
    // level just below its integer.
    Float64 v = (Float64(*inSource) - itsLow) * kMax / itsRange;
    v = v > 0.0 ? (v < kMax ? v : kMax) : 0.0;
    Channel level = Channel(v);
    XSetColourRGB(*outDest, level, level, level);
  }
};

// The converters by the names of the cells they serve.
template <class C, class D>
using XRGB32ToScalerAverageConverter = XColourAverageConverter<C, D>;
using XARGB32ToBGRA32Converter = XColourChannelConverter<XARGB32Colour, XBGRA32Colour>;
using XBGRA32ToARGB32Converter = XColourChannelConverter<XBGRA32Colour, XARGB32Colour>;
template <class C>
using XRGB32ToRGB48Converter = XColourChannelConverter<C, XRGB48Colour>;
template <class C>
using XRGB32ToFloatConverter = XColourToFloatConverter<C>;
using XRGB48ToARGB32Converter = XColourChannelConverter<XRGB48Colour, XARGB32Colour>;
using XRGB48ToBGRA32Converter = XColourChannelConverter<XRGB48Colour, XBGRA32Colour>;

// The converter of a cell, from the two voxel types.
template <class S, class D>
struct XConverterFor {
  static constexpr bool kSourceColour = XPixelTraits<S>::kIsColour;
  static constexpr bool kDestColour = XPixelTraits<D>::kIsColour;
  static constexpr bool kSourceFloat = std::is_floating_point_v<S>;
  static constexpr bool kDestFloat = std::is_floating_point_v<D>;
  using Type = std::conditional_t<
      std::is_same_v<S, D>, XAssignmentConverter<S>,
      std::conditional_t<
          kSourceColour,
          std::conditional_t<kDestColour, XColourChannelConverter<S, D>,
                             std::conditional_t<kDestFloat, XColourToFloatConverter<S>,
                                                XColourAverageConverter<S, D>>>,
          std::conditional_t<
              kSourceFloat,
              std::conditional_t<kDestColour, XFloatToColourConverter<D>, XFloatToGreyConverter<D>>,
              std::conditional_t<kDestColour, XGreyToColourConverter<S, D>,
                                 std::conditional_t<kDestFloat, XGreyToFloatConverter<S>,
                                                    XGreyLevelConverter<S, D>>>>>>;
};

// One run of voxels, in blocks the compiler turns into vector code; colour
// words to 8-bit grey have a kernel for each instruction set.
template <class Converter, class S, class D>
inline void XConvertRun(const Converter& inConverter, const S* __restrict inSource, D* __restrict outDest,
                        UInt64 inCount) {
  if constexpr (std::is_same_v<Converter, XColourAverageConverter<S, D>> && sizeof(S) == 4 &&
                std::is_same_v<D, UInt8>) {
    using Layout = typename XPixelTraits<S>::Layout;
    XWideColourAverage(reinterpret_cast<const UInt8*>(inSource), outDest, inCount, UInt32(offsetof(Layout, red)),
                       UInt32(offsetof(Layout, green)), UInt32(offsetof(Layout, blue)));
  } else {
    XForEachPair(inSource, outDest, inCount,
                 [converter = inConverter](const S* inFrom, D* outTo) { converter.CopyVoxelPtr(inFrom, outTo); });
  }
}

template <class Converter, class S, class D>
inline void XConvertRunIndexed(const Converter& inConverter, const S* inSource, const UInt64* inOffsets,
                               D* outDest, UInt64 inCount) {
  for (UInt64 i = 0; i < inCount; ++i) inConverter.CopyVoxelPtr(inSource + inOffsets[i], outDest + i);
}

// Same class, same size, nothing to convert: bytes are moved. Rows that lie
// end to end on both sides go as one move per plane, and whole planes as one
// move for the box: large moves run far faster than many short ones.
template <class T>
void XCopyRows(const XPackedVolume<T>& inSource, XPackedVolume<T>& outDest, const X3DRect& inSourceRect,
               const X3DRect& inDestRect) {
  XLock sourceLock(inSource, kLockRead);
  XLock destLock(outDest, kLockReadWrite);
  const UInt32 width = inDestRect.GetWidth(), height = inDestRect.GetHeight(), depth = inDestRect.GetDepth();
  const bool rowsJoin = width == inSource.GetRowVoxels() && width == outDest.GetRowVoxels();
  const bool planesJoin = rowsJoin && height == inSource.GetHeight() && height == outDest.GetHeight();
  const UInt64 chunkBytes = UInt64(width) * sizeof(T) * (rowsJoin ? height : 1) * (planesJoin ? depth : 1);
  const UInt32 rows = rowsJoin ? 1 : height;
  const UInt32 planes = planesJoin ? 1 : depth;
  const T* sourceOrigin = inSource.GetVoxelPtr(inSourceRect.left, inSourceRect.top, inSourceRect.front);
  T* destOrigin = outDest.GetVoxelPtr(inDestRect.left, inDestRect.top, inDestRect.front);
  // Within one volume a move towards higher addresses must start at the end.
  const bool backwards = destOrigin > sourceOrigin;
  for (UInt32 kk = 0; kk < planes; ++kk) {
    const SInt32 k = SInt32(backwards ? planes - 1 - kk : kk);
    for (UInt32 jj = 0; jj < rows; ++jj) {
      const SInt32 j = SInt32(backwards ? rows - 1 - jj : jj);
      const T* from = inSource.GetVoxelPtr(inSourceRect.left, inSourceRect.top + j, inSourceRect.front + k);
      T* to = outDest.GetVoxelPtr(inDestRect.left, inDestRect.top + j, inDestRect.front + k);
      std::memmove(to, from, chunkBytes);
    }
  }
}

template <class Converter, class S, class D>
void XConvertBox(const XPackedVolume<S>& inSource, XPackedVolume<D>& outDest, const X3DRect& inSourceRect,
                 const X3DRect& inDestRect, const X3DRegion* inRegion) {
  XLock sourceLock(inSource, kLockRead);
  XLock destLock(outDest, kLockReadWrite);
  X3DRect box = outDest.GetBounds();
  box.Sect(inDestRect);
  XRegionRuns runs(inRegion, box);
  if (runs.IsEmpty()) return;

  const X3DRect& b = runs.GetBox();
  const XVolumeScaler scaler(inSourceRect, inDestRect, 1, inSource.GetRowVoxels(), inSource.GetLayerSize());
  Converter converter;
  converter.Setup(inSource, outDest);

  const S* sourceOrigin = inSource.GetVoxelPtr(inSourceRect.left, inSourceRect.top, inSourceRect.front);
  D* destBase = outDest.GetBaseVoxelPtr();
  const X3DRect& destBounds = outDest.GetBounds();
  const ptrdiff_t destRow = outDest.GetRowVoxels();
  const ptrdiff_t destLayer = static_cast<ptrdiff_t>(outDest.GetLayerSize());
  const bool identityX = scaler.IsXIdentity();
  const UInt64* xTable = scaler.GetXTable();

  for (SInt32 z = b.front; z < b.back; ++z) {
    const S* sourcePlane = sourceOrigin + scaler.GetSrcZ(UInt32(z - inDestRect.front));
    D* destPlane = destBase + (static_cast<ptrdiff_t>(z) - destBounds.front) * destLayer;
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const S* sourceRow = sourcePlane + scaler.GetSrcY(UInt32(y - inDestRect.top));
      D* destRowPtr = destPlane + (static_cast<ptrdiff_t>(y) - destBounds.top) * destRow - destBounds.left;
      runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
        const UInt32 first = UInt32(inBegin - inDestRect.left);
        const UInt64 count = UInt64(inEnd - inBegin);
        if (identityX)
          XConvertRun(converter, sourceRow + first, destRowPtr + inBegin, count);
        else
          XConvertRunIndexed(converter, sourceRow, xTable + first, destRowPtr + inBegin, count);
      });
    }
  }
}

// One cell of the conversion matrix.
template <class S, class D>
void XCopyCell(const XPackedVolume<S>& inSource, XPackedVolume<D>& outDest, const X3DRect& inSourceRect,
               const X3DRect& inDestRect, const X3DRegion* inRegion) {
  XAssert(inSource.GetBounds().Contains(inSourceRect));
  if (inDestRect.IsEmpty()) return;
  // Nothing to read from: the destination keeps what it had.
  if (inSourceRect.IsEmpty()) return;
  if constexpr (std::is_same_v<S, D>) {
    if (typeid(inSource) == typeid(outDest) && XRegionRuns::CoversWhole(inRegion, inDestRect) &&
        inSourceRect.IsSameSizeAs(inDestRect) && outDest.GetBounds().Contains(inDestRect)) {
      Float64 sourceLow, sourceHigh, destLow, destHigh;
      inSource.GetDisplayRange(sourceLow, sourceHigh);
      outDest.GetDisplayRange(destLow, destHigh);
      if (sourceLow == destLow && sourceHigh == destHigh) {
        XCopyRows(inSource, outDest, inSourceRect, inDestRect);
        return;
      }
    }
  }
  XConvertBox<typename XConverterFor<S, D>::Type>(inSource, outDest, inSourceRect, inDestRect, inRegion);
}

}  // namespace mirelan
