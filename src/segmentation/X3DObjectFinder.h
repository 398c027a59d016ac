// Splits a region into one region per piece, the pieces being those of
// X3DConnectedComponentsTool (joined by faces): how a thresholded selection
// becomes a list of objects.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "volume/X3DRegion.h"

namespace mirelan {

class MIRELAN_EXPORT X3DObjectFinder {
 public:
  X3DObjectFinder() = default;
  X3DObjectFinder(const X3DObjectFinder&) = default;
  X3DObjectFinder& operator=(const X3DObjectFinder&) = default;
  virtual ~X3DObjectFinder() = default;

  // One region per component, in label order. A region without a mask is a
  // single box and comes back as one copy of itself. An empty masked region
  // cannot be labelled: a precondition failure.
  virtual XVector<X3DRegion> ApplyTool(const X3DRegion& inRegion);
};

}  // namespace mirelan
