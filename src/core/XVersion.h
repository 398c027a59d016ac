// Class identity of storable objects: a 32-bit word, low half the class id,
// high half the class's version.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XVersion {
 public:
  constexpr XVersion() : itsValue(0) {}
  constexpr XVersion(UInt32 inPacked) : itsValue(inPacked) {}  // NOLINT: packed words convert freely
  constexpr XVersion(UInt16 inClassID, UInt16 inVersion)
      : itsValue(static_cast<UInt32>(inClassID) | (static_cast<UInt32>(inVersion) << 16)) {}

  constexpr UInt16 GetClassID() const { return static_cast<UInt16>(itsValue & 0xFFFF); }
  constexpr UInt16 GetClassVersion() const { return static_cast<UInt16>(itsValue >> 16); }
  constexpr UInt32 GetValue() const { return itsValue; }
  constexpr bool IsNull() const { return itsValue == 0; }

  // True when this class id equals inBase's or descends from it through the
  // registry's aliases and inheritance; versions play no part.
  bool IsA(const XVersion& inBase) const;

  constexpr bool operator==(const XVersion& inOther) const { return itsValue == inOther.itsValue; }
  constexpr bool operator!=(const XVersion& inOther) const { return itsValue != inOther.itsValue; }

 private:
  UInt32 itsValue;
};

// Run-time type test of the library's objects.
class MIRELAN_EXPORT XVersioned {
 public:
  virtual ~XVersioned() = default;
  virtual XVersion GetVersion() const = 0;
  bool IsA(const XVersion& inBase) const { return GetVersion().IsA(inBase); }
  bool IsA(const XVersioned& inOther) const { return GetVersion().IsA(inOther.GetVersion()); }
};

}  // namespace mirelan
