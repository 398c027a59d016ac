#include "segmentation/XVolumeSeedThresholdTool.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "core/XException.h"
#include "core/XProgress.h"
#include "rendering/XImageRenderer.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/internal/XVoxelTestPass.h"
#include "tools/XClampTruncate.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

// ------------------------------------------------------------------ tolerance

// The renderer's window, white minus black, in pixel units: what the user
// sees as the range, not the type's.
Float64 DisplayWindow(const XVolume& inVolume) {
  const XImageRenderer& renderer = inVolume.GetPlaneRenderer();
  return renderer.GetWhite() - renderer.GetBlack();
}

// The tolerance in the units of each type. A NaN tolerance or one too large
// for 32 bits is held at the ends of the range, where it selects nothing or
// everything.
template <class V>
struct XToleranceOf {
  static SInt64 Get(const V& inVolume, Float32 inTolerance) {
    return XClampTruncate<SInt32>(DisplayWindow(inVolume) * inTolerance);
  }
};
template <>
struct XToleranceOf<XFPVolume> {
  static Float32 Get(const XFPVolume& inVolume, Float32 inTolerance) {
    return Float32(DisplayWindow(inVolume) * inTolerance);
  }
};
// Colour images have no single window: ten percent is of 255, on purpose
// without the renderer.
template <>
struct XToleranceOf<XARGB32Volume> {
  static SInt64 Get(const XARGB32Volume&, Float32 inTolerance) { return XClampTruncate<SInt32>(inTolerance * 255.0); }
};

// ------------------------------------------------------------------ tests per type

// Grey8 (and mask) and Grey16: differences in signed 32 bits.
template <class T>
struct XGreyTests {
  struct Similar {
    SInt32 seed;
    SInt64 tolerance;
    bool operator()(const T* inVoxel, SInt32, SInt32, SInt32) const {
      const SInt32 d = SInt32(*inVoxel) - seed;
      return -tolerance <= d && d <= tolerance;
    }
  };
  struct Brighter {
    T seed;
    bool operator()(const T* inVoxel, SInt32, SInt32, SInt32) const { return *inVoxel >= seed; }
  };
  struct Darker {
    T seed;
    bool operator()(const T* inVoxel, SInt32, SInt32, SInt32) const { return *inVoxel <= seed; }
  };
  static Similar MakeSimilar(const T& inSeed, SInt64 inTolerance) { return {SInt32(inSeed), inTolerance}; }
  static Brighter MakeBrighter(const T& inSeed) { return {inSeed}; }
  static Darker MakeDarker(const T& inSeed) { return {inSeed}; }
};

struct XFloatTests {
  struct Similar {
    Float32 seed;
    Float32 tolerance;
    bool operator()(const Float32* inVoxel, SInt32, SInt32, SInt32) const {
      // The difference is taken in double and kept as float.
      const Float32 d = Float32(Float64(*inVoxel) - Float64(seed));
      return -tolerance <= d && d <= tolerance;
    }
  };
  using Brighter = XGreyTests<Float32>::Brighter;
  using Darker = XGreyTests<Float32>::Darker;
  static Similar MakeSimilar(Float32 inSeed, Float32 inTolerance) { return {inSeed, inTolerance}; }
  static Brighter MakeBrighter(Float32 inSeed) { return {inSeed}; }
  static Darker MakeDarker(Float32 inSeed) { return {inSeed}; }
};

