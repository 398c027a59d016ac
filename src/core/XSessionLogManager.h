// The session log: timestamped lines that a host may collect and show. The
// library writes to it only in diagnostics (the vector-math speed report).
#pragma once

#include <functional>
#include <mutex>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTime.h"
#include "core/XTypes.h"

namespace mirelan {

struct MIRELAN_EXPORT XSessionLogEntry {
  XTime itsTime;
  XString itsText;
};

// A host that wants the log makes one manager and keeps it while it wants
// entries; the manager becomes the process's log on construction and stops
// being it on destruction. Without a manager, writers find GetManager() null
// and write nothing. Entries are kept in order and, when a sink is given,
// also passed to it as they come. Safe to call from any thread; the sink is
// called under the manager's lock, so entries reach it one at a time.
class MIRELAN_EXPORT XSessionLogManager {
 public:
  using Sink = std::function<void(const XSessionLogEntry& inEntry)>;

  // Precondition: no other manager exists.
  explicit XSessionLogManager(Sink inSink = Sink());
  virtual ~XSessionLogManager();
  XSessionLogManager(const XSessionLogManager&) = delete;
  XSessionLogManager& operator=(const XSessionLogManager&) = delete;

  // The process's manager, or null.
  static XSessionLogManager* GetManager();

  virtual void AddEntry(const XSessionLogEntry& inEntry);
  XVector<XSessionLogEntry> GetEntries() const;
  void ClearEntries();

 private:
  mutable std::mutex itsMutex;
  XVector<XSessionLogEntry> itsEntries;
  Sink itsSink;
};

}  // namespace mirelan
