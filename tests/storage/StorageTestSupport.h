// Helpers of the storage tests: data folders, a scratch folder, ramp stacks
// of every pixel type and their comparison, and a way to run tifffile.
#pragma once

#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "core/XException.h"
#include "core/XProgress.h"
#include "storage/XImageStack.h"
#include "volume/XColourVolumes.h"
#include "volume/XMaskVolume.h"
#include "volume/XPackedVolume.h"

using namespace mirelan;

namespace storagetest {

inline std::string Fixture(const std::string& inName) { return std::string(MIRELAN_TEST_DATA) + "/" + inName; }
inline std::string SharedData(const std::string& inName) { return std::string(MIRELAN_SHARED_DATA) + "/" + inName; }
inline bool SharedDataPresent() { return XFileSpec(SharedData("SOURCES.md")).Exists(); }

inline SInt32 ErrorOf(const std::function<void()>& inCall) {
  try {
    inCall();
  } catch (const XException& e) {
    return e.GetErrorNumber();
  }
  return 0;
}

inline std::vector<UInt8> FileBytes(const std::string& inPath) {
  std::ifstream file(inPath, std::ios::binary);
  return std::vector<UInt8>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline void WriteFile(const XFileSpec& inFile, const std::string& inText) {
  std::ofstream(inFile.GetPath(), std::ios::binary) << inText;
}

// A folder of its own for one test, removed with what is in it.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = std::string(::testing::TempDir()) + "/mirelan_storage_XXXXXX";
    itsPath = ::mkdtemp(pattern.data()) ? pattern : std::string();
  }
  ~TempFolder() { std::system(("rm -rf '" + itsPath + "'").c_str()); }
  const std::string& GetPath() const { return itsPath; }
  XFileSpec Path(const std::string& inName) const { return XFileSpec(itsPath + "/" + inName); }
  // The names in the folder, hidden ones too, sorted.
  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(itsPath.c_str())) {
      while (dirent* entry = ::readdir(dir))
        if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..") names.push_back(entry->d_name);
      ::closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string itsPath;
};

template <class T>
T VoxelAt(const XVolume& inVolume, UInt32 inX, UInt32 inY, UInt32 inZ) {
  const auto& packed = dynamic_cast<const XPackedVolume<T>&>(inVolume);
  XLock lock(packed, kLockRead);
  const X3DRect& b = packed.GetBounds();
  return packed.GetVoxel(b.left + SInt32(inX), b.top + SInt32(inY), b.front + SInt32(inZ));
}

// The ramp value of a voxel: its index over timepoint, channel, z, y, x, times 1009.
inline UInt32 RampValue(UInt64 inIndex) { return UInt32(inIndex * 1009 % 65536); }

template <class V, class Fn>
void FillRamp(XVolume& ioVolume, UInt64 inFirstIndex, Fn inVoxelOf) {
  auto& packed = dynamic_cast<V&>(ioVolume);
  XLock lock(packed, kLockWrite);
  auto* voxel = packed.GetBaseVoxelPtr();
  for (UInt64 i = 0; i < packed.GetVolumeVoxels(); ++i) voxel[i] = inVoxelOf(RampValue(inFirstIndex + i));
}

// A stack whose voxels are the ramp, with a calibration of 0.25 x 0.5 x 2 µm
// and 1.5 s between timepoints.
inline XImageStack RampStack(XPixelType inType, UInt32 inTimepoints, UInt32 inChannels, const X3DRect& inBounds) {
  XImageStack stack(inTimepoints, inChannels);
  const UInt64 voxels = inBounds.GetVolume();
  for (UInt32 t = 1; t <= inTimepoints; ++t)
    for (UInt32 c = 1; c <= inChannels; ++c) {
      std::unique_ptr<XVolume> volume = XNewVolume(inType, inBounds);
      const UInt64 first = ((t - 1) * inChannels + (c - 1)) * voxels;
      switch (inType) {
        case XPixelType::kGrey8: FillRamp<XGrey8Volume>(*volume, first, [](UInt32 v) { return UInt8(v); }); break;
        case XPixelType::kMask: FillRamp<XMaskVolume>(*volume, first, [](UInt32 v) { return UInt8(v & 1 ? 255 : 0); }); break;
        case XPixelType::kGrey16: FillRamp<XPackedVolume<UInt16>>(*volume, first, [](UInt32 v) { return UInt16(v); }); break;
        case XPixelType::kGrey32: FillRamp<XPackedVolume<UInt32>>(*volume, first, [](UInt32 v) { return v * 65537u; }); break;
        case XPixelType::kFloat: FillRamp<XPackedVolume<Float32>>(*volume, first, [](UInt32 v) { return Float32(v) / 4; }); break;
        case XPixelType::kARGB32:
          FillRamp<XPackedVolume<XARGB32Colour>>(*volume, first, [](UInt32 v) { return XARGB32Colour(UInt8(v), UInt8(v >> 8), UInt8(v + 1)); });
          break;
        case XPixelType::kBGRA32:
          FillRamp<XPackedVolume<XBGRA32Colour>>(*volume, first, [](UInt32 v) { return XBGRA32Colour(UInt8(v), UInt8(v >> 8), UInt8(v + 1), 255); });
          break;
        case XPixelType::kRGB48:
          FillRamp<XPackedVolume<XRGB48Colour>>(*volume, first, [](UInt32 v) { return XRGB48Colour(UInt16(v), UInt16(~v), UInt16(v * 3)); });
          break;
      }
      stack.SetVolume(t, c, std::move(volume));
    }
  stack.SetCalibration(0.25, 0.5, 2.0);
  stack.SetUnit("\xC2\xB5m");
  stack.SetTimeInterval(1.5);
  return stack;
}

