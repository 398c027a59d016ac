// The mirelan program as a user runs it: exit codes, help, outputs on a small
// stack, and the files it refuses.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <thread>

#include "StorageTestSupport.h"
#include "storage/XPNGCodec.h"
#include "storage/XRegisterImagingClasses.h"
#include "storage/XStackFile.h"

using namespace mirelan;
using namespace storagetest;

namespace {

struct XRun {
  int itsExit;
  std::string itsOutput;  // stdout and stderr together
};

XRun Mirelan(const std::string& inArguments) {
  XRun run{-1, {}};
  if (std::FILE* pipe = ::popen((std::string(MIRELAN_CLI) + " " + inArguments + " 2>&1").c_str(), "r")) {
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof(buffer), pipe)) run.itsOutput.append(buffer, n);
    const int status = ::pclose(pipe);
    run.itsExit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return run;
}

bool Has(const XRun& inRun, const std::string& inText) { return inRun.itsOutput.find(inText) != std::string::npos; }

class Cli : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XRegisterImagingClasses(); }
  std::string Out(const std::string& inName) const { return itsFolder.Path(inName).GetPath(); }
  const std::string itsStack = Fixture("imagej_tzc_u16.tif");
  TempFolder itsFolder;
};

}  // namespace

TEST_F(Cli, HelpAndUsageErrors) {
  XRun help = Mirelan("--help");
  EXPECT_EQ(help.itsExit, 0);
  for (const char* command : {"info", "convert", "render", "invert", "flip", "rotate", "demo"}) EXPECT_TRUE(Has(help, command));
  EXPECT_EQ(Mirelan("render --help").itsExit, 0);
  EXPECT_TRUE(Has(Mirelan("render --help"), "--mip"));
  EXPECT_EQ(Mirelan("").itsExit, 2);
  EXPECT_EQ(Mirelan("frobnicate x").itsExit, 2);
  EXPECT_EQ(Mirelan("info").itsExit, 2);
  EXPECT_EQ(Mirelan("convert " + itsStack + " " + Out("x.tif") + " --type grey7").itsExit, 2);
  EXPECT_EQ(Mirelan("render " + itsStack + " " + Out("x.png") + " --mip --plane 1").itsExit, 2);
}

TEST_F(Cli, InfoTellsSizesTypeCalibrationAndChannelStatistics) {
  XRun info = Mirelan("info " + itsStack);
  ASSERT_EQ(info.itsExit, 0) << info.itsOutput;
  EXPECT_TRUE(Has(info, "5 x 4 x 3 voxels"));
  EXPECT_TRUE(Has(info, "timepoints:  2 (2.5 s apart)"));
  EXPECT_TRUE(Has(info, "channels:    2"));
  EXPECT_TRUE(Has(info, "grey16"));
  EXPECT_TRUE(Has(info, "0.25 x 0.5 x 0.5 \xC2\xB5m"));
  EXPECT_TRUE(Has(info, "channel 2:"));
  EXPECT_TRUE(Has(info, "max 65337"));
}

TEST_F(Cli, ConvertKeepsTheStackOrConvertsItsType) {
  ASSERT_EQ(Mirelan("convert " + itsStack + " " + Out("stack.mis")).itsExit, 0);
  XImageStack original = XStackFile::Read(XFileSpec(itsStack));
  XImageStack stream = XStackFile::Read(XFileSpec(Out("stack.mis")));
  EXPECT_TRUE(stream.GetVolume(2, 2) == original.GetVolume(2, 2));
  ASSERT_EQ(Mirelan("convert " + Out("stack.mis") + " " + Out("eight.tif") + " --type grey8 --rescale -c deflate").itsExit, 0);
  XImageStack eight = XStackFile::Read(XFileSpec(Out("eight.tif")));
  EXPECT_EQ(XPixelTypeOf(eight.GetFirstVolume()), XPixelType::kGrey8);
  EXPECT_EQ(eight.GetTimepointCount(), 2u);
  EXPECT_EQ(eight.GetChannelCount(), 2u);
  EXPECT_DOUBLE_EQ(eight.GetFirstVolume().GetZCalibration(), 0.5);
  // The data range, 0 to 65337, spread onto 0 to 255 and rounded.
  const UInt16 value = VoxelAt<UInt16>(original.GetVolume(2, 2), 4, 3, 2);
  EXPECT_EQ(VoxelAt<UInt8>(eight.GetVolume(2, 2), 4, 3, 2), UInt8(std::floor(value * 255.0 / 65337 + 0.5)));
  EXPECT_EQ(Mirelan("convert " + itsStack + " " + Out("colour.tif") + " --type argb32 --rescale").itsExit, 1);
}

