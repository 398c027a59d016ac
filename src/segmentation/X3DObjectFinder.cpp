#include "segmentation/X3DObjectFinder.h"

#include <memory>

#include "core/XProgress.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/internal/XObjectReportSteps.h"
#include "segmentation/internal/XVoxelTestPass.h"
#include "volume/XGrey32Volume.h"

namespace mirelan {

XVector<X3DRegion> X3DObjectFinder::ApplyTool(const X3DRegion& inRegion) {
  XVector<X3DRegion> objects;
  if (inRegion.IsSimple()) {
    objects.push_back(inRegion);
    return objects;
  }
  XProgress progress(3, kProgressStandard, 2000, false);
  X3DConnectedComponentsTool labeller;
  std::unique_ptr<XGrey32Volume> labels(labeller.ApplyTool(inRegion));
  progress.Increment();
  XVector<X3DRect> rects = labeller.GetComponentRects(*labels);
  progress.Increment();

  XLock labelLock(*labels, kLockRead);
  const UInt32 count = labeller.GetComponentCount();
  XObjectReportSteps steps(count);
  XProgress objectProgress(steps.GetSteps(), kProgressStandard, 2000, false);
  objectProgress.SetMessage(XObjectReportSteps::GetMessage(0));
  objects.reserve(count);
  // Each object is selected within its own box, so the whole label volume
  // is read only by the labelling and the box pass.
  for (UInt32 id = 1; id <= count; ++id) {
    objects.push_back(XSelectByTest(*labels, rects[id - 1], XLabelTest{id}));
    if (steps.IsDue(id)) {
      objectProgress.SetMessage(XObjectReportSteps::GetMessage(id));
      objectProgress.Increment();
    }
  }
  progress.Increment();
  return objects;
}

}  // namespace mirelan
