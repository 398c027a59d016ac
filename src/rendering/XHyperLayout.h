// A strided N-dimensional view of memory: a box of coordinates, the address
// of the element at the box's origin, and the step in elements along each
// axis. Renderers write into 32-bit words described this way, so that a
// volume, a toolkit's image buffer or one plane of either serve alike.
#pragma once

#include <array>
#include <cstddef>

#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

// A half-open box of N axes: origin and extent per axis.
template <int N>
class XHyperRect {
 public:
  using Point = std::array<SInt32, N>;
  using Extents = std::array<UInt32, N>;

  XHyperRect() {
    itsOrigin.fill(0);
    itsExtents.fill(0);
  }
  XHyperRect(const Point& inOrigin, const Extents& inExtents) : itsOrigin(inOrigin), itsExtents(inExtents) {}

  const Point& GetOrigin() const { return itsOrigin; }
  const Extents& GetExtents() const { return itsExtents; }
  // One past the last coordinate of an axis, wide enough never to overflow.
  SInt64 GetEnd(int inAxis) const { return SInt64(itsOrigin[inAxis]) + itsExtents[inAxis]; }
  bool IsEmpty() const {
    for (int i = 0; i < N; ++i)
      if (itsExtents[i] == 0) return true;
    return false;
  }
  bool Contains(const XHyperRect& inOther) const {
    for (int i = 0; i < N; ++i)
      if (inOther.itsOrigin[i] < itsOrigin[i] || inOther.GetEnd(i) > GetEnd(i)) return false;
    return true;
  }
  // The common part; an axis without one gets extent 0.
  XHyperRect& Sect(const XHyperRect& inOther) {
    for (int i = 0; i < N; ++i) {
      const SInt64 low = itsOrigin[i] > inOther.itsOrigin[i] ? itsOrigin[i] : inOther.itsOrigin[i];
      const SInt64 end = GetEnd(i) < inOther.GetEnd(i) ? GetEnd(i) : inOther.GetEnd(i);
      itsOrigin[i] = SInt32(low);
      itsExtents[i] = end > low ? UInt32(end - low) : 0;
    }
    return *this;
  }
  void Offset(const Point& inDelta) {
    for (int i = 0; i < N; ++i) itsOrigin[i] += inDelta[i];
  }
  bool operator==(const XHyperRect& inOther) const {
    return itsOrigin == inOther.itsOrigin && itsExtents == inOther.itsExtents;
  }
  bool operator!=(const XHyperRect& inOther) const { return !(*this == inOther); }

 private:
  Point itsOrigin;
  Extents itsExtents;
};

inline XHyperRect<3> XToHyperRect(const X3DRect& inRect) {
  return XHyperRect<3>({inRect.left, inRect.top, inRect.front},
                       {inRect.GetWidth(), inRect.GetHeight(), inRect.GetDepth()});
}

inline X3DRect XToX3DRect(const XHyperRect<3>& inRect) {
  const auto& o = inRect.GetOrigin();
  return X3DRect(o[0], o[1], o[2], SInt32(inRect.GetEnd(0)), SInt32(inRect.GetEnd(1)), SInt32(inRect.GetEnd(2)));
}

template <int N, class T>
class XHyperLayout {
 public:
  using Element = T;
  using Rect = XHyperRect<N>;
  using Steps = std::array<ptrdiff_t, N>;

  XHyperLayout() { itsSteps.fill(0); }
  // inBase is the address of the element at inBounds' origin.
  XHyperLayout(T* inBase, const Rect& inBounds, const Steps& inSteps)
      : itsBase(inBase), itsBounds(inBounds), itsSteps(inSteps) {}

  T* GetBase() const { return itsBase; }
  const Rect& GetBounds() const { return itsBounds; }
  const Steps& GetSteps() const { return itsSteps; }
  bool IsEmpty() const { return itsBounds.IsEmpty(); }

  // The element at a coordinate of the box; no range check.
  T* GetPtr(const typename Rect::Point& inPoint) const {
    ptrdiff_t offset = 0;
    for (int i = 0; i < N; ++i)
      offset += (static_cast<ptrdiff_t>(inPoint[i]) - itsBounds.GetOrigin()[i]) * itsSteps[i];
    return itsBase + offset;
  }

  // The part of this view inside inRect, same memory and coordinates. An
  // empty result keeps the base of this view and is never dereferenced.
  XHyperLayout Slice(const Rect& inRect) const {
    Rect part = itsBounds;
    part.Sect(inRect);
    if (part.IsEmpty()) return XHyperLayout(itsBase, part, itsSteps);
    return XHyperLayout(GetPtr(part.GetOrigin()), part, itsSteps);
  }
  void Cut(const Rect& inRect) { *this = Slice(inRect); }

 private:
  T* itsBase = nullptr;
  Rect itsBounds;
  Steps itsSteps;
};

// A 3-D view of 32-bit words, such as a host's 32-bit image buffer: bounds
// in the coordinates the caller chose, a row step and a plane step in words.
inline XHyperLayout<3, UInt32> XMakeRGB32Layout(UInt32* inPixels, const X3DRect& inBounds, ptrdiff_t inRowWords,
                                                ptrdiff_t inPlaneWords) {
  return XHyperLayout<3, UInt32>(inPixels, XToHyperRect(inBounds), {1, inRowWords, inPlaneWords});
}

}  // namespace mirelan
