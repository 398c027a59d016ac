// The memory of a look-up table: one block of entries, locked as a whole.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "core/XException.h"
#include "core/XExport.h"
#include "core/XLockable.h"
#include "core/XMemoryHandle.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XBaseLUT : public XLockable {
 public:
  ~XBaseLUT() override;

  // Locks the entries' block; the data pointer is valid until the matching unlock.
  void LockSelf(XLockMode inMode) override;
  void UnlockSelf(XLockMode inMode) override;

  virtual void MakeDefaultLUT() = 0;
  virtual void Blend(UInt32 inFrom, UInt32 inTo) = 0;
  virtual void Reverse(UInt32 inFrom, UInt32 inTo) = 0;
  // Bytes of the entries.
  virtual UInt64 GetDataSize() const;

  // Index of the last entry: the size minus one, 0xFFFFFFFF for an empty table.
  UInt32 GetLastEntry() const { return itsLastEntry; }
  UInt32 GetSize() const { return itsLastEntry + 1; }

  const XMemoryHandle& GetDataHandle() const { return *itsData; }

 protected:
  XBaseLUT(UInt32 inSize, UInt32 inEntryBytes);
  // Shares the source's block until one of the two is written.
  XBaseLUT(const XBaseLUT& inOther);
  XBaseLUT& operator=(const XBaseLUT&) = delete;

  // Replaces the block and the size together (used by readers and resizing copies).
  void AdoptData(std::unique_ptr<XMemoryHandle> inData, UInt32 inSize);
  UInt8* GetDataPointer() const {
    UInt8* data = itsDataPointer.load(std::memory_order_relaxed);
    XAssert(data != nullptr);  // the table must be locked
    return data;
  }

  std::unique_ptr<XMemoryHandle> itsData;
  UInt32 itsLastEntry;
  // Shared tables (the standard ones) are locked by readers on several
  // threads at once: the lock bookkeeping has a mutex of its own.
  std::mutex itsLockMutex;
  std::atomic<UInt8*> itsDataPointer{nullptr};
  UInt32 itsLockCount = 0;  // this table's own locks, not those of sharers
};

}  // namespace mirelan
