#include "tools/XVolumeArithmeticTool.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <typeinfo>

#include "core/XException.h"
#include "core/XProgress.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/internal/XWideKernels.h"

namespace mirelan {

namespace {

using XOperator = XVolumeArithmeticTool::XOperator;

// One channel of a op b. Integers work in 32 bits and are brought back into
// the type: a 16-bit product fits an unsigned 32-bit word.
template <SInt32 kOp, class T>
inline T Combine(T a, T b) {
  if constexpr (std::is_floating_point_v<T>) {
    if constexpr (kOp == XVolumeArithmeticTool::kAdd) return a + b;
    if constexpr (kOp == XVolumeArithmeticTool::kSubtract || kOp == XVolumeArithmeticTool::kSubtractOffset)
      return a - b;
    if constexpr (kOp == XVolumeArithmeticTool::kAbsoluteDifference) return std::fabs(a - b);
    if constexpr (kOp == XVolumeArithmeticTool::kMultiply) return a * b;
    if constexpr (kOp == XVolumeArithmeticTool::kDivideByOneMore) return T(Float64(a) / (Float64(b) + 1.0));
  } else {
    constexpr SInt32 kMax = std::numeric_limits<T>::max();
    constexpr SInt32 kMiddle = kMax / 2 + 1;
    if constexpr (kOp == XVolumeArithmeticTool::kAdd) {
      // The wrapped sum is below a exactly when it overflowed; the mask form
      // keeps the vector code in the voxel's own width.
      const T s = T(a + b);
      return T(s | T(0u - UInt32(s < a)));
    }
    if constexpr (kOp == XVolumeArithmeticTool::kSubtract) {
      const T s = T(a - b);  // above a exactly when it wrapped below 0
      return T(s & T(0u - UInt32(s <= a)));
    }
    if constexpr (kOp == XVolumeArithmeticTool::kSubtractOffset) {
      // Twice the voxel's width holds the sum; no wider, so the vector code
      // packs as many lanes as it can.
      using Wide = std::conditional_t<sizeof(T) == 1, SInt16, SInt32>;
      const Wide s = Wide(Wide(a) - Wide(b) + Wide(kMiddle));
      return T(s < 0 ? 0 : (s > kMax ? kMax : s));
    }
    if constexpr (kOp == XVolumeArithmeticTool::kAbsoluteDifference) return T((a < b ? b : a) - (a < b ? a : b));
    if constexpr (kOp == XVolumeArithmeticTool::kMultiply) {
      const UInt32 p = UInt32(a) * UInt32(b);
      return T(p > UInt32(kMax) ? UInt32(kMax) : p);
    }
    if constexpr (kOp == XVolumeArithmeticTool::kDivideByOneMore) {
      // The integer quotient through a float division, which vectorises: for
      // a below 2^16 and a divisor up to 2^16 the rounded float quotient never
      // reaches the next integer, so truncation gives the exact result.
      return T(Float32(a) / (Float32(b) + 1.0f));
    }
  }
  // Minimum and maximum as std::min and std::max choose: a unless b is strictly beyond it.
  if constexpr (kOp == XVolumeArithmeticTool::kMinimum) return b < a ? b : a;
  if constexpr (kOp == XVolumeArithmeticTool::kMaximum) return a < b ? b : a;
}

// The inner loops run over fixed blocks of restrict-qualified elements so
// that the compiler turns them into vector code with no alias test.
constexpr UInt64 kBlock = 64;

template <class E, class Fn>
inline void CombineBlock(E* __restrict ioA, const E* __restrict inB, Fn inFn) {
  for (UInt64 j = 0; j < kBlock; ++j) ioA[j] = inFn(ioA[j], inB[j]);
}

// ARGB32 words as bytes: every byte is combined, the alpha bytes (the first
// of each word) then keep a's value.
template <class Fn>
inline void CombineBlockKeepAlpha(UInt8* __restrict ioA, const UInt8* __restrict inB, Fn inFn) {
  for (UInt32 j = 0; j < kBlock; ++j) {
    const UInt8 c = inFn(ioA[j], inB[j]);
    ioA[j] = (j & 3) == 0 ? ioA[j] : c;
  }
}

// a op= b over inCount elements. The same volume on both sides is served
// through a copy of each block, so that the restrict promise holds.
template <SInt32 kOp, class E, bool kKeepAlpha>
void CombineRun(E* ioA, const E* inB, UInt64 inCount) {
  // Saturating sums and differences of whole 8- and 16-bit arrays have forms
  // for the widest vectors of the processor.
  if constexpr (!kKeepAlpha && (std::is_same_v<E, UInt8> || std::is_same_v<E, UInt16>)) {
    if constexpr (kOp == XVolumeArithmeticTool::kAdd) return XWideSaturatingAdd(ioA, inB, inCount);
    if constexpr (kOp == XVolumeArithmeticTool::kSubtract) return XWideSaturatingSubtract(ioA, inB, inCount);
  }
  auto fn = [](E a, E b) { return Combine<kOp, E>(a, b); };
  UInt64 i = 0;
  if (ioA == inB) {
    E copy[kBlock];
    for (; i + kBlock <= inCount; i += kBlock) {
      for (UInt64 j = 0; j < kBlock; ++j) copy[j] = inB[i + j];
      if constexpr (kKeepAlpha)
        CombineBlockKeepAlpha(ioA + i, copy, fn);
      else
        CombineBlock(ioA + i, copy, fn);
    }
  } else {
    for (; i + kBlock <= inCount; i += kBlock) {
      if constexpr (kKeepAlpha)
        CombineBlockKeepAlpha(ioA + i, inB + i, fn);
      else
        CombineBlock(ioA + i, inB + i, fn);
    }
  }
  for (; i < inCount; ++i) {
    const E c = fn(ioA[i], inB[i]);
    if (!kKeepAlpha || (i & 3) != 0) ioA[i] = c;
  }
}

// Elements of a voxel for the loops: the voxel itself for numbers, its
// bytes for ARGB32.
template <class T>
struct XArithmeticElement {
  using Type = T;
  static constexpr UInt64 kPerVoxel = 1;
  static constexpr bool kKeepAlpha = false;
};
template <>
struct XArithmeticElement<XARGB32Colour> {
  using Type = UInt8;
  static constexpr UInt64 kPerVoxel = 4;
  static constexpr bool kKeepAlpha = true;
};
static_assert(offsetof(XARGB32Layout, alpha) == 0, "alpha is the first byte of an ARGB32 word");

template <SInt32 kOp, class T>
void CombineVolumes(XPackedVolume<T>& ioA, const XPackedVolume<T>& inB) {
  using Element = XArithmeticElement<T>;
  using E = typename Element::Type;
  XLock lockB(inB, kLockRead);
  XLock lockA(ioA, kLockReadWrite);
  E* a = reinterpret_cast<E*>(ioA.GetBaseVoxelPtr());
  const E* b = reinterpret_cast<const E*>(inB.GetBaseVoxelPtr());
  const UInt32 depth = ioA.GetDepth();
  XProgress progress(depth, kProgressStandard, 2000, false);
  if (ioA.GetRowVoxels() == inB.GetRowVoxels()) {
    // The usual case: the planes are one run each, padding included.
    const UInt64 plane = ioA.GetLayerSize() * Element::kPerVoxel;
    for (UInt32 z = 0; z < depth; ++z) {
      CombineRun<kOp, E, Element::kKeepAlpha>(a + z * plane, b + z * plane, plane);
      progress.Increment();
    }
  } else {
    // Rows of different lengths (a padded volume from a stream): run row by
    // row over the width, so that voxels meet their partners.
    const UInt32 height = ioA.GetHeight();
    const UInt64 width = UInt64(ioA.GetWidth()) * Element::kPerVoxel;
    const UInt64 rowA = UInt64(ioA.GetRowVoxels()) * Element::kPerVoxel;
    const UInt64 rowB = UInt64(inB.GetRowVoxels()) * Element::kPerVoxel;
    for (UInt32 z = 0; z < depth; ++z) {
      for (UInt32 y = 0; y < height; ++y) {
        const UInt64 row = UInt64(z) * height + y;
        CombineRun<kOp, E, Element::kKeepAlpha>(a + row * rowA, b + row * rowB, width);
      }
      progress.Increment();
    }
  }
}

template <class T>
void ApplyOperator(XPackedVolume<T>& ioA, const XPackedVolume<T>& inB, XOperator inOperator) {
  switch (inOperator) {
    case XVolumeArithmeticTool::kAdd: CombineVolumes<XVolumeArithmeticTool::kAdd>(ioA, inB); break;
    case XVolumeArithmeticTool::kSubtract: CombineVolumes<XVolumeArithmeticTool::kSubtract>(ioA, inB); break;
    case XVolumeArithmeticTool::kSubtractOffset:
      CombineVolumes<XVolumeArithmeticTool::kSubtractOffset>(ioA, inB);
      break;
    case XVolumeArithmeticTool::kAbsoluteDifference:
      CombineVolumes<XVolumeArithmeticTool::kAbsoluteDifference>(ioA, inB);
      break;
    case XVolumeArithmeticTool::kMultiply: CombineVolumes<XVolumeArithmeticTool::kMultiply>(ioA, inB); break;
    case XVolumeArithmeticTool::kDivideByOneMore:
      CombineVolumes<XVolumeArithmeticTool::kDivideByOneMore>(ioA, inB);
      break;
    case XVolumeArithmeticTool::kMinimum: CombineVolumes<XVolumeArithmeticTool::kMinimum>(ioA, inB); break;
    case XVolumeArithmeticTool::kMaximum: CombineVolumes<XVolumeArithmeticTool::kMaximum>(ioA, inB); break;
    default: break;  // an unknown operator leaves a as it is
  }
}

template <class V>
void ApplyAs(XVolume& ioA, const XVolume& inB, XOperator inOperator) {
  V* a = dynamic_cast<V*>(&ioA);
  const V* b = dynamic_cast<const V*>(&inB);
  XAssert(a != nullptr && b != nullptr);
  ApplyOperator(*a, *b, inOperator);
}

}  // namespace

XVolumeArithmeticTool::~XVolumeArithmeticTool() = default;

void XVolumeArithmeticTool::ApplyTool(XVolume& ioA, const XVolume& inB, XOperator inOperator) {
  XAssert(typeid(ioA) == typeid(inB));
  XAssert(ioA.GetBounds().IsSameSizeAs(inB.GetBounds()));
  // The frame's order of tests; a mask is a Grey8 volume.
  if (ioA.IsA(XGrey8Volume::GetClassVersion()))
    ApplyAs<XGrey8Volume>(ioA, inB, inOperator);
  else if (ioA.IsA(XGrey16Volume::GetClassVersion()))
    ApplyAs<XGrey16Volume>(ioA, inB, inOperator);
  else if (ioA.IsA(XARGB32Volume::GetClassVersion()))
    ApplyAs<XARGB32Volume>(ioA, inB, inOperator);
  else if (ioA.IsA(XFPVolume::GetClassVersion()))
    ApplyAs<XFPVolume>(ioA, inB, inOperator);
  else
    throw XException(kErrNotForPixelType);
}

}  // namespace mirelan
