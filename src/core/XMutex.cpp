#include "core/XMutex.h"

#include <chrono>
#include <thread>

#include "core/XException.h"

namespace mirelan {

XMutex::XMutex(SInt32 inSpinCount, bool) : itsSpinCount(inSpinCount < 0 ? 0 : inSpinCount) {}

bool XMutex::Lock(SInt32 inTimeout, bool) {
  if (itsMutex.try_lock()) return true;
  if (inTimeout == 0) return false;
  // Spin only where another core may be about to release the lock.
  static const bool sMultiCore = std::thread::hardware_concurrency() > 1;
  if (sMultiCore) {
    for (SInt32 i = 0; i < itsSpinCount; ++i) {
      if (itsMutex.try_lock()) return true;
    }
  }
  if (inTimeout < 0) {
    itsMutex.lock();
    return true;
  }
  return itsMutex.try_lock_for(std::chrono::milliseconds(inTimeout));
}

bool XRWMutex::Lock(XRWLockMode inMode, SInt32 inTimeout) {
  XAssert(inMode == kRWLockRead || inMode == kRWLockWrite);
  if (inMode == kRWLockRead) {
    if (inTimeout < 0) {
      itsMutex.lock_shared();
      return true;
    }
    return itsMutex.try_lock_shared_for(std::chrono::milliseconds(inTimeout));
  }
  if (inTimeout < 0) {
    itsMutex.lock();
    return true;
  }
  return itsMutex.try_lock_for(std::chrono::milliseconds(inTimeout));
}

void XRWMutex::Unlock(XRWLockMode inMode) {
  XAssert(inMode == kRWLockRead || inMode == kRWLockWrite);
  if (inMode == kRWLockRead)
    itsMutex.unlock_shared();
  else
    itsMutex.unlock();
}

void XConditionVariable::Signal() {
  {
    std::lock_guard<std::mutex> guard(itsMutex);
    itsSignalled = true;
  }
  itsCondition.notify_one();
}

bool XConditionVariable::SleepForInputOrSignal(SInt32 inTimeout) {
  std::unique_lock<std::mutex> lock(itsMutex);
  auto signalled = [this] { return itsSignalled; };
  if (inTimeout < 0) {
    itsCondition.wait(lock, signalled);
  } else if (!itsCondition.wait_for(lock, std::chrono::milliseconds(inTimeout), signalled)) {
    return false;
  }
  itsSignalled = false;
  return true;
}

void XConditionVariable::Reset() {
  std::lock_guard<std::mutex> guard(itsMutex);
  itsSignalled = false;
}

}  // namespace mirelan
