// Locks and a wake-up signal for the library's few threads.
#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// A recursive mutex: the thread that holds it may lock it again, and must
// unlock it as often. Timeouts are in milliseconds; -1 waits for ever, 0 only tries.
// Before blocking, Lock tries up to the spin count times, which pays off for the
// short sections this library guards. The flag arguments are kept for callers
// and have no effect.
class MIRELAN_EXPORT XMutex {
 public:
  explicit XMutex(SInt32 inSpinCount = 4000, bool inFlag = false);
  XMutex(const XMutex&) = delete;
  XMutex& operator=(const XMutex&) = delete;

  // True when the lock is held.
  bool Lock(SInt32 inTimeout = -1, bool inFlag = false);
  bool TryLock() { return itsMutex.try_lock(); }
  void Unlock() { itsMutex.unlock(); }

 private:
  std::recursive_timed_mutex itsMutex;
  SInt32 itsSpinCount;
};

// Holds an XMutex for its scope. A null mutex is allowed and locks nothing.
class MIRELAN_EXPORT XThreadLock {
 public:
  explicit XThreadLock(XMutex& inMutex) : itsMutex(&inMutex) { itsMutex->Lock(); }
  explicit XThreadLock(XMutex* inMutex) : itsMutex(inMutex) {
    if (itsMutex) itsMutex->Lock();
  }
  ~XThreadLock() {
    if (itsMutex) itsMutex->Unlock();
  }
  XThreadLock(const XThreadLock&) = delete;
  XThreadLock& operator=(const XThreadLock&) = delete;

 private:
  XMutex* itsMutex;
};

// Value 0 is the shared mode, as callers that pass plain numbers expect.
enum XRWLockMode : SInt32 {
  kRWLockRead = 0,   // shared with other readers
  kRWLockWrite = 1,  // exclusive
};

// Many readers or one writer. Not recursive: a thread must not take it twice.
class MIRELAN_EXPORT XRWMutex {
 public:
  XRWMutex() = default;
  XRWMutex(const XRWMutex&) = delete;
  XRWMutex& operator=(const XRWMutex&) = delete;

  // True when the lock is held; the timeout is in milliseconds, -1 for ever.
  bool Lock(XRWLockMode inMode, SInt32 inTimeout = -1);
  void Unlock(XRWLockMode inMode);

 private:
  std::shared_timed_mutex itsMutex;
};

// Holds an XRWMutex in one mode for its scope.
class MIRELAN_EXPORT XRWLock {
 public:
  XRWLock(XRWMutex& inMutex, XRWLockMode inMode) : itsMutex(inMutex), itsMode(inMode) {
    itsMutex.Lock(itsMode);
  }
  ~XRWLock() { itsMutex.Unlock(itsMode); }
  XRWLock(const XRWLock&) = delete;
  XRWLock& operator=(const XRWLock&) = delete;

 private:
  XRWMutex& itsMutex;
  XRWLockMode itsMode;
};

// A wake-up signal that is not lost: Signal before anyone sleeps is kept, and
// the next sleeper returns at once. Each Signal wakes one sleeper (auto-reset).
class MIRELAN_EXPORT XConditionVariable {
 public:
  XConditionVariable() = default;
  XConditionVariable(const XConditionVariable&) = delete;
  XConditionVariable& operator=(const XConditionVariable&) = delete;

  void Signal();
  // Sleeps until signalled or the timeout (ms, -1 for ever) passes; true when signalled.
  bool SleepForInputOrSignal(SInt32 inTimeout = -1);
  // Forgets a pending signal.
  void Reset();

 private:
  std::mutex itsMutex;
  std::condition_variable itsCondition;
  bool itsSignalled = false;
};

}  // namespace mirelan
