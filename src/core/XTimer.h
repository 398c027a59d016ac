// A duration timer with an interval, for rate limits in long loops.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// Runs on the monotonic clock with microsecond resolution. The timer starts on
// construction; Start restarts it, Stop freezes the elapsed time.
//
// The usual loop:
//   XTimer timer(300, 0);
//   for (each row) { ...; if (timer.HasElapsed()) { progress.SetProgress(rows); timer.Start(); } }
//
// The mode is kept for callers and has no effect: every mode measures the same
// way. Use GetElapsedMicroseconds where milliseconds are too coarse.
class MIRELAN_EXPORT XTimer {
 public:
  explicit XTimer(UInt32 inInterval = 300, SInt32 inMode = 0);

  void Start();
  void Stop();
  bool IsRunning() const { return itsRunning; }

  // Milliseconds since the last Start, up to Stop if stopped.
  UInt64 GetElapsedTime() const { return GetElapsedMicroseconds() / 1000; }
  UInt64 GetElapsedMicroseconds() const;

  // True once the interval (milliseconds) has passed since the last Start.
  // Reads the clock only: cheap enough for every row of a volume.
  bool HasElapsed() const { return GetElapsedMicroseconds() >= itsIntervalMicroseconds; }

  UInt32 GetInterval() const { return static_cast<UInt32>(itsIntervalMicroseconds / 1000); }
  void SetInterval(UInt32 inInterval) { itsIntervalMicroseconds = UInt64(inInterval) * 1000; }
  SInt32 GetMode() const { return itsMode; }

 private:
  UInt64 itsStart;
  UInt64 itsStop;
  UInt64 itsIntervalMicroseconds;
  SInt32 itsMode;
  bool itsRunning;
};

}  // namespace mirelan
