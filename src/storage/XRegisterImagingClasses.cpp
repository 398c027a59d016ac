#include "storage/XRegisterImagingClasses.h"

#include "data/XRegisterDataClasses.h"
#include "storage/XJPEGStream.h"
#include "volume/XRegisterVolumeClasses.h"

namespace mirelan {

// Each link unit enters its own classes; this is the one call that reaches
// them all, so it lives in the top unit.
void XRegisterImagingClasses() {
  XRegisterVolumeClasses();
  XRegisterDataClasses();
  XJPEGStream::InstallLossyVolumeCodec();
}

}  // namespace mirelan
