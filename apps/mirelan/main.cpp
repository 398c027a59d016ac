// mirelan: the library's command-line program. Each subcommand reads a stack
// (TIFF, the library's .mis stream files, PNG), works on it and writes files
// that other programs open.
#include <cstdio>
#include <string>

#include "CliSupport.h"
#include "core/XException.h"
#include "storage/XRegisterImagingClasses.h"

using namespace mirelan;
using namespace mirelan::cli;

namespace {

// The file and the problem, as the library phrased them, and the number.
int ReportFailure(const XException& inError) {
  if (inError.GetErrorNumber() == kErrCancelled) {
    std::fputs("\nmirelan: cancelled; nothing was written\n", stderr);
    return kExitCancelled;
  }
  const XString& detail = inError.GetDetail();
  std::fprintf(stderr, "mirelan: %s (error %d)\n", detail.empty() ? inError.GetErrorMessage().c_str() : detail.c_str(),
               inError.GetErrorNumber());
  return kExitFailure;
}

}  // namespace

int main(int argc, char** argv) {
  XRegisterImagingClasses();
  CLI::App app{"mirelan: multi-dimensional light-microscopy images on the command line.\n"
               "Reads TIFF stacks (ImageJ hyperstacks, OME-TIFF, plain multi-page), .mis stream files and PNG."};
  app.name("mirelan");
  app.require_subcommand(1);
  app.fallthrough();
  XGlobalOptions global;
  app.add_flag("-q,--quiet", global.itsQuiet, "no progress bar");
  AddInfoCommand(app);
  AddConvertCommand(app);
  AddRenderCommand(app);
  AddToolCommands(app);
  AddDemoCommand(app);
  app.parse_complete_callback([&global] { InstallProgressAndCancel(global); });
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : kExitUsage;
  } catch (const XException& e) {
    return ReportFailure(e);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "mirelan: %s\n", e.what());
    return kExitFailure;
  }
  return 0;
}
