// A 16-byte universally unique identifier.
#pragma once

#include <array>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XUUID {
 public:
  XUUID() : itsBytes{} {}
  explicit XUUID(const std::array<UInt8, 16>& inBytes) : itsBytes(inBytes) {}

  // A new random (version 4) identifier.
  static XUUID Generate();

  const std::array<UInt8, 16>& GetBytes() const { return itsBytes; }
  bool IsNull() const;
  XString ToString() const;  // 8-4-4-4-12 lower-case hex

  bool operator==(const XUUID& inOther) const { return itsBytes == inOther.itsBytes; }
  bool operator!=(const XUUID& inOther) const { return itsBytes != inOther.itsBytes; }
  bool operator<(const XUUID& inOther) const { return itsBytes < inOther.itsBytes; }

 private:
  std::array<UInt8, 16> itsBytes;
};

}  // namespace mirelan
