// The per-component bodies shared by the maximum, sum and average merges:
// one source row folded into a destination row with a contribution.
#pragma once

#include <algorithm>
#include <limits>
#include <memory>
#include <typeinfo>
#include <type_traits>

#include "alignment/internal/XAlignmentDispatch.h"
#include "alignment/internal/XMergeKernels.h"
#include "core/XContainers.h"
#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XWorkerPool.h"
#include "volume/XPixelTraits.h"

namespace mirelan {
namespace alignment {

enum class XMergeOp { kMaximum, kSum };

// Integers saturate at both ends; floats only at 0, and only where the
// operation clamps at all.
template <class C>
inline C ClampComponent(double inValue) {
  if constexpr (std::is_floating_point_v<C>) {
    return C(inValue);
  } else {
    if (!(inValue > 0.0)) return C(0);
    if (inValue >= double(std::numeric_limits<C>::max())) return std::numeric_limits<C>::max();
    return C(inValue);  // truncated
  }
}

template <XMergeOp kOp, class C>
void MergeComponents(C* __restrict ioDest, const C* __restrict inSource, UInt64 inCount, double inWeight) {
  if constexpr (kOp == XMergeOp::kMaximum) {
    if (inWeight == 1.0) {
      MaxRow(ioDest, inSource, inCount);
    } else {
      for (UInt64 i = 0; i < inCount; ++i) {
        double value = double(inSource[i]) * inWeight;
        if (!(value > 0.0)) value = 0.0;
        ioDest[i] = std::max(ioDest[i], ClampComponent<C>(value));
      }
    }
  } else if (inWeight == 1.0) {
    // The usual case: plain arithmetic, saturating for integers.
    AddRow(ioDest, inSource, inCount);
  } else {
    for (UInt64 i = 0; i < inCount; ++i)
      ioDest[i] = ClampComponent<C>(double(ioDest[i]) + double(inSource[i]) * inWeight);
  }
}

// The list form: every source folded into a cleared clone of the first, with
// contributions[i] / inDivisor.
template <XMergeOp kOp>
XVolume* MergeVolumeList(const XPtrVector<XVolume>& inSources, const XVector<double>& inContributions,
                         double inDivisor) {
  XAssert(inSources.size() == inContributions.size());
  XAssert(!inSources.empty() && inSources[0] != nullptr);
  const XVolume& first = *inSources[0];
  return DispatchMergeClass(first, [&](const auto& inFirst) -> XVolume* {
    using V = std::decay_t<decltype(inFirst)>;
    using C = typename XComponents<typename V::Voxel>::Type;
    constexpr UInt32 kCount = XComponents<typename V::Voxel>::kCount;
    std::unique_ptr<V> dest(static_cast<V*>(inFirst.CloneWithoutCopy()));
    XAssert(dest != nullptr);
    dest->Clear();
    const X3DRect& b = dest->GetBounds();
    XLock lockDest(*dest, kLockReadWrite);
    XProgress progress(inSources.size(), kProgressStandard, 2000, false);
    for (size_t i = 0; i < inSources.size(); ++i) {
      const XVolume* source = inSources[i];
      XAssert(source != nullptr && typeid(*source) == typeid(first));
      const V& src = static_cast<const V&>(*source);
      XAssert(src.GetBounds() == dest->GetBounds());
      XAssert(src.GetRowBytes() == dest->GetRowBytes());
      const double weight = inContributions[i] / inDivisor;
      XLock lockSource(src, kLockRead);
      for (SInt32 z = b.front; z < b.back; ++z)
        for (SInt32 y = b.top; y < b.bottom; ++y)
          MergeComponents<kOp, C>(RowComponents(*dest, y, z), RowComponents(src, y, z), UInt64(b.GetWidth()) * kCount,
                                  weight);
      progress.Increment();
    }
    return dest.release();
  });
}

enum class XMergeAxis { kAlongZ, kAlongY, kAlongX };

// The stack form: the planes across the axis folded into one, contribution 1.0.
template <XMergeOp kOp>
XVolume* MergeStack(const XVolume& inSource, XMergeAxis inAxis) {
  return DispatchMergeClass(inSource, [&](const auto& inStack) -> XVolume* {
    using V = std::decay_t<decltype(inStack)>;
    using C = typename XComponents<typename V::Voxel>::Type;
    constexpr UInt32 kCount = XComponents<typename V::Voxel>::kCount;
    const X3DRect& b = inStack.GetBounds();
    if (inAxis == XMergeAxis::kAlongZ && b.GetDepth() == 1) return inStack.Clone();
    X3DRect destRect;
    switch (inAxis) {
      case XMergeAxis::kAlongZ: destRect = X3DRect(b.left, b.top, b.front, b.right, b.bottom, b.front + 1); break;
      case XMergeAxis::kAlongY: destRect = X3DRect(b.left, b.front, b.top, b.right, b.back, b.top + 1); break;
      case XMergeAxis::kAlongX: destRect = X3DRect(b.front, b.top, b.left, b.back, b.bottom, b.left + 1); break;
    }
    std::unique_ptr<V> dest(static_cast<V*>(inStack.CloneWithoutCopy(destRect)));
    XAssert(dest != nullptr);
    dest->Clear();
    XLock lockSource(inStack, kLockRead);
    XLock lockDest(*dest, kLockReadWrite);
    const UInt64 rowComponents = UInt64(b.GetWidth()) * kCount;
    XProgress progress(b.GetDepth(), kProgressStandard, 2000, false);
    if (inAxis == XMergeAxis::kAlongZ) {
      // A band of destination rows small enough to stay in cache takes every
      // plane before the next band: the stack streams through once. Each
      // voxel still folds its planes in ascending order.
      // Bands are independent and go to the worker pool.
      const UInt64 bandRows = std::max<UInt64>(1, (UInt64(1) << 16) / std::max<UInt64>(1, rowComponents * sizeof(C)));
      progress.SetTotal(UInt64(b.GetDepth()) * b.GetHeight());
      XWorkerPool::ForEachSlab(b.GetHeight(), bandRows, [&](UInt64 inBegin, UInt64 inEnd) {
        for (SInt32 z = b.front; z < b.back; ++z)
          for (SInt32 y = b.top + SInt32(inBegin); y < b.top + SInt32(inEnd); ++y)
            MergeComponents<kOp, C>(RowComponents(*dest, y, destRect.front), RowComponents(inStack, y, z),
                                    rowComponents, 1.0);
      }, &progress, b.GetDepth());
      return dest.release();
    }
    for (SInt32 z = b.front; z < b.back; ++z) {
      for (SInt32 y = b.top; y < b.bottom; ++y) {
        const C* row = RowComponents(inStack, y, z);
        if (inAxis == XMergeAxis::kAlongY) {
          MergeComponents<kOp, C>(RowComponents(*dest, z, destRect.front), row, rowComponents, 1.0);
        } else {
          // Each voxel of the row folds into the one destination voxel of (z, y).
          C* target = reinterpret_cast<C*>(dest->GetVoxelPtr(z, y, destRect.front));
          for (UInt32 x = 0; x < b.GetWidth(); ++x)
            MergeComponents<kOp, C>(target, row + UInt64(x) * kCount, kCount, 1.0);
        }
      }
      progress.Increment();
    }
    return dest.release();
  });
}

}  // namespace alignment
}  // namespace mirelan
