// What the processor offers, read once from its feature bits: one of the
// services of the core layer (MirelanCore) that the imaging code builds on.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

// The feature word is the EDX register of CPUID leaf 1, so the values are the
// processor's own bits. Code that has paths for several instruction sets
// asks here once, at load, and keeps its choice.
class MIRELAN_EXPORT XIntelCPUInfo {
 public:
  enum : UInt32 {
    kFeatureMMX = 0x800000,
    kFeatureSSE = 0x2000000,
    kFeatureSSE2 = 0x4000000,
  };

  // The one description of this machine's processor.
  static const XIntelCPUInfo& GetInfo();

  // True when every bit of inFeature is set.
  bool HasFeature(UInt32 inFeature) const { return (itsFeatures & inFeature) == inFeature; }
  UInt32 GetFeatures() const { return itsFeatures; }
  // The twelve-character vendor name, e.g. "GenuineIntel"; empty if unknown.
  const XString& GetVendor() const { return itsVendor; }

 private:
  XIntelCPUInfo();

  UInt32 itsFeatures = 0;
  XString itsVendor;
};

}  // namespace mirelan
