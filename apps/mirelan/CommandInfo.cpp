// mirelan info: what a stack holds.
#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "CliSupport.h"
#include "core/XProgress.h"
#include "volume/XColourVolumes.h"

namespace mirelan::cli {

namespace {

// Minimum, maximum and mean of one component over several volumes.
struct XRunningStats {
  Float64 itsMin = std::numeric_limits<Float64>::infinity();
  Float64 itsMax = -std::numeric_limits<Float64>::infinity();
  Float64 itsSum = 0;
  UInt64 itsCount = 0;
  void Add(Float64 inValue) {
    itsMin = std::min(itsMin, inValue);
    itsMax = std::max(itsMax, inValue);
    itsSum += inValue;
    ++itsCount;
  }
};

// Walks the voxels of a volume row by row; inAdd takes one voxel.
template <class T, class Add>
bool Walk(const XVolume& inVolume, Add inAdd) {
  const auto* packed = dynamic_cast<const XPackedVolume<T>*>(&inVolume);
  if (!packed) return false;
  XLock lock(*packed, kLockRead);
  const X3DRect& b = packed->GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const T* row = packed->GetVoxelPtr(b.left, y, z);
      for (UInt32 x = 0; x < packed->GetWidth(); ++x) inAdd(row[x]);
    }
  return true;
}

// Statistics of each component: one for grey, red, green and blue for colour.
std::vector<XRunningStats> StatsOf(const XImageStack& inStack, UInt32 inChannel) {
  std::vector<XRunningStats> stats(1);
  auto grey = [&](auto v) { stats[0].Add(Float64(v)); };
  auto colour = [&](const auto& c) {
    stats.resize(3);
    stats[0].Add(c.red);
    stats[1].Add(c.green);
    stats[2].Add(c.blue);
  };
  XProgress progress(inStack.GetTimepointCount(), "measuring", kProgressStandard, 500, false);
  for (UInt32 t = 1; t <= inStack.GetTimepointCount(); ++t) {
    const XVolume& v = inStack.GetVolume(t, inChannel);
    Walk<UInt8>(v, grey) || Walk<UInt16>(v, grey) || Walk<UInt32>(v, grey) || Walk<Float32>(v, grey) ||
        Walk<XARGB32Colour>(v, colour) || Walk<XBGRA32Colour>(v, colour) || Walk<XRGB48Colour>(v, colour);
    progress.Increment();
  }
  return stats;
}

void PrintStats(const XImageStack& inStack, UInt32 inChannel) {
  const char* names[] = {"red", "green", "blue"};
  std::vector<XRunningStats> stats = StatsOf(inStack, inChannel);
  const XString name = inStack.GetChannelName(inChannel);
  const XString label = "channel " + std::to_string(inChannel) + (name.empty() ? "" : " (" + name + ")") + ":";
  for (size_t i = 0; i < stats.size(); ++i) {
    const XString part = stats.size() > 1 ? XString(names[i]) : XString();
    std::printf("%-12s %-6s min %-10.6g max %-10.6g mean %.6g\n", i == 0 ? label.c_str() : "", part.c_str(),
                stats[i].itsMin, stats[i].itsMax, stats[i].itsCount ? stats[i].itsSum / Float64(stats[i].itsCount) : 0.0);
  }
}

void PrintInfo(const std::string& inPath) {
  const XImageStack stack = ReadStack(inPath);
  const XVolume& first = stack.GetFirstVolume();
  std::printf("file:        %s\n", inPath.c_str());
  std::printf("size:        %u x %u x %u voxels (x, y, z)\n", first.GetWidth(), first.GetHeight(), first.GetDepth());
  std::printf("timepoints:  %u", stack.GetTimepointCount());
  if (stack.GetTimeInterval() > 0) std::printf(" (%g s apart)", stack.GetTimeInterval());
  std::printf("\nchannels:    %u\n", stack.GetChannelCount());
  std::printf("pixel type:  %s (%s)\n", XPixelTypeName(XPixelTypeOf(first)), first.GetDescription().c_str());
  std::printf("voxel size:  %g x %g x %g %s\n", first.GetXCalibration(), first.GetYCalibration(),
              first.GetZCalibration(), stack.GetUnit().c_str());
  for (UInt32 c = 1; c <= stack.GetChannelCount(); ++c) PrintStats(stack, c);
}

}  // namespace

void AddInfoCommand(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand(
      "info", "Print what a stack holds: sizes, timepoints, channels, pixel type, voxel size, and the minimum, "
              "maximum and mean of each channel.");
  auto path = std::make_shared<std::string>();
  command->add_option("input", *path, "the stack to read (TIFF, .mis or PNG)")->required();
  command->callback([path] { PrintInfo(*path); });
}

}  // namespace mirelan::cli
