#!/usr/bin/env bash
# Installs the library into a fresh prefix and uses it the way a host does:
# the README's tour, built once through find_package and once through
# pkg-config, and every installed header compiled on its own next to a global
# XPoint (as Xlib declares one). Usage: check-install.sh <build-dir>
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null

# The tour: the README's C++ block, its includes on top and the rest in main().
awk '/^```cpp$/{on=1; next} /^```$/{on=0} on' "$root/README.md" > "$work/block.cpp"
{
  grep '^#include' "$work/block.cpp"
  echo '#include <cstdio>'
  echo 'using namespace mirelan;'
  echo 'int main() {'
  echo '  try {'
  grep -v '^#include' "$work/block.cpp"
  echo '  } catch (const XException& e) {'
  echo '    std::fprintf(stderr, "tour failed: %s\n", e.what());'
  echo '    return 1;'
  echo '  }'
  echo '  std::puts("tour done");'
  echo '  return 0;'
  echo '}'
} > "$work/tour.cpp"

mkdir -p "$work/host"
cat > "$work/host/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.20)
project(tour LANGUAGES CXX)
find_package(MirelanImaging REQUIRED)
add_executable(tour $work/tour.cpp)
target_link_libraries(tour PRIVATE MirelanImaging::MirelanImaging)
CMAKE
cmake -S "$work/host" -B "$work/host/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/host/build" >/dev/null
(cd "$work" && ./host/build/tour)

pcfile=$(find "$prefix" -name MirelanImaging.pc)
export PKG_CONFIG_PATH=$(dirname "$pcfile")
g++ -o "$work/tour-pc" "$work/tour.cpp" $(pkg-config --cflags --libs MirelanImaging)
(cd "$work" && LD_LIBRARY_PATH=$(pkg-config --variable=libdir MirelanImaging) ./tour-pc)

# No internal header may be installed or reached from an installed one.
if find "$prefix/include" -path '*/internal/*' | grep -q .; then
  echo "internal headers were installed" >&2
  exit 1
fi
include=$prefix/include/MirelanImaging
export include
(cd "$include" && find . -name '*.h' | sort) | xargs -P "$(nproc)" -I{} sh -c '
  printf "typedef struct { short x, y; } XPoint;\n#include \"%s\"\n" "{}" |
    g++ -std=c++17 -fsyntax-only -I"$include" -x c++ - || { echo "header fails alone: {}" >&2; exit 1; }'
echo "install check passed"
