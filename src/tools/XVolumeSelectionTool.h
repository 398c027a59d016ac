// A tool object with no parameters and no operation of its own. Hosts keep
// it as the "selection" entry of their tool lists; it stays so that their
// code and stored tool choices go on naming it.
#pragma once

#include "core/XExport.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeSelectionTool {
 public:
  XVolumeSelectionTool() = default;
  XVolumeSelectionTool(const XVolumeSelectionTool&) = default;
  XVolumeSelectionTool& operator=(const XVolumeSelectionTool&) = default;
  virtual ~XVolumeSelectionTool() = default;
};

}  // namespace mirelan
