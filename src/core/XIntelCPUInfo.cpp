#include "core/XIntelCPUInfo.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace mirelan {

XIntelCPUInfo::XIntelCPUInfo() {
#if defined(__x86_64__) || defined(__i386__)
  unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
  if (__get_cpuid(0, &eax, &ebx, &ecx, &edx)) {
    char vendor[13];
    std::memcpy(vendor, &ebx, 4);
    std::memcpy(vendor + 4, &edx, 4);
    std::memcpy(vendor + 8, &ecx, 4);
    vendor[12] = '\0';
    itsVendor = vendor;
  }
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx)) itsFeatures = edx;
#endif
}

const XIntelCPUInfo& XIntelCPUInfo::GetInfo() {
  static const XIntelCPUInfo sInfo;
  return sInfo;
}

}  // namespace mirelan
