// Turning a stack into a picture: one XY plane or the maximum projection of
// each chosen channel, mapped from black to white with a gamma onto the
// channel's colour, the channels added up.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "storage/XImageStack.h"
#include "volume/XARGB32Volume.h"

namespace mirelan::cli {

struct XRenderOptions {
  std::optional<UInt32> itsPlane;  // z from 0; the middle plane when unset
  bool itsMaximumProjection = false;
  UInt32 itsTimepoint = 1;
  std::vector<UInt32> itsChannels;  // from 1; all when empty
  // Per shown channel, or one for all; unset: from the data (0.05 % and 99.95 % of the values shown).
  std::vector<Float64> itsBlack;
  std::vector<Float64> itsWhite;
  Float64 itsGamma = 1.0;
  // Per shown channel: a name (grey, red, green, blue, cyan, magenta, yellow) or #RRGGBB.
  std::vector<std::string> itsColours;
};

// The levels the mapping uses for one channel, for reports.
struct XChannelLevels {
  UInt32 itsChannel;
  Float64 itsBlack;
  Float64 itsWhite;
  std::string itsColour;
};

// Throws XException 1021 for colours it cannot parse, 2500-style errors for
// a plane or channel out of range (as XException 1021 with the reason).
std::unique_ptr<XARGB32Volume> RenderStack(const XImageStack& inStack, const XRenderOptions& inOptions,
                                           std::vector<XChannelLevels>* outLevels = nullptr);

}  // namespace mirelan::cli