// ARGB32 and RGB48: each of red, green and blue within the tolerance;
// brightness is the strongest of the three.
template <class C>
struct XColourTests {
  static SInt32 Strongest(const C& inColour) {
    return std::max(SInt32(inColour.red), std::max(SInt32(inColour.green), SInt32(inColour.blue)));
  }
  struct Similar {
    SInt32 red;
    SInt32 green;
    SInt32 blue;
    SInt64 tolerance;
    bool operator()(const C* inVoxel, SInt32, SInt32, SInt32) const {
      return std::abs(SInt32(inVoxel->red) - red) <= tolerance && std::abs(SInt32(inVoxel->green) - green) <= tolerance &&
             std::abs(SInt32(inVoxel->blue) - blue) <= tolerance;
    }
  };
  struct Brighter {
    SInt32 seed;
    bool operator()(const C* inVoxel, SInt32, SInt32, SInt32) const { return Strongest(*inVoxel) >= seed; }
  };
  struct Darker {
    SInt32 seed;
    bool operator()(const C* inVoxel, SInt32, SInt32, SInt32) const { return Strongest(*inVoxel) <= seed; }
  };
  static Similar MakeSimilar(const C& inSeed, SInt64 inTolerance) {
    return {SInt32(inSeed.red), SInt32(inSeed.green), SInt32(inSeed.blue), inTolerance};
  }
  static Brighter MakeBrighter(const C& inSeed) { return {Strongest(inSeed)}; }
  static Darker MakeDarker(const C& inSeed) { return {Strongest(inSeed)}; }
};

template <class V>
struct XSeedTestsOf;
template <>
struct XSeedTestsOf<XGrey8Volume> : XGreyTests<UInt8> {};
template <>
struct XSeedTestsOf<XGrey16Volume> : XGreyTests<UInt16> {};
template <>
struct XSeedTestsOf<XFPVolume> : XFloatTests {};
template <>
struct XSeedTestsOf<XARGB32Volume> : XColourTests<XARGB32Colour> {};
template <>
struct XSeedTestsOf<XRGB48Volume> : XColourTests<XRGB48Colour> {};

// ------------------------------------------------------------------ texture

// The samples of the local variance: the value and its square, except for
// colours, where the square of each channel saturates at the channel's
// maximum, as the colour classes multiply. On 8-bit colour any channel of
// 16 or more already saturates, so Q is no true second moment there; kept.
template <class T>
struct XTextureSamples {
  using Sum = UInt64;  // exact: at most 27 squares of 16 bits
  static UInt64 Value(T inVoxel) { return inVoxel; }
  static UInt64 Square(T inVoxel) { return UInt64(inVoxel) * inVoxel; }
};
template <>
struct XTextureSamples<Float32> {
  using Sum = Float64;
  static Float64 Value(Float32 inVoxel) { return inVoxel; }
  static Float64 Square(Float32 inVoxel) { return Float64(inVoxel) * Float64(inVoxel); }
};
template <class C, class Channel>
struct XColourTextureSamples {
  using Sum = UInt64;
  static constexpr UInt32 kCap = UInt32(Channel(~Channel(0)));
  static UInt32 CappedSquare(UInt32 inChannel) { return std::min(inChannel * inChannel, kCap); }
  static UInt64 Value(const C& inVoxel) { return (UInt32(inVoxel.red) + inVoxel.green + inVoxel.blue) / 3; }
  static UInt64 Square(const C& inVoxel) {
    return Channel((CappedSquare(inVoxel.red) + CappedSquare(inVoxel.green) + CappedSquare(inVoxel.blue)) / 3);
  }
};
template <>
struct XTextureSamples<XARGB32Colour> : XColourTextureSamples<XARGB32Colour, UInt8> {};
template <>
struct XTextureSamples<XRGB48Colour> : XColourTextureSamples<XRGB48Colour, UInt16> {};

// Passes where the local variance over the cube of side 3 around the voxel,
// cut to the volume, is below 2.0. The bound is absolute: neither the
// tolerance nor the variance at the seed, which is kept for reference,
// enter the test.
template <class T>
class XTextureTest {
 public:
  static constexpr SInt32 kCubeSize = 3;
  static constexpr Float64 kSmoothVariance = 2.0;

  template <class V>
  explicit XTextureTest(const V& inVolume)
      : itsBounds(inVolume.GetBounds()),
        itsRowVoxels(ptrdiff_t(inVolume.GetRowVoxels())),
        itsPlaneVoxels(ptrdiff_t(inVolume.GetPlaneVoxels())) {}

