#include "Render.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/XException.h"
#include "core/XProgress.h"
#include "volume/XColourVolumes.h"

namespace mirelan::cli {

namespace {

struct XRGB {
  UInt8 r, g, b;
};

XRGB ParseColour(const std::string& inName) {
  static const std::pair<const char*, XRGB> kNamed[] = {
      {"grey", {255, 255, 255}}, {"gray", {255, 255, 255}}, {"white", {255, 255, 255}}, {"red", {255, 0, 0}},
      {"green", {0, 255, 0}},    {"blue", {0, 0, 255}},     {"cyan", {0, 255, 255}},    {"magenta", {255, 0, 255}},
      {"yellow", {255, 255, 0}}};
  for (const auto& [name, rgb] : kNamed)
    if (inName == name) return rgb;
  unsigned value = 0;
  if (inName.size() == 7 && inName[0] == '#' && std::sscanf(inName.c_str() + 1, "%6x", &value) == 1)
    return XRGB{UInt8(value >> 16), UInt8(value >> 8), UInt8(value)};
  throw XException(kErrUnsupportedImage, "unknown colour '" + inName + "' (a name such as green, or #RRGGBB)");
}

// The colours a channel count gets when none are asked for.
std::string DefaultColour(size_t inIndex, size_t inCount) {
  if (inCount == 1) return "grey";
  static const char* kTwo[] = {"green", "magenta"};
  static const char* kMany[] = {"red", "green", "blue", "cyan", "magenta", "yellow"};
  return inCount == 2 ? kTwo[inIndex] : kMany[inIndex % 6];
}

// The plane, or the maximum along z, of one component as numbers, row by row.
template <class T, class Get>
bool PlaneValues(const XVolume& inVolume, const XRenderOptions& inOptions, UInt32 inPlane, Get inGet,
                 std::vector<Float64>& outValues) {
  const auto* packed = dynamic_cast<const XPackedVolume<T>*>(&inVolume);
  if (!packed) return false;
  const X3DRect& b = packed->GetBounds();
  const UInt32 width = packed->GetWidth(), height = packed->GetHeight();
  outValues.assign(UInt64(width) * height, -INFINITY);
  XLock lock(*packed, kLockRead);
  const SInt32 first = inOptions.itsMaximumProjection ? b.front : b.front + SInt32(inPlane);
  const SInt32 last = inOptions.itsMaximumProjection ? b.back : first + 1;
  for (SInt32 z = first; z < last; ++z)
    for (UInt32 y = 0; y < height; ++y) {
      const T* row = packed->GetVoxelPtr(b.left, b.top + SInt32(y), z);
      Float64* out = &outValues[UInt64(y) * width];
      for (UInt32 x = 0; x < width; ++x) out[x] = std::max(out[x], Float64(inGet(row[x])));
    }
  return true;
}

std::vector<Float64> ComponentValues(const XVolume& inVolume, const XRenderOptions& inOptions, UInt32 inPlane,
                                     int inComponent) {
  std::vector<Float64> values;
  auto grey = [](auto v) { return v; };
  auto part = [inComponent](const auto& c) { return inComponent == 0 ? c.red : inComponent == 1 ? c.green : c.blue; };
  PlaneValues<UInt8>(inVolume, inOptions, inPlane, grey, values) ||
      PlaneValues<UInt16>(inVolume, inOptions, inPlane, grey, values) ||
      PlaneValues<UInt32>(inVolume, inOptions, inPlane, grey, values) ||
      PlaneValues<Float32>(inVolume, inOptions, inPlane, grey, values) ||
      PlaneValues<XARGB32Colour>(inVolume, inOptions, inPlane, part, values) ||
      PlaneValues<XBGRA32Colour>(inVolume, inOptions, inPlane, part, values) ||
      PlaneValues<XRGB48Colour>(inVolume, inOptions, inPlane, part, values);
  return values;
}

// The value below which inFraction of the values lie.
Float64 Percentile(std::vector<Float64> inValues, Float64 inFraction) {
  if (inValues.empty()) return 0.0;
  const size_t at = std::min(inValues.size() - 1, size_t(inFraction * Float64(inValues.size() - 1) + 0.5));
  std::nth_element(inValues.begin(), inValues.begin() + at, inValues.end());
  return inValues[at];
}

Float64 Pick(const std::vector<Float64>& inList, size_t inIndex, Float64 inDefault) {
  if (inList.empty()) return inDefault;
  return inIndex < inList.size() ? inList[inIndex] : inList.back();
}

// Adds the mapped component into the picture with the colour's weights.
void AddMapped(const std::vector<Float64>& inValues, Float64 inBlack, Float64 inWhite, Float64 inGamma, XRGB inColour,
               XARGB32Volume& ioPicture) {
  XLock lock(ioPicture, kLockReadWrite);
  XARGB32Colour* out = ioPicture.GetBaseVoxelPtr();
  const Float64 range = inWhite - inBlack;
  for (size_t i = 0; i < inValues.size(); ++i) {
    Float64 level = range > 0 ? (inValues[i] - inBlack) / range : (inValues[i] >= inWhite ? 1.0 : 0.0);
    level = std::clamp(level, 0.0, 1.0);
    const UInt32 byte = UInt32(std::pow(level, inGamma) * 255.0);
    out[i].red = UInt8(std::min<UInt32>(255, out[i].red + inColour.r * byte / 255));
    out[i].green = UInt8(std::min<UInt32>(255, out[i].green + inColour.g * byte / 255));
    out[i].blue = UInt8(std::min<UInt32>(255, out[i].blue + inColour.b * byte / 255));
  }
}

bool IsColour(const XVolume& inVolume) {
  const XPixelType type = XPixelTypeOf(inVolume);
  return type == XPixelType::kARGB32 || type == XPixelType::kBGRA32 || type == XPixelType::kRGB48;
}

}  // namespace

std::unique_ptr<XARGB32Volume> RenderStack(const XImageStack& inStack, const XRenderOptions& inOptions,
                                           std::vector<XChannelLevels>* outLevels) {
  const XVolume& first = inStack.GetFirstVolume();
  if (inOptions.itsTimepoint < 1 || inOptions.itsTimepoint > inStack.GetTimepointCount())
    throw XException(kErrUnsupportedImage, "timepoint " + std::to_string(inOptions.itsTimepoint) + " is not in the stack");
  const UInt32 plane = inOptions.itsPlane.value_or(first.GetDepth() / 2);
  if (plane >= first.GetDepth())
    throw XException(kErrUnsupportedImage, "plane " + std::to_string(plane) + " is not in the stack (planes 0 to " +
                                               std::to_string(first.GetDepth() - 1) + ")");
  std::vector<UInt32> channels = inOptions.itsChannels;
  if (channels.empty())
    for (UInt32 c = 1; c <= inStack.GetChannelCount(); ++c) channels.push_back(c);
  for (UInt32 c : channels)
    if (c < 1 || c > inStack.GetChannelCount())
      throw XException(kErrUnsupportedImage, "channel " + std::to_string(c) + " is not in the stack");

  auto picture = std::make_unique<XARGB32Volume>(first.GetWidth(), first.GetHeight(), 1);
  picture->Fill(XARGB32Colour(255, 0, 0, 0));
  XProgress progress(channels.size(), "rendering", kProgressStandard, 500, false);
  for (size_t i = 0; i < channels.size(); ++i) {
    const XVolume& volume = inStack.GetVolume(inOptions.itsTimepoint, channels[i]);
    const bool colour = IsColour(volume);
    const std::string colourName = i < inOptions.itsColours.size() ? inOptions.itsColours[i]
                                                                     : (colour ? "grey" : DefaultColour(i, channels.size()));
    const XRGB weights = ParseColour(colourName);
    // Colour volumes show their own red, green and blue.
    const int components = colour ? 3 : 1;
    std::vector<std::vector<Float64>> values;
    for (int k = 0; k < components; ++k) values.push_back(ComponentValues(volume, inOptions, plane, k));
    std::vector<Float64> all;
    for (const auto& v : values) all.insert(all.end(), v.begin(), v.end());
    const Float64 black = Pick(inOptions.itsBlack, i, Percentile(all, 0.0005));
    const Float64 white = Pick(inOptions.itsWhite, i, Percentile(all, 0.9995));
    for (int k = 0; k < components; ++k) {
      XRGB tint = weights;
      if (colour) tint = XRGB{UInt8(k == 0 ? weights.r : 0), UInt8(k == 1 ? weights.g : 0), UInt8(k == 2 ? weights.b : 0)};
      AddMapped(values[k], black, white, inOptions.itsGamma, tint, *picture);
    }
    if (outLevels) outLevels->push_back({channels[i], black, white, colourName});
    progress.Increment();
  }
  return picture;
}

}  // namespace mirelan::cli
