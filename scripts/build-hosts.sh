#!/usr/bin/env bash
# Builds programs against an installed library as a stranger would, and starts them: one in C and one in
# C++ through CMake, the same two and one of the connection alone through pkg-config.
#   build-hosts.sh FOLDER           the library is installed for everybody
#   build-hosts.sh FOLDER PREFIX    it lies there; LIBDIR in the environment where that isn't lib
# FOLDER, which is made, gets what is built.
set -euo pipefail
work=${1:?usage: build-hosts.sh FOLDER [PREFIX]}
prefix=${2:+$(realpath "$2")}
examples=$(realpath "$(dirname "$0")/../examples")
fail() { echo "build-hosts: $1" >&2; exit 1; }
mkdir -p "$work"
cd "$work"

# A project in C alone comes first: it has no C++ compiler to ask.
cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.16)
project(hosts C)
find_package(Quorvid 1.0 REQUIRED COMPONENTS quorvid)
if(TARGET Quorvid::window)
  message(FATAL_ERROR "what was not asked for became a target")
endif()
add_executable(first_picture $examples/first_picture.c)
target_link_libraries(first_picture PRIVATE Quorvid::quorvid)
enable_language(CXX)
find_package(Quorvid REQUIRED COMPONENTS window)
add_executable(live_view $examples/live_view.cpp)
target_link_libraries(live_view PRIVATE Quorvid::window)
find_package(Quorvid REQUIRED)
if(NOT TARGET Quorvid::connection)
  message(FATAL_ERROR "no connection")
endif()
find_package(Quorvid 2 QUIET)
find_package(Quorvid QUIET COMPONENTS telephone)
if(Quorvid_FOUND)
  message(FATAL_ERROR "a component that is not there was found")
endif()
END
cmake -S . -B cmake ${prefix:+-DCMAKE_PREFIX_PATH="$prefix"} >cmake.log 2>&1 || { cat cmake.log; fail "no CMake package"; }
cmake --build cmake >build.log 2>&1 || { cat build.log; fail "does not build with CMake"; }

# What the pkg-config files say is all that the compilers are told. Without a prefix that is the names.
run_path=()
if [[ -n $prefix ]]; then
  export PKG_CONFIG_PATH=$prefix/${LIBDIR:-lib}/pkgconfig
  run_path=("-Wl,-rpath,$prefix/${LIBDIR:-lib}")
fi
mkdir -p pkg-config
cat >connection.c <<'END'
#include "quorvid/connection/VehicleConnection.h"
int main(int argc, char** argv) {
  uint8_t flag = 0;
  CancelVideoSource(&flag);
  return argc == 1 && argv[0] != 0 && flag == 1 ? 2 : 0;
}
END
# host LIBRARY NAME COMPILER...
host() {
  local flags
  flags=$(pkg-config --cflags --libs "$1") || fail "no $1.pc"
  # shellcheck disable=SC2086  # flags are words
  "${@:3}" -o "pkg-config/$2" $flags "${run_path[@]}" || fail "does not build with $1.pc: $2"
}
host quorvid first_picture cc -std=c11 "$examples/first_picture.c"
host quorvid-window live_view c++ -std=c++17 "$examples/live_view.cpp"
host quorvid-connection connection cc -std=c11 connection.c

# Each states its arguments and ends with 2, with the libraries that it names and no other of the three.
for program in cmake/first_picture cmake/live_view pkg-config/*; do
  status=0
  timeout 20 "./$program" >/dev/null 2>usage || status=$?
  [[ $status -eq 2 ]] || { cat usage; fail "$program does not start"; }
  needed=$(readelf -d "$program" | sed -n 's/.*NEEDED.*\[\(libquorvid[^.]*\).*/\1/p' | sort | xargs)
  case $program in
    */first_picture) [[ $needed == libquorvid ]] ;;
    */live_view) [[ $needed == "libquorvid libquorvid-window" ]] ;;
    *) [[ $needed == libquorvid-connection ]] ;;
  esac || fail "$program is linked with $needed"
done
