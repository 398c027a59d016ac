// The base of scan helpers that need no set-up and no finish.
#pragma once

namespace mirelan {

// Empty set-up and finish, for helpers that need neither.
struct XScanHelperBase {
  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void FinishedScanning(V&) {}
};

}  // namespace mirelan
