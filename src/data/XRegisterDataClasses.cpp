#include "data/XRegisterDataClasses.h"

#include "core/XClassRegistry.h"
#include "data/X3DHierarchicalPolyLine.h"
#include "data/X3DPolyLine.h"
#include "data/X3DSelectedPoint.h"
#include "data/X4DTrack.h"
#include "data/XCuboidROI.h"
#include "data/XEllipseROI.h"
#include "data/XIrregularROI.h"
#include "data/XPolygonROI.h"
#include "data/XROICollection.h"

namespace mirelan {

namespace {

template <class C>
void RegisterVersionedReader(const XString& inName) {
  XClassRegistry::RegisterClass(C::GetClassVersion(), C::GetSuperClassVersion(), nullptr,
                                XVersionedReaderFactory<C>, nullptr, inName);
}

}  // namespace

void XRegisterDataClasses() {
  RegisterVersionedReader<X3DPolyLine>("X3DPolyLine");
  RegisterVersionedReader<X3DSelectedPoint>("X3DSelectedPoint");
  RegisterVersionedReader<X3DPolyLineF>("X3DPolyLineF");
  RegisterVersionedReader<X4DTrack>("X4DTrack");
  RegisterVersionedReader<X3DHierarchicalPolyLine>("X3DHierarchicalPolyLine");
  RegisterVersionedReader<XROICollection>("XROICollection");
  RegisterVersionedReader<XIrregularROI>("XIrregularROI");
  RegisterVersionedReader<XPolygonROI>("XPolygonROI");
  RegisterVersionedReader<XEllipseROI>("XEllipseROI");
  RegisterVersionedReader<XCuboidROI>("XCuboidROI");
  // The abstract ROI has no factory; it stands in the tree under the root.
  XClassRegistry::RegisterInheritance(XROI::kClassID, XStorable::kClassID);
}

}  // namespace mirelan
