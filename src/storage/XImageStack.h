// A four-dimensional image as files hold it: timepoints by channels of
// volumes that share one pixel type and one box, with the voxel size in a
// named unit. Timepoints and channels are numbered from 1.
#pragma once

#include <memory>
#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "volume/XVolume.h"

namespace mirelan {

// The pixel types by name, for files and command lines.
enum class XPixelType : UInt8 { kGrey8, kMask, kGrey16, kGrey32, kFloat, kARGB32, kBGRA32, kRGB48 };

MIRELAN_EXPORT XPixelType XPixelTypeOf(const XVolume& inVolume);
// "grey8", "mask", "grey16", "grey32", "float", "argb32", "bgra32", "rgb48".
MIRELAN_EXPORT const char* XPixelTypeName(XPixelType inType);
// False for a name that is none of those.
MIRELAN_EXPORT bool XParsePixelType(const XString& inName, XPixelType& outType);
// A new, uncleared volume of the type.
MIRELAN_EXPORT std::unique_ptr<XVolume> XNewVolume(XPixelType inType, const X3DRect& inBounds);

class MIRELAN_EXPORT XImageStack {
 public:
  XImageStack() = default;
  // Room for the volumes, all empty until set.
  XImageStack(UInt32 inTimepoints, UInt32 inChannels);
  XImageStack(XImageStack&&) noexcept = default;
  XImageStack& operator=(XImageStack&&) noexcept = default;
  ~XImageStack();

  UInt32 GetTimepointCount() const { return itsTimepoints; }
  UInt32 GetChannelCount() const { return itsChannels; }
  bool IsEmpty() const { return itsVolumes.empty(); }

  // Precondition: the slot is in range and holds a volume.
  XVolume& GetVolume(UInt32 inTimepoint, UInt32 inChannel) const;
  bool HasVolume(UInt32 inTimepoint, UInt32 inChannel) const;
  void SetVolume(UInt32 inTimepoint, UInt32 inChannel, std::unique_ptr<XVolume> inVolume);
  std::unique_ptr<XVolume> TakeVolume(UInt32 inTimepoint, UInt32 inChannel);

  // The first volume's box, class and calibration stand for the stack.
  const XVolume& GetFirstVolume() const;
  X3DRect GetBounds() const { return GetFirstVolume().GetBounds(); }

  // The length unit of the calibration ("µm", "pixel", ...).
  const XString& GetUnit() const { return itsUnit; }
  void SetUnit(const XString& inUnit) { itsUnit = inUnit; }
  // Seconds between timepoints; 0 when unknown.
  Float64 GetTimeInterval() const { return itsTimeInterval; }
  void SetTimeInterval(Float64 inSeconds) { itsTimeInterval = inSeconds; }
  // Empty when the file named none.
  XString GetChannelName(UInt32 inChannel) const;
  void SetChannelName(UInt32 inChannel, const XString& inName);
  // Sets the calibration of every volume.
  void SetCalibration(Float64 inX, Float64 inY, Float64 inZ);

  // Throws XException 1021 when a slot is empty or the volumes differ in
  // class or size.
  void CheckComplete() const;

  // A copy with every volume converted to inType by the volumes' own
  // conversion (CopyOut), calibration, unit and names kept.
  XImageStack ConvertedTo(XPixelType inType) const;

 private:
  size_t IndexOf(UInt32 inTimepoint, UInt32 inChannel) const;

  UInt32 itsTimepoints = 0;
  UInt32 itsChannels = 0;
  std::vector<std::unique_ptr<XVolume>> itsVolumes;  // timepoint by timepoint
  std::vector<XString> itsChannelNames;
  XString itsUnit = "pixel";
  Float64 itsTimeInterval = 0.0;
};

}  // namespace mirelan
