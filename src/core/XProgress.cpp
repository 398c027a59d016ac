#include "core/XProgress.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>

#include "core/XException.h"
#include "core/XThread.h"
#include "core/XTime.h"

namespace mirelan {

namespace {

std::atomic<bool> sHasSink{false};
// Lock-free, so that a signal handler may set it.
std::atomic<bool> sCancelRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the cancel request must be safe in a signal handler");
std::atomic<UInt32> sIntervalLimit{XProgress::kNoIntervalLimit};

// Guards the sink's slot only; a sink may install another sink.
std::mutex& SinkSlotMutex() {
  static std::mutex sMutex;
  return sMutex;
}
std::shared_ptr<const XProgress::Sink>& SinkSlot() {
  static std::shared_ptr<const XProgress::Sink> sSink;
  return sSink;
}
// Serialises the calls; recursive so that a sink may itself make a report.
std::recursive_mutex& SinkCallMutex() {
  static std::recursive_mutex sMutex;
  return sMutex;
}

thread_local XProgress* sCurrent = nullptr;
thread_local bool sCancelPending = false;

std::shared_ptr<const XProgress::Sink> GetSink() {
  std::lock_guard<std::mutex> guard(SinkSlotMutex());
  return SinkSlot();
}

}  // namespace

XProgress::XProgress(UInt64 inTotal, XProgressType inType, UInt32 inInterval, bool)
    : itsTotal(inTotal),
      itsPosition(0),
      itsIntervalMicroseconds(UInt64(std::min(inInterval, sIntervalLimit.load(std::memory_order_relaxed))) * 1000),
      itsNextReport(GetMicroSecondTime() + itsIntervalMicroseconds),
      itsParent(sCurrent),
      itsType(inType),
      itsShown(false),
      itsUncaughtExceptions(std::uncaught_exceptions()) {
  sCurrent = this;
}

XProgress::XProgress(UInt64 inTotal, const char* inMessage, XProgressType inType,
                     UInt32 inInterval, bool inFlag)
    : XProgress(inTotal, inType, inInterval, inFlag) {
  if (inMessage) itsMessage = inMessage;
}

XProgress::~XProgress() {
  sCurrent = itsParent;
  const bool cancelled = sCancelPending;
  if (!itsParent) sCancelPending = false;  // the cancel has reached the top
  // Work that was cancelled or failed did not complete: no closing report for it.
  if (!itsShown || cancelled || std::uncaught_exceptions() > itsUncaughtExceptions ||
      !sHasSink.load(std::memory_order_relaxed))
    return;
  try {
    if (auto sink = GetSink()) {
      std::lock_guard<std::recursive_mutex> guard(SinkCallMutex());
      (*sink)(itsTotal, itsTotal, itsMessage);  // the answer comes too late to matter
    }
  } catch (...) {
    // A destructor must not throw; the closing report is a courtesy.
  }
}

void XProgress::Increment(UInt64 inBy) {
  itsPosition += inBy;
  Poll();
}

void XProgress::SetProgress(UInt64 inPosition) {
  itsPosition = inPosition;
  Poll();
}

void XProgress::YieldAndCheckAbort() { Poll(); }

void XProgress::Poll() {
  XThread::TestCancelCurrentThread();
  if (sCancelPending) throw XException(kErrCancelled);
  if (sCancelRequested.load(std::memory_order_relaxed)) {
    sCancelPending = true;
    throw XException(kErrCancelled);
  }
  if (itsType == kProgressSilent || !sHasSink.load(std::memory_order_relaxed)) return;
  UInt64 now = GetMicroSecondTime();
  if (now >= itsNextReport) Report(now);
}

void XProgress::Report(UInt64 inNow) {
  itsNextReport = inNow + itsIntervalMicroseconds;
  auto sink = GetSink();
  if (!sink) return;

  const XString* message = &itsMessage;
  for (const XProgress* p = itsParent; message->empty() && p; p = p->itsParent)
    message = &p->itsMessage;
  UInt64 position = itsTotal != 0 && itsPosition > itsTotal ? itsTotal : itsPosition;

  bool goOn;
  {
    std::lock_guard<std::recursive_mutex> guard(SinkCallMutex());
    goOn = (*sink)(itsTotal, position, *message);
  }
  itsShown = true;
  if (!goOn) {
    sCancelPending = true;
    throw XException(kErrCancelled);
  }
}

XProgress::Sink XProgress::SetSink(Sink inSink) {
  auto next = inSink ? std::make_shared<const Sink>(std::move(inSink)) : nullptr;
  std::shared_ptr<const Sink> previous;
  {
    std::lock_guard<std::mutex> guard(SinkSlotMutex());
    previous = SinkSlot();
    SinkSlot() = next;
    sHasSink.store(next != nullptr);
  }
  return previous ? *previous : Sink();
}

bool XProgress::HasSink() { return sHasSink.load(); }

void XProgress::SetIntervalLimit(UInt32 inMilliseconds) { sIntervalLimit.store(inMilliseconds); }
UInt32 XProgress::GetIntervalLimit() { return sIntervalLimit.load(); }

void XProgress::RequestCancel() { sCancelRequested.store(true, std::memory_order_relaxed); }
void XProgress::ClearCancelRequest() { sCancelRequested.store(false, std::memory_order_relaxed); }
bool XProgress::IsCancelRequested() { return sCancelRequested.load(std::memory_order_relaxed); }

XProgress* XProgress::GetCurrent() { return sCurrent; }

}  // namespace mirelan
