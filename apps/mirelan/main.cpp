// mirelan: the library's command-line program.
#include <cstdio>
#include <cstring>
#include <string>

#include "Commands.h"
#include "core/XException.h"

using namespace mirelan;

namespace {

void PrintUsage() {
  std::fprintf(stderr,
               "usage: mirelan <command> [arguments]\n"
               "commands:\n"
               "  demo <output-folder>   make volumes of every pixel type, store them in a\n"
               "                         stream file, read them back and check them\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
    PrintUsage();
    return argc < 2 ? 2 : 0;
  }
  std::string command = argv[1];
  try {
    if (command == "demo") return RunDemo(argc - 2, argv + 2);
    std::fprintf(stderr, "mirelan: unknown command '%s'\n", command.c_str());
    PrintUsage();
    return 2;
  } catch (const XException& e) {
    std::fprintf(stderr, "mirelan: %s (error %d)\n", e.GetErrorMessage().c_str(), e.GetErrorNumber());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "mirelan: %s\n", e.what());
  }
  return 1;
}
