// Named palettes, each a new colour table.
#pragma once

#include "core/XExport.h"
#include "rendering/XIntToColourLUT.h"

namespace mirelan {

class MIRELAN_EXPORT XNiceColours {
 public:
  XNiceColours() = delete;

  // 18 opaque colours that stand apart on a dark ground, for telling objects apart.
  static XIntToColourLUT GetContrastingLUT();
  // The classic 256-colour system palette, from white to black.
  static XIntToColourLUT GetSystemColoursLUT();
  // 256 spectral colours from 380 nm in 1 nm steps, and white last.
  static XIntToColourLUT GetWavelengthLUT();
};

}  // namespace mirelan
