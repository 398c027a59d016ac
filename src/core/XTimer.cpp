#include "core/XTimer.h"

#include "core/XTime.h"

namespace mirelan {

XTimer::XTimer(UInt32 inInterval, SInt32 inMode)
    : itsStart(GetMicroSecondTime()),
      itsStop(0),
      itsIntervalMicroseconds(UInt64(inInterval) * 1000),
      itsMode(inMode),
      itsRunning(true) {}

void XTimer::Start() {
  itsStart = GetMicroSecondTime();
  itsRunning = true;
}

void XTimer::Stop() {
  if (!itsRunning) return;
  itsStop = GetMicroSecondTime();
  itsRunning = false;
}

UInt64 XTimer::GetElapsedMicroseconds() const {
  UInt64 end = itsRunning ? GetMicroSecondTime() : itsStop;
  return end - itsStart;
}

}  // namespace mirelan
