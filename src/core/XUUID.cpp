#include "core/XUUID.h"

#include <cstdio>
#include <random>

namespace mirelan {

XUUID XUUID::Generate() {
  thread_local std::mt19937_64 sEngine{std::random_device{}()};
  std::array<UInt8, 16> bytes;
  for (int i = 0; i < 16; i += 8) {
    UInt64 r = sEngine();
    for (int j = 0; j < 8; ++j) bytes[i + j] = static_cast<UInt8>(r >> (8 * j));
  }
  bytes[6] = static_cast<UInt8>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<UInt8>((bytes[8] & 0x3F) | 0x80);
  return XUUID(bytes);
}

bool XUUID::IsNull() const {
  for (UInt8 b : itsBytes)
    if (b) return false;
  return true;
}

XString XUUID::ToString() const {
  char text[37];
  char* p = text;
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) *p++ = '-';
    std::snprintf(p, 3, "%02x", itsBytes[i]);
    p += 2;
  }
  return XString(text, 36);
}

}  // namespace mirelan
