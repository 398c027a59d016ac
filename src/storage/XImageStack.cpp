#include "storage/XImageStack.h"

#include "core/XException.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

const struct {
  XPixelType itsType;
  const char* itsName;
} kPixelTypes[] = {{XPixelType::kGrey8, "grey8"},   {XPixelType::kMask, "mask"},     {XPixelType::kGrey16, "grey16"},
                   {XPixelType::kGrey32, "grey32"}, {XPixelType::kFloat, "float"},   {XPixelType::kARGB32, "argb32"},
                   {XPixelType::kBGRA32, "bgra32"}, {XPixelType::kRGB48, "rgb48"}};

}  // namespace

XPixelType XPixelTypeOf(const XVolume& inVolume) {
  // By the C++ classes, so that no class registration is needed; the mask
  // before Grey8, as a mask is a Grey8 volume too.
  if (dynamic_cast<const XMaskVolume*>(&inVolume)) return XPixelType::kMask;
  if (dynamic_cast<const XGrey8Volume*>(&inVolume)) return XPixelType::kGrey8;
  if (dynamic_cast<const XGrey16Volume*>(&inVolume)) return XPixelType::kGrey16;
  if (dynamic_cast<const XFPVolume*>(&inVolume)) return XPixelType::kFloat;
  if (dynamic_cast<const XARGB32Volume*>(&inVolume)) return XPixelType::kARGB32;
  if (dynamic_cast<const XBGRA32Volume*>(&inVolume)) return XPixelType::kBGRA32;
  if (dynamic_cast<const XRGB48Volume*>(&inVolume)) return XPixelType::kRGB48;
  XAssert(dynamic_cast<const XGrey32Volume*>(&inVolume));
  return XPixelType::kGrey32;
}

const char* XPixelTypeName(XPixelType inType) {
  for (const auto& known : kPixelTypes)
    if (known.itsType == inType) return known.itsName;
  return "";
}

bool XParsePixelType(const XString& inName, XPixelType& outType) {
  for (const auto& known : kPixelTypes)
    if (inName == known.itsName) {
      outType = known.itsType;
      return true;
    }
  return false;
}

std::unique_ptr<XVolume> XNewVolume(XPixelType inType, const X3DRect& inBounds) {
  switch (inType) {
    case XPixelType::kGrey8: return std::make_unique<XGrey8Volume>(inBounds);
    case XPixelType::kMask: return std::make_unique<XMaskVolume>(inBounds);
    case XPixelType::kGrey16: return std::make_unique<XGrey16Volume>(inBounds);
    case XPixelType::kGrey32: return std::make_unique<XGrey32Volume>(inBounds);
    case XPixelType::kFloat: return std::make_unique<XFPVolume>(inBounds);
    case XPixelType::kARGB32: return std::make_unique<XARGB32Volume>(inBounds);
    case XPixelType::kBGRA32: return std::make_unique<XBGRA32Volume>(inBounds);
    case XPixelType::kRGB48: return std::make_unique<XRGB48Volume>(inBounds);
  }
  return nullptr;
}

XImageStack::XImageStack(UInt32 inTimepoints, UInt32 inChannels)
    : itsTimepoints(inTimepoints), itsChannels(inChannels), itsChannelNames(inChannels) {
  XAssert(inTimepoints > 0 && inChannels > 0);
  itsVolumes.resize(size_t(inTimepoints) * inChannels);
}

XImageStack::~XImageStack() = default;

size_t XImageStack::IndexOf(UInt32 inTimepoint, UInt32 inChannel) const {
  XAssert(inTimepoint >= 1 && inTimepoint <= itsTimepoints);
  XAssert(inChannel >= 1 && inChannel <= itsChannels);
  return size_t(inTimepoint - 1) * itsChannels + (inChannel - 1);
}

XVolume& XImageStack::GetVolume(UInt32 inTimepoint, UInt32 inChannel) const {
  const std::unique_ptr<XVolume>& volume = itsVolumes[IndexOf(inTimepoint, inChannel)];
  XAssert(volume);
  return *volume;
}

bool XImageStack::HasVolume(UInt32 inTimepoint, UInt32 inChannel) const {
  return itsVolumes[IndexOf(inTimepoint, inChannel)] != nullptr;
}

void XImageStack::SetVolume(UInt32 inTimepoint, UInt32 inChannel, std::unique_ptr<XVolume> inVolume) {
  itsVolumes[IndexOf(inTimepoint, inChannel)] = std::move(inVolume);
}

std::unique_ptr<XVolume> XImageStack::TakeVolume(UInt32 inTimepoint, UInt32 inChannel) {
  return std::move(itsVolumes[IndexOf(inTimepoint, inChannel)]);
}

const XVolume& XImageStack::GetFirstVolume() const {
  XAssert(!itsVolumes.empty() && itsVolumes.front());
  return *itsVolumes.front();
}

XString XImageStack::GetChannelName(UInt32 inChannel) const {
  XAssert(inChannel >= 1 && inChannel <= itsChannels);
  return itsChannelNames[inChannel - 1];
}

void XImageStack::SetChannelName(UInt32 inChannel, const XString& inName) {
  XAssert(inChannel >= 1 && inChannel <= itsChannels);
  itsChannelNames[inChannel - 1] = inName;
}

void XImageStack::SetCalibration(Float64 inX, Float64 inY, Float64 inZ) {
  for (auto& volume : itsVolumes) {
    if (!volume) continue;
    volume->SetXCalibration(inX);
    volume->SetYCalibration(inY);
    volume->SetZCalibration(inZ);
  }
}

XImageStack XImageStack::ConvertedTo(XPixelType inType) const {
  CheckComplete();
  XImageStack converted(itsTimepoints, itsChannels);
  for (UInt32 t = 1; t <= itsTimepoints; ++t)
    for (UInt32 c = 1; c <= itsChannels; ++c) {
      const XVolume& source = GetVolume(t, c);
      std::unique_ptr<XVolume> volume = XNewVolume(inType, source.GetBounds());
      volume->CopyScalingFrom(source);
      volume->CopyIn(source, source.GetBounds(), volume->GetBounds(), nullptr);
      converted.SetVolume(t, c, std::move(volume));
    }
  converted.itsChannelNames = itsChannelNames;
  converted.itsUnit = itsUnit;
  converted.itsTimeInterval = itsTimeInterval;
  return converted;
}

void XImageStack::CheckComplete() const {
  if (itsVolumes.empty()) throw XException(kErrUnsupportedImage, "the image holds no volumes");
  const XVolume* first = itsVolumes.front().get();
  for (const auto& volume : itsVolumes) {
    if (!volume) throw XException(kErrUnsupportedImage, "a timepoint or channel has no volume");
    if (volume->GetVersion() != first->GetVersion() || !volume->GetBounds().IsSameSizeAs(first->GetBounds()))
      throw XException(kErrUnsupportedImage, "the volumes differ in pixel type or size");
  }
}

}  // namespace mirelan
