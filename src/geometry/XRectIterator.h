// Walks the cells of a rectangle one point at a time, forwards or backwards.
#pragma once

#include "core/XExport.h"
#include "geometry/XPoint.h"
#include "geometry/XRect.h"

namespace mirelan {

// Which coordinate runs fastest. Any non-zero value walks by columns.
enum XRectIteratorMode : UInt32 {
  kRectIterateXFastest = 0,  // rows: x runs fastest, a row wraps to left, y + 1
  kRectIterateYFastest = 1,  // columns: y runs fastest, a column wraps to top, x + 1
};

// The walk does not test for an empty rectangle: callers check IsEmpty or
// count cells themselves. It stops (repeats the corner) only at the ends.
class MIRELAN_EXPORT XRectIterator {
 public:
  explicit XRectIterator(const XRectBase& inRect, XRectIteratorMode inMode = kRectIterateXFastest);

  // Returns the current point, then steps; at the last cell it stays there.
  XPoint GetNext();
  // Returns the current point, then steps back; at the first cell it stays there.
  XPoint GetPrevious();
  XPoint GetFirst() const { return XPoint(itsRect.left, itsRect.top); }
  XPoint GetLast() const { return XPoint(itsRect.right - 1, itsRect.bottom - 1); }

  // Moves to the point clamped into the rectangle's cells.
  void MoveTo(const XPointT<SInt32>& inPoint);
  void MoveToStart();
  void MoveToEnd();

 private:
  XRect itsRect;
  SInt32 itsX;
  SInt32 itsY;
  XRectIteratorMode itsMode;
};

}  // namespace mirelan
