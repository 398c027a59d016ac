// Entry of the library's storable classes into the class registry.
#pragma once

namespace mirelan {

// Called once by the host before it reads any stream; nothing in the library
// calls it. Registering twice is harmless.
void XRegisterImagingClasses();

}  // namespace mirelan
