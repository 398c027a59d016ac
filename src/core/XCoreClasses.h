// Registration of the core's own storable classes.
#pragma once

namespace mirelan {

// Enters the core's classes (the memory handle, id 33) into the registry.
// Safe to call more than once.
void XRegisterCoreClasses();

}  // namespace mirelan
