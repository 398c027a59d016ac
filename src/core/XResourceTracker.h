// Counts of live objects by kind, for leak checks and diagnostics.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// One process-wide tracker. Every XVolume constructor adds to its kind and the
// destructor removes, so hosts and tests can count live volumes. A count may go
// below zero only through unbalanced calls, which it shows rather than hides.
class MIRELAN_EXPORT XResourceTracker {
 public:
  // Never destroyed, so objects that die during static destruction can still report.
  static XResourceTracker& GetTracker();

  void Add(const char* inKind);
  void Remove(const char* inKind);
  SInt64 GetCount(const char* inKind) const;
  // Every kind seen so far with its count.
  std::map<XString, SInt64> GetAllCounts() const;

  XResourceTracker(const XResourceTracker&) = delete;
  XResourceTracker& operator=(const XResourceTracker&) = delete;

 private:
  XResourceTracker() = default;
  void Change(const char* inKind, SInt64 inDelta);

  mutable std::mutex itsMutex;
  // Transparent comparison: looking up a kind does not build a string.
  std::map<XString, SInt64, std::less<>> itsCounts;
};

}  // namespace mirelan
