// mirelan convert: between TIFF and the stream format, with pixel-type conversion.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "core/XException.h"
#include "volume/XFPVolume.h"

namespace mirelan::cli {

// The smallest and largest value over every volume, through float copies.
void DataRange(const XImageStack& inStack, Float64& outMin, Float64& outMax) {
  outMin = std::numeric_limits<Float64>::infinity();
  outMax = -outMin;
  for (UInt32 t = 1; t <= inStack.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= inStack.GetChannelCount(); ++c) {
      const XVolume& v = inStack.GetVolume(t, c);
      XFPVolume values(v.GetBounds());
      values.CopyIn(v, v.GetBounds(), values.GetBounds(), nullptr);
      Float32 low = 0, high = 0;
      values.FindMinMax(low, high);
      outMin = std::min<Float64>(outMin, low);
      outMax = std::max<Float64>(outMax, high);
    }
}

// The data range mapped linearly onto the full range of the new type (0 to
// 1 for float), rounded.
XImageStack RescaledStack(const XImageStack& inStack, XPixelType inType) {
  const Float64 top = inType == XPixelType::kGrey8 || inType == XPixelType::kMask ? 255.0
                      : inType == XPixelType::kGrey16                             ? 65535.0
                      : inType == XPixelType::kGrey32                             ? 4294967295.0
                                                                                  : 1.0;
  Float64 low = 0, high = 0;
  DataRange(inStack, low, high);
  const Float64 scale = high > low ? top / (high - low) : 0.0;
  XImageStack floats = inStack.ConvertedTo(XPixelType::kFloat);
  for (UInt32 t = 1; t <= floats.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= floats.GetChannelCount(); ++c) {
      auto& v = dynamic_cast<XFPVolume&>(floats.GetVolume(t, c));
      XLock lock(v, kLockReadWrite);
      Float32* voxel = v.GetBaseVoxelPtr();
      for (UInt64 i = 0; i < v.GetVolumeVoxels(); ++i) {
        const Float64 mapped = (voxel[i] - low) * scale;
        voxel[i] = Float32(inType == XPixelType::kFloat ? mapped : std::floor(mapped + 0.5));
      }
    }
  // The rounded values go into the new type as they are.
  if (inType == XPixelType::kFloat) return floats;
  XImageStack converted(floats.GetTimepointCount(), floats.GetChannelCount());
  for (UInt32 t = 1; t <= floats.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= floats.GetChannelCount(); ++c) {
      const auto& source = dynamic_cast<const XFPVolume&>(floats.GetVolume(t, c));
      std::unique_ptr<XVolume> volume = XNewVolume(inType, source.GetBounds());
      volume->CopyScalingFrom(source);
      XLock lockIn(source, kLockRead), lockOut(*volume, kLockWrite);
      const Float32* from = source.GetBaseVoxelPtr();
      auto store = [&](auto* inTo) {
        for (UInt64 i = 0; i < source.GetVolumeVoxels(); ++i)
          inTo[i] = static_cast<std::remove_pointer_t<decltype(inTo)>>(from[i]);
      };
      if (auto* v8 = dynamic_cast<XPackedVolume<UInt8>*>(volume.get())) store(v8->GetBaseVoxelPtr());
      if (auto* v16 = dynamic_cast<XPackedVolume<UInt16>*>(volume.get())) store(v16->GetBaseVoxelPtr());
      if (auto* v32 = dynamic_cast<XPackedVolume<UInt32>*>(volume.get())) store(v32->GetBaseVoxelPtr());
      converted.SetVolume(t, c, std::move(volume));
    }
  for (UInt32 c = 1; c <= converted.GetChannelCount(); ++c) converted.SetChannelName(c, inStack.GetChannelName(c));
  converted.SetUnit(inStack.GetUnit());
  converted.SetTimeInterval(inStack.GetTimeInterval());
  return converted;
}

namespace {

struct XConvertOptions {
  XInOut itsFiles;
  std::string itsType;
  bool itsRescale = false;
  std::string itsCompression = "none";
  bool itsBigTIFF = false;
  std::vector<Float64> itsVoxelSize;
  std::string itsUnit;
};

XTIFFCompression CompressionOf(const std::string& inName) {
  static const std::map<std::string, XTIFFCompression> kNames = {
      {"none", kTIFFUncompressed}, {"deflate", kTIFFDeflate}, {"zlib", kTIFFDeflate}, {"lzw", kTIFFLZW}, {"zstd", kTIFFZstd}};
  return kNames.at(inName);
}

void Convert(const XConvertOptions& inOptions) {
  CheckStackOutput(inOptions.itsFiles.itsOutput);
  XImageStack stack = ReadStack(inOptions.itsFiles.itsInput);
  if (!inOptions.itsType.empty()) {
    XPixelType type;
    XParsePixelType(inOptions.itsType, type);
    const XPixelType from = XPixelTypeOf(stack.GetFirstVolume());
    const bool colour = from == XPixelType::kARGB32 || from == XPixelType::kBGRA32 || from == XPixelType::kRGB48 ||
                        type == XPixelType::kARGB32 || type == XPixelType::kBGRA32 || type == XPixelType::kRGB48;
    if (inOptions.itsRescale && colour) throw XException(kErrUnsupportedImage, "--rescale works on grey stacks only");
    stack = inOptions.itsRescale ? RescaledStack(stack, type) : stack.ConvertedTo(type);
  }
  if (!inOptions.itsVoxelSize.empty()) {
    const auto& v = inOptions.itsVoxelSize;
    stack.SetCalibration(v[0], v.size() > 1 ? v[1] : v[0], v.size() > 2 ? v[2] : v[0]);
  }
  if (!inOptions.itsUnit.empty()) stack.SetUnit(inOptions.itsUnit == "um" ? "\xC2\xB5m" : inOptions.itsUnit);
  XTIFFWriteOptions tiff;
  tiff.itsCompression = CompressionOf(inOptions.itsCompression);
  tiff.itsBigTIFF = inOptions.itsBigTIFF;
  WriteStack(stack, inOptions.itsFiles.itsOutput, tiff);
}

}  // namespace

void AddConvertCommand(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand(
      "convert", "Write a stack as TIFF (.tif, .tiff: ImageJ hyperstack with voxel size) or as a MirelanImaging "
                 "stream file (.mis), optionally converted to another pixel type.");
  auto options = std::make_shared<XConvertOptions>();
  AddInOut(*command, options->itsFiles);
  command->add_option("-t,--type", options->itsType,
                      "pixel type to convert to; the library's conversion keeps the high byte of 16-bit data "
                      "for 8-bit and maps float through its display range")
      ->check(CLI::IsMember({"grey8", "mask", "grey16", "grey32", "float", "argb32", "bgra32", "rgb48"}));
  command->add_flag("--rescale", options->itsRescale,
                    "map the data's range onto the full range of the new type (grey stacks; float: 0 to 1)");
  command->add_option("-c,--compress", options->itsCompression, "TIFF compression")
      ->check(CLI::IsMember({"none", "deflate", "zlib", "lzw", "zstd"}));
  command->add_flag("--bigtiff", options->itsBigTIFF, "write BigTIFF even below 4 GB");
  command->add_option("--voxel-size", options->itsVoxelSize, "set the voxel size: x,y,z (one value for all three)")
      ->delimiter(',')
      ->expected(1, 3)
      ->check(CLI::PositiveNumber);
  command->add_option("--unit", options->itsUnit, "set the unit of the voxel size (um for micrometres, nm, mm...)");
  command->callback([options] { Convert(*options); });
}

}  // namespace mirelan::cli
