// Scoped progress reports, and the sink through which a host shows them and cancels.
#pragma once

#include <functional>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

enum XProgressType : SInt32 {
  kProgressSilent = 0,    // counts and honours cancels, never calls the sink
  kProgressStandard = 3,  // reports through the sink; what the library's tools use
};

// A report of one piece of work on the calling thread, alive for a scope.
//
// The host installs one process-wide sink. Calls to it are rate-limited per
// report by the interval (ms): the first comes when the interval has passed
// since construction, so quick work shows nothing. A report that has called
// the sink calls it once more when it ends normally, with the position at the
// total (not when it ends by an exception or a cancel).
// Calls are serialised: the sink never runs on two threads at once. When the
// sink returns false, the calling report throws XException(kErrCancelled) and
// so does every other report on that thread until the outermost one ends.
//
// Nesting: reports on one thread form a stack, and each is shown on its own;
// the sink sees the numbers of whichever report is calling, with its message,
// or the message of the nearest enclosing report when it has none. A total of
// 0 means "unknown".
//
// Every Increment, SetProgress and YieldAndCheckAbort also calls
// XThread::TestCancelCurrentThread, so a stopped worker leaves by the same
// exception. Without a sink, and between reports, the calls cost a clock read.
class MIRELAN_EXPORT XProgress {
 public:
  // Returns false to ask for a cancel.
  using Sink = std::function<bool(UInt64 inTotal, UInt64 inPosition, const XString& inMessage)>;

  // The flag is kept for callers and has no effect.
  explicit XProgress(UInt64 inTotal, XProgressType inType = kProgressStandard,
                     UInt32 inInterval = 2000, bool inFlag = false);
  // The same with a first message; null for none.
  XProgress(UInt64 inTotal, const char* inMessage, XProgressType inType, UInt32 inInterval,
            bool inFlag);
  ~XProgress();
  XProgress(const XProgress&) = delete;
  XProgress& operator=(const XProgress&) = delete;

  void Increment(UInt64 inBy = 1);
  void SetProgress(UInt64 inPosition);
  // Gives the sink its turn (when due) and checks for a cancel, without moving.
  void YieldAndCheckAbort();

  UInt64 GetProgress() const { return itsPosition; }
  UInt64 GetTotal() const { return itsTotal; }
  void SetTotal(UInt64 inTotal) { itsTotal = inTotal; }
  // Shown from the next call of the sink on.
  void SetMessage(const XString& inMessage) { itsMessage = inMessage; }
  const XString& GetMessage() const { return itsMessage; }

  // A cancel from outside the reports (a Ctrl-C): every report on every
  // thread throws XException(kErrCancelled) at its next call, sink or not,
  // until the request is cleared. Safe to call from a signal handler.
  static void RequestCancel();
  static void ClearCancelRequest();
  static bool IsCancelRequested();

  // Caps the interval of every report made from now on, whatever its tool
  // asked for: a host that shows livelier progress (a scripting console)
  // lowers it; 0 calls the sink at every step. kNoIntervalLimit lifts the cap.
  static constexpr UInt32 kNoIntervalLimit = 0xFFFFFFFFu;
  static void SetIntervalLimit(UInt32 inMilliseconds);
  static UInt32 GetIntervalLimit();

  // Installs the sink (an empty one for none) and returns the previous one.
  static Sink SetSink(Sink inSink);
  static bool HasSink();
  // The innermost report on the calling thread, or null.
  static XProgress* GetCurrent();

 private:
  void Poll();
  void Report(UInt64 inNow);

  UInt64 itsTotal;
  UInt64 itsPosition;
  UInt64 itsIntervalMicroseconds;
  UInt64 itsNextReport;  // on the monotonic clock
  XString itsMessage;
  XProgress* itsParent;
  XProgressType itsType;
  bool itsShown;
  int itsUncaughtExceptions;  // at construction, to tell unwinding from a normal end
};

}  // namespace mirelan
