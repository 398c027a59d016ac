// Labels the separate pieces of a region. Two voxels belong to one piece when
// a path of member voxels joins them through shared faces; voxels that touch
// only by an edge or a corner are apart.
//
// The labelling numbers runs of voxels along x, joins the runs that touch by
// a face through a union-find table over run numbers, and ends with compact
// labels 1 .. GetComponentCount() ordered by the run number of each piece's
// final root. The table is indexed by run number: entry 0 is the background,
// every other entry holds its run's parent, and a root is its own parent.
#pragma once


#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XMemoryHandle.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class X3DRegion;
class XGrey32Volume;

class MIRELAN_EXPORT X3DConnectedComponentsTool {
 public:
  X3DConnectedComponentsTool() = default;
  X3DConnectedComponentsTool(const X3DConnectedComponentsTool&) = default;
  X3DConnectedComponentsTool& operator=(const X3DConnectedComponentsTool&) = default;

  // A volume of labels, 0 for the background, over the region's bounds grown
  // by one voxel on each side, so that region coordinates address it
  // directly. Any non-zero mask byte counts as a member. Sets the component
  // count. An empty region is a precondition failure ("componentNo != 0").
  // The caller owns the result.
  XGrey32Volume* ApplyTool(const X3DRegion& inRegion);

  // The number of components of the last application; 0 before any.
  UInt32 GetComponentCount() const { return itsComponentCount; }

  // Element i is the bounding box of label i + 1, far edges exclusive.
  // inLabels must come from the last ApplyTool of this tool: the boxes are
  // counted by its component count, and a larger label is a precondition
  // failure.
  XVector<X3DRect> GetComponentRects(const XGrey32Volume& inLabels) const;

 private:
  friend class X3DConnectedComponentsToolTestAccess;

  // Follows parents from inRun to the element that is its own parent.
  static UInt32 FindRoot(UInt32 inRun, const UInt32* inTable);
  // Joins the trees of inRun and inNeighbour; see the definition.
  static void Connect(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable);
  // An alternative join over circular lists, not used by ApplyTool: the
  // table then holds, for each run, the next run of its piece.
  static void AddToAssociative(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable);
  // One block for the two tables of inEntries run numbers each (one block:
  // a single mapping to fault in). The byte size of a table must fit 32
  // bits; a larger one asks for the largest block there is, which fails (1012).
  static XMemoryHandle AllocateRunTables(UInt64 inEntries);

  UInt32 itsComponentCount = 0;
};

}  // namespace mirelan