TEST_F(Cli, RenderDrawsPlanesAndProjections) {
  XRun mip = Mirelan("render " + itsStack + " " + Out("mip.png") + " --mip --channels 2 --black 0 --white 65535");
  ASSERT_EQ(mip.itsExit, 0) << mip.itsOutput;
  EXPECT_TRUE(Has(mip, "channel 2: black 0, white 65535"));
  XImageStack picture = XStackFile::Read(XFileSpec(Out("mip.png")));
  EXPECT_EQ(picture.GetBounds(), X3DRect(0, 0, 0, 5, 4, 1));
  // One channel shows in grey: red, green and blue alike.
  const XARGB32Colour c = VoxelAt<XARGB32Colour>(picture.GetFirstVolume(), 4, 3, 0);
  EXPECT_EQ(c.red, c.blue);
  XRun composite = Mirelan("render " + itsStack + " " + Out("plane.png") + " -z 0 -t 2 --colours red,#00FF00 -g 0.8");
  EXPECT_EQ(composite.itsExit, 0) << composite.itsOutput;
  XRun outside = Mirelan("render " + itsStack + " " + Out("bad.png") + " --plane 3");
  EXPECT_EQ(outside.itsExit, 1);
  EXPECT_TRUE(Has(outside, "plane 3 is not in the stack"));
  EXPECT_EQ(Mirelan("render " + itsStack + " " + Out("bad.png") + " --colours mauve").itsExit, 1);
}

TEST_F(Cli, ToolsWriteTheirResult) {
  ASSERT_EQ(Mirelan("flip " + itsStack + " " + Out("once.tif")).itsExit, 0);
  ASSERT_EQ(Mirelan("flip " + Out("once.tif") + " " + Out("twice.tif")).itsExit, 0);
  EXPECT_TRUE(XStackFile::Read(XFileSpec(Out("twice.tif"))).GetVolume(2, 1) ==
              XStackFile::Read(XFileSpec(itsStack)).GetVolume(2, 1));
  ASSERT_EQ(Mirelan("rotate " + itsStack + " " + Out("turned.mis") + " --angle 90").itsExit, 0);
  EXPECT_EQ(XStackFile::Read(XFileSpec(Out("turned.mis"))).GetBounds().GetWidth(), 4u);
  ASSERT_EQ(Mirelan("invert " + itsStack + " " + Out("inverted.tif")).itsExit, 0);
  XImageStack inverted = XStackFile::Read(XFileSpec(Out("inverted.tif")));
  EXPECT_EQ(VoxelAt<UInt16>(inverted.GetFirstVolume(), 0, 0, 0), 65535);
}

TEST_F(Cli, BadFilesAndFoldersFailClearlyAndWriteNothing) {
  XRun missing = Mirelan("info " + Out("absent.tif"));
  EXPECT_EQ(missing.itsExit, 1);
  EXPECT_TRUE(Has(missing, "absent.tif"));
  WriteFile(itsFolder.Path("notes.txt"), "not an image");
  XRun text = Mirelan("info " + Out("notes.txt"));
  EXPECT_EQ(text.itsExit, 1);
  EXPECT_TRUE(Has(text, "notes.txt"));
  XRun folder = Mirelan("info " + itsFolder.GetPath());
  EXPECT_EQ(folder.itsExit, 1);
  XRun nowhere = Mirelan("convert " + itsStack + " " + Out("no/such/folder/out.tif"));
  EXPECT_EQ(nowhere.itsExit, 1);
  EXPECT_TRUE(Has(nowhere, "out.tif"));
  XRun underFile = Mirelan("convert " + itsStack + " " + Out("notes.txt/out.tif"));
  EXPECT_EQ(underFile.itsExit, 1);
  EXPECT_EQ(Mirelan("convert " + itsStack + " " + Out("out.jpg")).itsExit, 1);
  EXPECT_EQ(itsFolder.Entries(), std::vector<std::string>{"notes.txt"});  // no partial files
}

TEST_F(Cli, CtrlCCancelsAndLeavesNoOutput) {
  // A stack big enough that compressing it takes a while.
  XImageStack big = RampStack(XPixelType::kGrey16, 1, 1, X3DRect(0, 0, 0, 1024, 1024, 48));
  XStackFile::Write(big, itsFolder.Path("big.mis"));
  const std::string output = Out("slow.tif");
  pid_t child = ::fork();
  if (child == 0) {
    ::execl(MIRELAN_CLI, MIRELAN_CLI, "convert", Out("big.mis").c_str(), output.c_str(), "-c", "deflate", "--quiet",
            static_cast<char*>(nullptr));
    ::_exit(127);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  ::kill(child, SIGINT);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) GTEST_SKIP() << "the conversion ended before the signal";
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 130);
  EXPECT_EQ(itsFolder.Entries(), std::vector<std::string>{"big.mis"});
}
