// mirelan invert, flip, rotate: the library's simple tools on every volume of a stack.
#include <memory>
#include <string>

#include "CliSupport.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XInvertVolumeTool.h"
#include "tools/XRotateVolumeTools.h"

namespace mirelan::cli {

namespace {

// Reads, applies one tool to every volume, writes.
void RunTool(const XInOut& inFiles, X1To1VolumeTool& ioTool, const std::string& inWhat) {
  CheckStackOutput(inFiles.itsOutput);
  XImageStack stack = ReadStack(inFiles.itsInput);
  ApplyToEveryVolume(stack, ioTool, inWhat);
  WriteStack(stack, inFiles.itsOutput);
}

void AddInvert(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand(
      "invert", "Invert grey levels and colours: maximum minus value for integer types; float data is mapped from "
                "its minimum and maximum onto 1 and 0.");
  auto files = std::make_shared<XInOut>();
  AddInOut(*command, *files);
  command->callback([files] {
    XInvertVolumeTool tool;
    RunTool(*files, tool, "inverting");
  });
}

void AddFlip(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand("flip", "Mirror every plane left to right, or top to bottom.");
  auto files = std::make_shared<XInOut>();
  auto vertical = std::make_shared<bool>(false);
  AddInOut(*command, *files);
  command->add_flag("-v,--vertical", *vertical, "top to bottom instead of left to right");
  command->callback([files, vertical] {
    XFlipHVolumeTool horizontal;
    XFlipVVolumeTool upsideDown;
    RunTool(*files, *vertical ? static_cast<X1To1VolumeTool&>(upsideDown) : horizontal, "flipping");
  });
}

void AddRotate(CLI::App& ioApp) {
  CLI::App* command = ioApp.add_subcommand("rotate", "Turn every plane by a quarter or half turn, clockwise.");
  auto files = std::make_shared<XInOut>();
  auto degrees = std::make_shared<int>(90);
  AddInOut(*command, *files);
  command->add_option("-a,--angle", *degrees, "degrees clockwise")->check(CLI::IsMember({90, 180, 270}))->capture_default_str();
  command->callback([files, degrees] {
    XRotate90CWVolumeTool quarter;
    XRotate180VolumeTool half;
    XRotate90CCWVolumeTool threeQuarters;
    X1To1VolumeTool& tool = *degrees == 90 ? static_cast<X1To1VolumeTool&>(quarter)
                            : *degrees == 180 ? static_cast<X1To1VolumeTool&>(half)
                                              : threeQuarters;
    RunTool(*files, tool, "rotating");
  });
}

}  // namespace

void AddToolCommands(CLI::App& ioApp) {
  AddInvert(ioApp);
  AddFlip(ioApp);
  AddRotate(ioApp);
}

}  // namespace mirelan::cli
