// What the subcommands of mirelan share: the progress bar and Ctrl-C, reading
// and writing stacks with messages that name the file, and applying a tool to
// every volume of a stack.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

#include "storage/XImageStack.h"
#include "storage/XStackFile.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan::cli {

// Exit codes: a usage error is 2, a cancel 130 (as a shell reports Ctrl-C).
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitCancelled = 130;

struct XGlobalOptions {
  bool itsQuiet = false;
};

// Installs the progress bar (on stderr, when it is a terminal and not quiet)
// and the Ctrl-C handler that cancels the work under way.
void InstallProgressAndCancel(const XGlobalOptions& inOptions);

// Reads any stack file mirelan knows; errors name the file.
XImageStack ReadStack(const std::string& inPath);
// Writes by extension (.tif, .tiff, .mis); the file appears only when complete.
void WriteStack(const XImageStack& inStack, const std::string& inPath,
                const XTIFFWriteOptions& inOptions = XTIFFWriteOptions());
// Refuses an output name mirelan cannot write before any work is done.
void CheckStackOutput(const std::string& inPath);

// The smallest and largest value over every volume.
void DataRange(const XImageStack& inStack, Float64& outMin, Float64& outMax);
// A grey stack whose data range is mapped linearly onto the full range of
// the new type (0 to 1 for float), rounded.
XImageStack RescaledStack(const XImageStack& inStack, XPixelType inType);

// Replaces every volume by the tool's result, with a report per volume.
void ApplyToEveryVolume(XImageStack& ioStack, X1To1VolumeTool& ioTool, const std::string& inWhat);

// The options shared by the tools that turn one file into another.
struct XInOut {
  std::string itsInput;
  std::string itsOutput;
};
void AddInOut(CLI::App& ioCommand, XInOut& ioFiles);

// Adds the subcommands of each family.
void AddInfoCommand(CLI::App& ioApp);
void AddConvertCommand(CLI::App& ioApp);
void AddRenderCommand(CLI::App& ioApp);
void AddToolCommands(CLI::App& ioApp);
void AddDemoCommand(CLI::App& ioApp);

}  // namespace mirelan::cli
