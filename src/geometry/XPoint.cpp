#include "geometry/XPoint.h"

#include "geometry/X3DRect.h"

namespace mirelan {

void X3DPoint::KeepWithin(const X3DRect& inBox) { inBox.ConstrainPoint(*this); }

}  // namespace mirelan
