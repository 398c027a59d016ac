#include "core/XTime.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace mirelan {

XTime XTime::Now() {
  using namespace std::chrono;
  return XTime(duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

XString XTime::ToISO8601() const {
  // Floor division so that instants before 1970 keep a positive fraction.
  SInt64 seconds = itsMicroseconds / kOneSecond;
  SInt64 fraction = itsMicroseconds % kOneSecond;
  if (fraction < 0) {
    fraction += kOneSecond;
    --seconds;
  }
  std::time_t t = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (!gmtime_r(&t, &parts)) return XString();
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%06lldZ", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<long long>(fraction));
  return text;
}

UInt64 GetMicroSecondTime() {
  using namespace std::chrono;
  return static_cast<UInt64>(
      duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace mirelan
