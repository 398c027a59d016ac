// The base of scan helpers that need no set-up and no finish.
#pragma once

#include "core/XExport.h"

namespace mirelan {

// Empty set-up and finish, for helpers that need neither.
struct MIRELAN_EXPORT XScanHelperBase {
  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void FinishedScanning(V&) {}
};

}  // namespace mirelan
