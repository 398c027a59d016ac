#include "geometry/XPoint.h"

#include "geometry/X3DRect.h"

void X3DPoint::KeepWithin(const X3DRect& inBox) { inBox.ConstrainPoint(*this); }
