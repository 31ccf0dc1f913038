#!/bin/sh
# install_test.sh BUILD CONSUMER COMPILER: installs the build into a scratch prefix and builds a small
# outside program against it, through pkg-config and through the CMake package, and runs it.
set -eu
build=$1 consumer=$2 compiler=$3

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
export HOME="$scratch/home" VELTRO_ROOT="$scratch/root" VELTRO_SYSTEM_VERSION=8.4.1

check() { [ "$1" = "$2" ] || { echo "$3 printed: $1"; exit 1; }; }
expected="release 8.4.1, class ZLTUtils, blocks retain"

flags=$(PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig" pkg-config --cflags --libs veltro)
# shellcheck disable=SC2086 # the flags are meant to be split
"$compiler" -x objective-c++ -std=c++20 "$consumer/main.mm" -o "$scratch/by-pkg-config" $flags
check "$("$scratch/by-pkg-config")" "$expected" "the program built through pkg-config"

cmake -G Ninja -S "$consumer" -B "$scratch/tree" -DCMAKE_PREFIX_PATH="$scratch/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_OBJCXX_COMPILER="$compiler" >"$scratch/log" &&
  cmake --build "$scratch/tree" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
check "$("$scratch/tree/consumer")" "$expected" "the program built through the CMake package"

check "$("$scratch/prefix/bin/veltro" info | head -n 1)" "release: 8.4.1" "the installed tool"
[ -f "$scratch/prefix/bin/Resources/veltro/de.lproj/Localizable.strings" ] ||
  { echo "the installed tool lacks its tables"; exit 1; }