  void SetSeedVariance(Float64 inVariance) { itsSeedVariance = inVariance; }
  Float64 GetSeedVariance() const { return itsSeedVariance; }

  bool operator()(const T* inVoxel, SInt32 inX, SInt32 inY, SInt32 inZ) const {
    return LocalVariance(inVoxel, inX, inY, inZ) < kSmoothVariance;
  }

  // Q / c - (S / c)^2 over the cube, visited in z, y, x order; positions
  // outside the bounds are skipped, never read.
  Float64 LocalVariance(const T* inVoxel, SInt32 inX, SInt32 inY, SInt32 inZ) const {
    constexpr SInt32 h = kCubeSize >> 1;
    const SInt32 x0 = std::max(inX - h, itsBounds.left) - inX, x1 = std::min(inX + h, itsBounds.right - 1) - inX;
    const SInt32 y0 = std::max(inY - h, itsBounds.top) - inY, y1 = std::min(inY + h, itsBounds.bottom - 1) - inY;
    const SInt32 z0 = std::max(inZ - h, itsBounds.front) - inZ, z1 = std::min(inZ + h, itsBounds.back - 1) - inZ;
    Sum sum = 0;
    Sum squares = 0;
    for (SInt32 dz = z0; dz <= z1; ++dz) {
      for (SInt32 dy = y0; dy <= y1; ++dy) {
        const T* row = inVoxel + dz * itsPlaneVoxels + dy * itsRowVoxels;
        for (SInt32 dx = x0; dx <= x1; ++dx) {
          sum += Samples::Value(row[dx]);
          squares += Samples::Square(row[dx]);
        }
      }
    }
    return Variance(sum, squares, Float64((x1 - x0 + 1) * (y1 - y0 + 1) * (z1 - z0 + 1)));
  }

  // A row at once: voxels inRow[0 .. inWidth), at x = inLeft on. For
  // integer samples the sums over the cube are exact whatever the order, so
  // they are built from column sums over the 3 x 3 of (y, z) shared by
  // neighbouring voxels; float samples keep the cube's own order.
  void PassRow(const T* inRow, SInt32 inLeft, SInt32 inWidth, SInt32 inY, SInt32 inZ, UInt8* outMask) const {
    if constexpr (!std::is_integral_v<Sum>) {
      for (SInt32 i = 0; i < inWidth; ++i) outMask[i] = (*this)(inRow + i, inLeft + i, inY, inZ) ? 255 : 0;
    } else {
      constexpr SInt32 h = kCubeSize >> 1;
      const SInt32 y0 = std::max(inY - h, itsBounds.top) - inY, y1 = std::min(inY + h, itsBounds.bottom - 1) - inY;
      const SInt32 z0 = std::max(inZ - h, itsBounds.front) - inZ, z1 = std::min(inZ + h, itsBounds.back - 1) - inZ;
      // Columns from one before the row to one after it, within the bounds.
      const SInt32 first = std::max(inLeft - h, itsBounds.left), end = std::min(inLeft + inWidth + h, itsBounds.right);
      const size_t columns = size_t(end - first);
      itsColumnSums.assign(columns, 0);
      itsColumnSquares.assign(columns, 0);
      for (SInt32 dz = z0; dz <= z1; ++dz) {
        for (SInt32 dy = y0; dy <= y1; ++dy) {
          const T* row = inRow + (first - inLeft) + dz * itsPlaneVoxels + dy * itsRowVoxels;
          for (size_t i = 0; i < columns; ++i) {
            itsColumnSums[i] += Samples::Value(row[i]);
            itsColumnSquares[i] += Samples::Square(row[i]);
          }
        }
      }
      const Float64 cubeRows = Float64((y1 - y0 + 1) * (z1 - z0 + 1));
      for (SInt32 i = 0; i < inWidth; ++i) {
        const SInt32 x = inLeft + i;
        const size_t from = size_t(std::max(x - h, first) - first), to = size_t(std::min(x + h, end - 1) - first);
        Sum sum = 0;
        Sum squares = 0;
        for (size_t c = from; c <= to; ++c) {
          sum += itsColumnSums[c];
          squares += itsColumnSquares[c];
        }
        outMask[i] = Variance(sum, squares, cubeRows * Float64(to - from + 1)) < kSmoothVariance ? 255 : 0;
      }
    }
  }

