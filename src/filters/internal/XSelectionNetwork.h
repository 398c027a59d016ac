// Selection networks: a fixed sequence of min and max steps that leaves the
// value of one rank among n values in a known slot, whatever the values.
// The rank filters run them on many windows at once, one window per lane,
// so that the steps work on whole vectors of voxels.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "core/XTypes.h"

namespace mirelan {

class XSelectionNetwork {
 public:
  // One step: the smaller of slots a and b goes to slot low, the larger to
  // slot high. A result nobody needs goes to the spare slot, GetCount().
  struct XOp {
    UInt16 a, b;
    UInt16 low, high;
  };

  // Windows up to this many values have networks; larger ones are selected one by one.
  static constexpr UInt32 kMaxCount = 1024;
  // Lanes of one run of the network: windows done side by side.
  static constexpr UInt32 kLanes = 64;

  // The network that leaves the value of rank inRank (0-based) among inCount
  // values in GetOutput(). Built once per (count, rank) and kept for the
  // process; safe to call from any thread.
  static const XSelectionNetwork& Get(UInt32 inCount, UInt32 inRank);

  UInt32 GetCount() const { return itsCount; }
  // The slots Run needs: the values and the spare one.
  UInt32 GetSlots() const { return itsCount + 1; }
  UInt32 GetOutput() const { return itsOutput; }
  const std::vector<XOp>& GetOps() const { return itsOps; }

  // Runs the network on ioSlots: slot s holds lanes ioSlots[s * kLanes ..
  // s * kLanes + kLanes - 1]. The answer of lane l is then
  // ioSlots[GetOutput() * kLanes + l]. Uses AVX2 where the processor has it.
  void Run(UInt8* ioSlots) const;
  void Run(UInt16* ioSlots) const;
  // The same with SSE2 alone, as on a processor without AVX2.
  void RunWithoutAVX2(UInt8* ioSlots) const;
  void RunWithoutAVX2(UInt16* ioSlots) const;

 private:
  XSelectionNetwork(UInt32 inCount, UInt32 inRank);

  UInt32 itsCount;
  UInt32 itsOutput;
  std::vector<XOp> itsOps;
};

// A worker's own memo of the networks it has used, so that the rows of a
// slab do not all meet at the process-wide table's lock.
class XNetworkMemo {
 public:
  const XSelectionNetwork& Get(UInt32 inCount, UInt32 inRank) {
    for (const XEntry& e : itsEntries)
      if (e.count == inCount && e.rank == inRank) return *e.network;
    const XSelectionNetwork& network = XSelectionNetwork::Get(inCount, inRank);
    itsEntries.push_back({inCount, inRank, &network});
    return network;
  }

 private:
  struct XEntry {
    UInt32 count, rank;
    const XSelectionNetwork* network;
  };
  std::vector<XEntry> itsEntries;
};

}  // namespace mirelan
