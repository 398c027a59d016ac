// One header for the three colour volume classes.
#pragma once

#include "volume/XColourVolumes.h"

namespace mirelan {

}  // namespace mirelan
