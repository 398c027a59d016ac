#include "CliSupport.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "core/XException.h"
#include "core/XProgress.h"

namespace mirelan::cli {

namespace {

// A second Ctrl-C ends the program at once.
void OnInterrupt(int) {
  if (XProgress::IsCancelRequested()) {
    std::signal(SIGINT, SIG_DFL);
    std::raise(SIGINT);
  }
  XProgress::RequestCancel();
}

// One line, redrawn in place: the message and a bar of 30 cells.
bool DrawBar(UInt64 inTotal, UInt64 inPosition, const XString& inMessage) {
  const int cells = 30;
  const int filled = inTotal ? int(cells * inPosition / inTotal) : 0;
  std::string bar(size_t(filled), '#');
  bar.resize(cells, '.');
  const unsigned percent = inTotal ? unsigned(100 * inPosition / inTotal) : 0;
  std::fprintf(stderr, "\r%-40.40s [%s] %3u%%", inMessage.c_str(), bar.c_str(), percent);
  if (inTotal && inPosition >= inTotal) std::fputs("\r\033[K", stderr);  // done: clear the line
  std::fflush(stderr);
  return !XProgress::IsCancelRequested();
}

}  // namespace

void InstallProgressAndCancel(const XGlobalOptions& inOptions) {
  std::signal(SIGINT, &OnInterrupt);
  if (!inOptions.itsQuiet && ::isatty(STDERR_FILENO)) XProgress::SetSink(&DrawBar);
}

XImageStack ReadStack(const std::string& inPath) { return XStackFile::Read(XFileSpec(inPath)); }

void CheckStackOutput(const std::string& inPath) {
  const XFileSpec file(inPath);
  const XStackFileKind kind = XStackFile::KindOfName(file);
  if (kind != XStackFileKind::kTIFF && kind != XStackFileKind::kStream)
    throw XException(kErrUnsupportedImage, inPath + ": stacks are written as .tif, .tiff or .mis files");
  if (!file.GetParent().Exists()) throw XException(kErrFile, inPath + ": the folder does not exist");
}

void WriteStack(const XImageStack& inStack, const std::string& inPath, const XTIFFWriteOptions& inOptions) {
  XStackFile::Write(inStack, XFileSpec(inPath), inOptions);
}

void ApplyToEveryVolume(XImageStack& ioStack, X1To1VolumeTool& ioTool, const std::string& inWhat) {
  XProgress progress(UInt64(ioStack.GetTimepointCount()) * ioStack.GetChannelCount(), inWhat.c_str(),
                     kProgressStandard, 500, false);
  for (UInt32 t = 1; t <= ioStack.GetTimepointCount(); ++t)
    for (UInt32 c = 1; c <= ioStack.GetChannelCount(); ++c) {
      // A new volume each: quarter turns change the box.
      ioStack.SetVolume(t, c, std::unique_ptr<XVolume>(ioTool.ApplyTool(ioStack.GetVolume(t, c))));
      progress.Increment();
    }
}

void AddInOut(CLI::App& ioCommand, XInOut& ioFiles) {
  ioCommand.add_option("input", ioFiles.itsInput, "the stack to read (TIFF, .mis or PNG)")->required();
  ioCommand.add_option("output", ioFiles.itsOutput, "the stack to write (.tif, .tiff or .mis)")->required();
}

}  // namespace mirelan::cli