// What a file of the written stack reads back as: masks as Grey8, BGRA as ARGB.
inline XPixelType ReadBackType(XPixelType inType) {
  if (inType == XPixelType::kMask) return XPixelType::kGrey8;
  if (inType == XPixelType::kBGRA32) return XPixelType::kARGB32;
  return inType;
}

inline void ExpectSameStack(const XImageStack& inRead, const XImageStack& inWritten) {
  ASSERT_EQ(inRead.GetTimepointCount(), inWritten.GetTimepointCount());
  ASSERT_EQ(inRead.GetChannelCount(), inWritten.GetChannelCount());
  const XPixelType written = XPixelTypeOf(inWritten.GetFirstVolume());
  ASSERT_EQ(XPixelTypeOf(inRead.GetFirstVolume()), ReadBackType(written));
  EXPECT_EQ(inRead.GetUnit(), inWritten.GetUnit());
  EXPECT_DOUBLE_EQ(inRead.GetTimeInterval(), inWritten.GetTimeInterval());
  for (UInt32 t = 1; t <= inRead.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= inRead.GetChannelCount(); ++c) {
      const XVolume& r = inRead.GetVolume(t, c);
      const XVolume& w = inWritten.GetVolume(t, c);
      EXPECT_TRUE(r.GetBounds().IsSameSizeAs(w.GetBounds()));
      EXPECT_NEAR(r.GetXCalibration(), w.GetXCalibration(), 1e-6 * w.GetXCalibration());
      EXPECT_NEAR(r.GetYCalibration(), w.GetYCalibration(), 1e-6 * w.GetYCalibration());
      EXPECT_NEAR(r.GetZCalibration(), w.GetZCalibration(), 1e-9 * w.GetZCalibration());
      // Colour comes back opaque: the files keep red, green and blue.
      std::unique_ptr<XVolume> expected = XNewVolume(ReadBackType(written), w.GetBounds());
      expected->CopyIn(w, w.GetBounds(), expected->GetBounds(), nullptr);
      if (auto* argb = dynamic_cast<XARGB32Volume*>(expected.get())) {
        XLock lock(*argb, kLockReadWrite);
        for (UInt64 i = 0; i < argb->GetVolumeVoxels(); ++i) argb->GetBaseVoxelPtr()[i].alpha = 255;
      }
      std::unique_ptr<XVolume> placed(r.Clone());
      placed->OffsetBounds(w.GetBounds().left - r.GetBounds().left, w.GetBounds().top - r.GetBounds().top,
                           w.GetBounds().front - r.GetBounds().front);
      EXPECT_TRUE(*placed == *expected) << "timepoint " << t << " channel " << c;
    }
}

inline bool PythonWithTifffile() { return std::system("/usr/bin/python3 -c 'import tifffile' 2>/dev/null") == 0; }

// Runs a Python script with one argument and returns what it printed.
inline std::string RunPython(const std::string& inScript, const std::string& inArgument) {
  char name[] = "/tmp/mirelan_script_XXXXXX";
  int fd = ::mkstemp(name);
  if (fd < 0) return "cannot make a script file";
  std::FILE* file = ::fdopen(fd, "w");
  std::fputs(inScript.c_str(), file);
  std::fclose(file);
  std::string output;
  if (std::FILE* pipe = ::popen(("/usr/bin/python3 " + std::string(name) + " '" + inArgument + "' 2>&1").c_str(), "r")) {
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof(buffer), pipe)) output.append(buffer, n);
    ::pclose(pipe);
  }
  std::remove(name);
  return output;
}

// A cancel request for a scope: every report throws at its next call.
struct CancelRequested {
  CancelRequested() { XProgress::RequestCancel(); }
  ~CancelRequested() { XProgress::ClearCancelRequest(); }
};

}  // namespace storagetest
