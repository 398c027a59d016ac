// The library's one pool of worker threads, for tools that split their work
// into slabs (runs of planes or rows) that can be done in any order.
#pragma once

#include <functional>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XProgress;

// How a tool uses it:
//
//   XProgress progress(rows, kProgressStandard, 2000, false);
//   XWorkerPool::ForEachSlab(rows, rowsPerSlab, [&](UInt64 inBegin, UInt64 inEnd) {
//     ... rows inBegin .. inEnd - 1, writing only what these rows own ...
//   }, &progress);
//
// Contract:
// - Each slab is handed to the work function once, on one thread. Slabs may
//   run in any order and at the same time on up to GetWorkerCount() threads,
//   so the work function must write only what its slab owns, and the result
//   must not depend on which thread ran what: that is what makes results the
//   same for every worker count.
// - With a worker count of 1, or when called from a worker of the pool (a
//   slab that splits again), the slabs run in order on the calling thread.
// - Otherwise the calling thread does no slab itself: it waits, and every
//   50 ms it moves ioProgress to its position at the call plus the items of
//   the slabs ended so far times inProgressPerItem (SetProgress, which gives
//   the host's sink its turn and may cancel). Without a progress it still
//   honours a stop of its XThread.
// - A cancel (an exception out of the progress call on the calling thread)
//   or an exception out of a slab stops the slabs not yet begun; the slabs
//   already running end, and then the first exception leaves ForEachSlab on
//   the calling thread. Nothing of the call runs after it returns or throws.
// - Work functions run on the pool's threads, where no XProgress of the
//   caller exists: they report nothing themselves.
// Several threads may call ForEachSlab at once; their slabs share the workers.
class MIRELAN_EXPORT XWorkerPool {
 public:
  // Does the items inBegin .. inEnd - 1 of one slab.
  using SlabWork = std::function<void(UInt64 inBegin, UInt64 inEnd)>;

  // The library-wide number of threads that work on one call at once. 0
  // restores the default, the processors this process may run on; values
  // above 256 are taken as 256. Calls already running keep their count.
  static void SetWorkerCount(UInt32 inCount);
  static UInt32 GetWorkerCount();
  static UInt32 GetDefaultWorkerCount();

  // The items 0 .. inCount - 1 in slabs of inSlabSize (the last may be shorter).
  static void ForEachSlab(UInt64 inCount, UInt64 inSlabSize, const SlabWork& inWork,
                          XProgress* ioProgress = nullptr, UInt64 inProgressPerItem = 1);
  // Slabs of any sizes: slab i is the items inBounds[i] .. inBounds[i + 1] - 1;
  // the bounds must not decrease.
  static void ForEachSlab(const std::vector<UInt64>& inBounds, const SlabWork& inWork,
                          XProgress* ioProgress = nullptr, UInt64 inProgressPerItem = 1);
};

}  // namespace mirelan
