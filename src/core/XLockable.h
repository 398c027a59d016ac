// Objects whose data is pinned by counted locks and may be supplied on the
// first lock by a data fetcher.
#pragma once

#include <atomic>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// 1 read and write, 2 read only, 3 write with the old content of no interest.
enum XLockMode : UInt8 { kLockReadWrite = 1, kLockRead = 2, kLockWrite = 3 };

inline bool IsWriteLock(XLockMode inMode) { return inMode != kLockRead; }

class XLockable;

// Supplies a lockable's data when it is first locked. Shared by the
// lockables it serves and deleted with its last client.
class MIRELAN_EXPORT XDataFetcher {
 public:
  virtual ~XDataFetcher() = default;
  // Puts the data into ioTarget; false when it cannot.
  virtual bool LoadDataSelf(XLockable& ioTarget) = 0;
  virtual void AddClient() { ++itsClients; }
  virtual void RemoveClient() {
    if (--itsClients == 0) delete this;
  }

 private:
  std::atomic<UInt32> itsClients{0};
};

class MIRELAN_EXPORT XLockable {
 public:
  XLockable() = default;
  XLockable(const XLockable& inOther);
  XLockable& operator=(const XLockable& inOther);
  virtual ~XLockable();

  // Attaches a fetcher (null detaches); the lockable becomes one of its clients.
  virtual void SetDataFetcher(XDataFetcher* inFetcher);
  XDataFetcher* GetDataFetcher() const { return itsFetcher; }
  // Asks the fetcher for the data; false when there is none or it failed.
  virtual bool FetchData();
  virtual void LockSelf(XLockMode inMode) = 0;
  virtual void UnlockSelf(XLockMode inMode) = 0;

 protected:
  void Lock(XLockMode inMode) const { LockFor(*this, inMode); }
  void Unlock(XLockMode inMode) const { UnlockFor(*this, inMode); }
  // Locks are logically const: they pin data, they do not change its value.
  static void LockFor(const XLockable& inLockable, XLockMode inMode) {
    const_cast<XLockable&>(inLockable).LockSelf(inMode);
  }
  static void UnlockFor(const XLockable& inLockable, XLockMode inMode) {
    const_cast<XLockable&>(inLockable).UnlockSelf(inMode);
  }

  friend class XLock;

 private:
  XDataFetcher* itsFetcher = nullptr;
};

// Scoped lock.
class MIRELAN_EXPORT XLock {
 public:
  XLock(const XLockable& inLockable, XLockMode inMode) : itsLockable(inLockable), itsMode(inMode) {
    XLockable::LockFor(itsLockable, itsMode);
  }
  ~XLock() { XLockable::UnlockFor(itsLockable, itsMode); }
  XLock(const XLock&) = delete;
  XLock& operator=(const XLock&) = delete;

 private:
  const XLockable& itsLockable;
  XLockMode itsMode;
};

}  // namespace mirelan
