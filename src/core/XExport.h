// The library's exported interface. It is built with hidden symbols; what a
// host may call carries MIRELAN_EXPORT.
#pragma once

#if defined(__GNUC__)
#define MIRELAN_EXPORT __attribute__((visibility("default")))
#else
#define MIRELAN_EXPORT
#endif