 private:
  using Samples = XTextureSamples<T>;
  using Sum = typename Samples::Sum;

  static Float64 Variance(Sum inSum, Sum inSquares, Float64 inCount) {
    const Float64 mean = Float64(inSum) / inCount;
    return Float64(inSquares) / inCount - mean * mean;
  }

  X3DRect itsBounds;
  ptrdiff_t itsRowVoxels;
  ptrdiff_t itsPlaneVoxels;
  Float64 itsSeedVariance = 0.0;
  // Column sums of the row being tested, kept to save an allocation a row.
  mutable std::vector<Sum> itsColumnSums;
  mutable std::vector<Sum> itsColumnSquares;
};

// ------------------------------------------------------------------ dispatch

// Calls inWork with the volume as its exact class: Grey8, mask (as Grey8),
// Grey16, ARGB32, FP, RGB48. Any other class, BGRA32 and Grey32 among them,
// throws 2500.
template <class Work>
X3DRegion WithExactType(const XVolume& inVolume, Work&& inWork) {
  const std::type_info& type = typeid(inVolume);
  if (type == typeid(XGrey8Volume) || type == typeid(XMaskVolume))
    return inWork(static_cast<const XGrey8Volume&>(inVolume));
  if (type == typeid(XGrey16Volume)) return inWork(static_cast<const XGrey16Volume&>(inVolume));
  if (type == typeid(XARGB32Volume)) return inWork(static_cast<const XARGB32Volume&>(inVolume));
  if (type == typeid(XFPVolume)) return inWork(static_cast<const XFPVolume&>(inVolume));
  if (type == typeid(XRGB48Volume)) return inWork(static_cast<const XRGB48Volume&>(inVolume));
  throw XException(kErrNotForPixelType, "the seed threshold serves Grey8, mask, Grey16, ARGB32, RGB48 and FP volumes");
}

template <class V>
typename V::Voxel ReadSeed(const V& inVolume, const X3DPoint& inSeed) {
  XLock lock(inVolume, kLockRead);
  return inVolume.GetVoxel(inSeed.x, inSeed.y, inSeed.z);
}

// Reads the seed, makes the mode's test from it and runs the selection pass
// over the whole volume. An empty volume has no seed and selects nothing.
template <class MakeTest>
X3DRegion SelectAgainstSeed(const XVolume& inVolume, const X3DPoint& inSeed, MakeTest&& inMakeTest) {
  return WithExactType(inVolume, [&](const auto& inTyped) {
    if (inTyped.GetBounds().IsEmptyOrInsideOut()) return X3DRegion();
    return XSelectByTest(inTyped, inTyped.GetBounds(), inMakeTest(inTyped, ReadSeed(inTyped, inSeed)));
  });
}

template <class V>
using TestsOf = XSeedTestsOf<std::remove_cv_t<std::remove_reference_t<V>>>;

}  // namespace

XVolumeSeedThresholdTool::XVolumeSeedThresholdTool(XMode inMode, XSelectionType inSelectionType)
    : itsMode(inMode), itsSelectionType(inSelectionType) {}

