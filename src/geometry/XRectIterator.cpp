#include "geometry/XRectIterator.h"

namespace mirelan {

XRectIterator::XRectIterator(const XRectBase& inRect, XRectIteratorMode inMode)
    : itsRect(inRect), itsX(inRect.left), itsY(inRect.top), itsMode(inMode) {}

XPoint XRectIterator::GetNext() {
  XPoint current(itsX, itsY);
  if (current == GetLast()) return current;
  if (itsMode == kRectIterateXFastest) {
    if (++itsX >= itsRect.right) {
      itsX = itsRect.left;
      ++itsY;
    }
  } else {
    if (++itsY >= itsRect.bottom) {
      itsY = itsRect.top;
      ++itsX;
    }
  }
  return current;
}

XPoint XRectIterator::GetPrevious() {
  XPoint current(itsX, itsY);
  if (current == GetFirst()) return current;
  if (itsMode == kRectIterateXFastest) {
    if (--itsX < itsRect.left) {
      itsX = itsRect.right - 1;
      --itsY;
    }
  } else {
    if (--itsY < itsRect.top) {
      itsY = itsRect.bottom - 1;
      --itsX;
    }
  }
  return current;
}

void XRectIterator::MoveTo(const XPointT<SInt32>& inPoint) {
  XPoint p = inPoint;
  itsRect.ConstrainPoint(p);
  itsX = p.x;
  itsY = p.y;
}

void XRectIterator::MoveToStart() {
  itsX = itsRect.left;
  itsY = itsRect.top;
}

void XRectIterator::MoveToEnd() {
  itsX = itsRect.right - 1;
  itsY = itsRect.bottom - 1;
}

}  // namespace mirelan
