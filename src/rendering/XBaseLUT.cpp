#include "rendering/XBaseLUT.h"

#include "core/XException.h"

namespace mirelan {

XBaseLUT::XBaseLUT(UInt32 inSize, UInt32 inEntryBytes)
    : itsData(new XMemoryHandle(UInt64(inSize) * inEntryBytes)), itsLastEntry(inSize - 1) {}

XBaseLUT::XBaseLUT(const XBaseLUT& inOther)
    : XLockable(inOther), itsData(new XMemoryHandle(*inOther.itsData)), itsLastEntry(inOther.itsLastEntry) {}

XBaseLUT::~XBaseLUT() = default;

void XBaseLUT::LockSelf(XLockMode inMode) {
  std::lock_guard<std::mutex> guard(itsLockMutex);
  itsData->LockSelf(inMode);
  itsDataPointer = itsData->GetData();
  ++itsLockCount;
}

void XBaseLUT::UnlockSelf(XLockMode inMode) {
  std::lock_guard<std::mutex> guard(itsLockMutex);
  XAssert(itsLockCount > 0);
  itsData->UnlockSelf(inMode);
  // A stale pointer must not outlive the last lock.
  if (--itsLockCount == 0) itsDataPointer = nullptr;
}

UInt64 XBaseLUT::GetDataSize() const { return itsData->GetDataSize(); }

void XBaseLUT::AdoptData(std::unique_ptr<XMemoryHandle> inData, UInt32 inSize) {
  std::lock_guard<std::mutex> guard(itsLockMutex);
  XAssert(itsLockCount == 0);  // not while locked
  itsData = std::move(inData);
  itsLastEntry = inSize - 1;
}

}  // namespace mirelan