X3DRegion XVolumeSeedThresholdTool::ApplyTool(const XVolume& inVolume, const X3DPoint& inSeed) {
  XProgress progress(3, kProgressStandard, 2000, false);
  X3DRegion result;
  const X3DRect& bounds = inVolume.GetBounds();
  const X3DPoint seed(std::max(bounds.left, std::min(inSeed.x, bounds.right - 1)),
                      std::max(bounds.top, std::min(inSeed.y, bounds.bottom - 1)),
                      std::max(bounds.front, std::min(inSeed.z, bounds.back - 1)));
  switch (itsMode) {
    case kSimilar:
      result = ApplyToolSimilar(inVolume, seed);
      break;
    case kBrighter:
      result = ApplyToolBrighter(inVolume, seed);
      break;
    case kDarker:
      result = ApplyToolDarker(inVolume, seed);
      break;
    case kTexture:
      result = ApplyToolTexture(inVolume, seed);
      break;
    default:
      XAssert(false);
  }
  progress.Increment();
  // A plain box is one piece already; only a masked result is labelled.
  if (itsSelectionType == kConnectedToSeed && result.IsComplex()) result = KeepSeedComponent(result, seed, progress);
  return result;
}

X3DRegion XVolumeSeedThresholdTool::KeepSeedComponent(const X3DRegion& inSelection, const X3DPoint& inSeed,
                                                       XProgress& ioProgress) {
  X3DConnectedComponentsTool labeller;
  std::unique_ptr<XGrey32Volume> labels(labeller.ApplyTool(inSelection));
  ioProgress.Increment();
  // The label volume spans the selection's box and a rim of one voxel. A
  // seed that failed its own test (possible only in texture mode) may lie
  // outside it: it is background there too.
  UInt32 seedLabel = 0;
  {
    XLock lock(*labels, kLockRead);
    if (labels->GetBounds().Contains(inSeed)) seedLabel = labels->GetVoxel(inSeed.x, inSeed.y, inSeed.z);
  }
  X3DRegion kept = XSelectByTest(*labels, labels->GetBounds(), XLabelTest{seedLabel});
  ioProgress.Increment();
  return kept;
}

X3DRegion XVolumeSeedThresholdTool::ApplyToolSimilar(const XVolume& inVolume, const X3DPoint& inSeed) {
  return SelectAgainstSeed(inVolume, inSeed, [&](const auto& inTyped, const auto& inSeedVoxel) {
    using V = std::remove_cv_t<std::remove_reference_t<decltype(inTyped)>>;
    return TestsOf<V>::MakeSimilar(inSeedVoxel, XToleranceOf<V>::Get(inTyped, itsTolerance));
  });
}

X3DRegion XVolumeSeedThresholdTool::ApplyToolBrighter(const XVolume& inVolume, const X3DPoint& inSeed) {
  return SelectAgainstSeed(inVolume, inSeed, [](const auto& inTyped, const auto& inSeedVoxel) {
    return TestsOf<decltype(inTyped)>::MakeBrighter(inSeedVoxel);
  });
}

X3DRegion XVolumeSeedThresholdTool::ApplyToolDarker(const XVolume& inVolume, const X3DPoint& inSeed) {
  return SelectAgainstSeed(inVolume, inSeed, [](const auto& inTyped, const auto& inSeedVoxel) {
    return TestsOf<decltype(inTyped)>::MakeDarker(inSeedVoxel);
  });
}

X3DRegion XVolumeSeedThresholdTool::ApplyToolTexture(const XVolume& inVolume, const X3DPoint& inSeed) {
  return WithExactType(inVolume, [&](const auto& inTyped) {
    using V = std::remove_cv_t<std::remove_reference_t<decltype(inTyped)>>;
    if (inTyped.GetBounds().IsEmptyOrInsideOut()) return X3DRegion();
    XTextureTest<typename V::Voxel> test(inTyped);
    {
      XLock lock(inTyped, kLockRead);
      test.SetSeedVariance(
          test.LocalVariance(inTyped.GetVoxelPtr(inSeed.x, inSeed.y, inSeed.z), inSeed.x, inSeed.y, inSeed.z));
    }
    return XSelectByTest(inTyped, inTyped.GetBounds(), test);
  });
}

}  // namespace mirelan
