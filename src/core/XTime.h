// Wall-clock instants and the monotonic microsecond clock.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// An instant as signed microseconds since 1970-01-01 00:00:00 UTC. A plain
// value: differences are microsecond counts, so durations need no type of their own.
class MIRELAN_EXPORT XTime {
 public:
  static constexpr SInt64 kOneMicrosecond = 1;
  static constexpr SInt64 kOneMillisecond = 1000;
  static constexpr SInt64 kOneSecond = 1000 * kOneMillisecond;
  static constexpr SInt64 kOneMinute = 60 * kOneSecond;
  static constexpr SInt64 kOneHour = 60 * kOneMinute;
  static constexpr SInt64 kOneDay = 24 * kOneHour;

  constexpr XTime() : itsMicroseconds(0) {}
  constexpr explicit XTime(SInt64 inMicroseconds) : itsMicroseconds(inMicroseconds) {}

  // The system clock now. It may jump (NTP, the user); measure durations with
  // GetMicroSecondTime or XTimer instead.
  static XTime Now();

  constexpr SInt64 GetMicroseconds() const { return itsMicroseconds; }
  constexpr void SetMicroseconds(SInt64 inMicroseconds) { itsMicroseconds = inMicroseconds; }
  constexpr Float64 GetSeconds() const { return static_cast<Float64>(itsMicroseconds) / kOneSecond; }

  // UTC in ISO 8601 with microseconds, e.g. "2024-03-01T12:00:00.000250Z".
  XString ToISO8601() const;

  constexpr XTime& operator+=(SInt64 inMicroseconds) {
    itsMicroseconds += inMicroseconds;
    return *this;
  }
  constexpr XTime& operator-=(SInt64 inMicroseconds) {
    itsMicroseconds -= inMicroseconds;
    return *this;
  }

  friend constexpr XTime operator+(XTime inTime, SInt64 inMicroseconds) {
    return XTime(inTime.itsMicroseconds + inMicroseconds);
  }
  friend constexpr XTime operator-(XTime inTime, SInt64 inMicroseconds) {
    return XTime(inTime.itsMicroseconds - inMicroseconds);
  }
  friend constexpr SInt64 operator-(XTime inA, XTime inB) {
    return inA.itsMicroseconds - inB.itsMicroseconds;
  }

  friend constexpr bool operator==(XTime inA, XTime inB) { return inA.itsMicroseconds == inB.itsMicroseconds; }
  friend constexpr bool operator!=(XTime inA, XTime inB) { return inA.itsMicroseconds != inB.itsMicroseconds; }
  friend constexpr bool operator<(XTime inA, XTime inB) { return inA.itsMicroseconds < inB.itsMicroseconds; }
  friend constexpr bool operator<=(XTime inA, XTime inB) { return inA.itsMicroseconds <= inB.itsMicroseconds; }
  friend constexpr bool operator>(XTime inA, XTime inB) { return inA.itsMicroseconds > inB.itsMicroseconds; }
  friend constexpr bool operator>=(XTime inA, XTime inB) { return inA.itsMicroseconds >= inB.itsMicroseconds; }

 private:
  SInt64 itsMicroseconds;
};

// A monotonic clock in microseconds from an arbitrary origin: never goes back,
// unaffected by changes of the system time. For durations and rate limits.
MIRELAN_EXPORT UInt64 GetMicroSecondTime();

}  // namespace mirelan
