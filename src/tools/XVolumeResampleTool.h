// Changes the size of a part of a volume by separable filtering, one axis at
// a time, with the shortest source axis first so that the intermediate
// volumes stay small. Weights are worked out once per axis as fixed-point
// taps, so the voxel loops are integer sums with no call in them.
//
// It serves Grey8 (and masks), Grey16, ARGB32 and BGRA32 volumes, source and
// destination of one class; anything else throws 2500. The sums are not
// clamped: an overshooting filter (Lanczos) wraps at hard edges, and since
// the weights add up to about 65535 and the sum is shifted by 16, a full 255
// comes out as 254.
#pragma once

#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"
#include "tools/XResampleFilter.h"

namespace mirelan {

class XVolume;
template <class T>
class XPackedVolume;

enum XFilterMode : SInt32 {
  kFilterAutomatic = 0,  // bell to enlarge, simple to shrink, chosen per axis
  kFilterSimple = 1,
  kFilterTriangle = 2,
  kFilterBell = 3,
  kFilterBSpline = 4,
  kFilterLanczos3 = 5,
  kFilterCaller = 6,  // a filter of the caller's, owned by the tool
};

// One tap: the source element (base plus index times stride) and its weight
// in fixed point with 65535 as one.
struct XContribution {
  UInt32 offset;
  SInt32 weight;
};

// The taps of every destination position along one axis.
class MIRELAN_EXPORT XFilterContributions {
 public:
  UInt32 GetDestLength() const { return itsStart.empty() ? 0 : UInt32(itsStart.size() - 1); }
  UInt32 GetCount(UInt32 inDest) const { return itsStart[inDest + 1] - itsStart[inDest]; }
  const XContribution* GetTaps(UInt32 inDest) const { return itsTaps.data() + itsStart[inDest]; }
  UInt64 GetTotalTaps() const { return itsTaps.size(); }

  void Clear() {
    itsTaps.clear();
    itsStart.assign(1, 0);
  }
  void Add(const XContribution& inTap) { itsTaps.push_back(inTap); }
  // Closes the taps of the next destination position; returns its first tap.
  XContribution* EndDest() {
    XContribution* first = itsTaps.data() + itsStart.back();
    itsStart.push_back(UInt32(itsTaps.size()));
    return first;
  }

 private:
  std::vector<XContribution> itsTaps;
  std::vector<UInt32> itsStart{0};  // first tap of each position, and the end
};

class MIRELAN_EXPORT XVolumeResampleTool {
 public:
  // Automatic mode.
  XVolumeResampleTool() = default;
  explicit XVolumeResampleTool(XFilterMode inMode, XResampleFilter* aFilter = nullptr) { SetFilter(inMode, aFilter); }
  virtual ~XVolumeResampleTool();
  XVolumeResampleTool(const XVolumeResampleTool&) = delete;
  XVolumeResampleTool& operator=(const XVolumeResampleTool&) = delete;

  // Drops the old filter. Modes 1 to 5 make their filter; mode 6 requires
  // aFilter and takes ownership of it; any other value is automatic mode,
  // with no filter until a call picks one.
  virtual void SetFilter(XFilterMode inMode, XResampleFilter* aFilter = nullptr);
  // Resamples srcRect of the source into destRect of the destination.
  // Nothing happens when either is empty; equal sizes are a plain CopyOut.
  virtual void ApplyTool(const XVolume& inSource, XVolume& ioDest, const X3DRect& srcRect, const X3DRect& destRect);

  XFilterMode GetFilterMode() const { return itsFilterMode; }
  const XResampleFilter* GetFilter() const { return itsFilter; }

  // The taps of each of inDestLength positions from inSourceLength elements.
  // scale = destination / max(source - 1, 1). Enlarging, the filter is
  // centred on i / scale and indices beyond the ends reflect; shrinking, it
  // is widened by 1 / scale, centred on i / scale + width / 2, and taps
  // outside are dropped. Each position's weights are then divided by their
  // sum. In automatic mode this is where the filter is chosen.
  void CalculateFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase, UInt32 inStride,
                                    XFilterContributions& outContributions);
  void CalculateXFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase, UInt32 inStride,
                                     XFilterContributions& outContributions);
  void CalculateYFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase, UInt32 inStride,
                                     XFilterContributions& outContributions);
  void CalculateZFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase, UInt32 inStride,
                                     XFilterContributions& outContributions);

 private:
  template <class T>
  void ResampleTyped(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest, const X3DRect& srcRect,
                     const X3DRect& destRect);
  template <class T>
  void ResamplePlaneByPlane(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest, const X3DRect& srcRect,
                            const X3DRect& destRect, const std::vector<int>& inAxes);
  template <class T>
  void ResampleOneAxis(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest, const X3DRect& srcRect,
                       const X3DRect& destRect, int inAxis);
  // The taps of one axis: 0 x, 1 y, 2 z.
  void CalculateAxisContributions(int inAxis, UInt32 inSourceLength, UInt32 inDestLength,
                                  XFilterContributions& outContributions);

  XFilterMode itsFilterMode = kFilterAutomatic;
  XResampleFilter* itsFilter = nullptr;  // owned
};

}  // namespace mirelan
