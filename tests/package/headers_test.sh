#!/bin/sh
# headers_test.sh BUILD COMPILER: what the headers tell a file that cannot use them, what it takes to write one source
# for both ways to manage memory, and the headers as a module.
set -eu
build=$1 compiler=$2
cd "$(dirname "$0")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failed=0
fail() {
  echo "$*"
  failed=1
}

# one_error WORDS COMMAND: the command fails with one error, which has these words.
one_error() {
  words=$1
  shift
  if "$@" 2>"$scratch/log"; then fail "compiled: $*"; fi
  if [ "$(grep -c 'error: ' "$scratch/log")" != 1 ] || ! grep -q "error: .*$words" "$scratch/log"; then
    fail "not one error with \"$words\": $*"
    cat "$scratch/log"
  fi
}

for header in include/veltro/*.h; do
  name=$(basename "$header")
  [ "$name" != ZLTExport.h ] || continue
  echo "#include <veltro/$name>" >"$scratch/plain.c"
  for language in c c++; do
    one_error "headers are Objective-C" clang-19 -x $language -fsyntax-only -Iinclude "$scratch/plain.c"
    one_error "headers are Objective-C" gcc -x $language -fsyntax-only -Iinclude "$scratch/plain.c"
  done
done

# ARC on Linux: with the flags of the package clang refuses by itself, with another runtime's the header does.
cmake --install "$build" --prefix "$scratch/prefix" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
flags=$(PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig" pkg-config --cflags veltro)
echo "#import <veltro/veltro.h>" >"$scratch/arc.m"
# shellcheck disable=SC2086 # the flags are meant to be split
one_error "-fobjc-arc is not supported" "$compiler" -x objective-c++ $flags -fobjc-arc -fsyntax-only "$scratch/arc.m"
# shellcheck disable=SC2086
one_error "leave out -fobjc-arc" "$compiler" -x objective-c++ $flags -fobjc-arc -fobjc-runtime=gnustep-2.0 \
  -fsyntax-only "$scratch/arc.m"

# For the device one source compiles with ARC and without.
for arc in -fobjc-arc -fno-objc-arc; do
  for language in objective-c "objective-c++ -std=c++20 -nostdinc++"; do
    # shellcheck disable=SC2086
    clang-19 -x $language -target arm64-apple-ios7.0 -fobjc-runtime=ios-6.0 -fblocks $arc -Wall -Wextra -Werror \
      -nostdlibinc -isystem platform/ios/include -Iplatform/include -Iinclude -Iexamples/component \
      -fsyntax-only tests/package/consumer/ownership.m || fail "the source for both does not compile with $arc"
  done
done

# The module, by itself and with headers before and after it.
module() {
  { printf '%s\n' "$@" && echo 'BOOL imported(void) { return [[NSDate date] veltro_isToday] && [UIDevice currentDevice] != nil; }'; } \
    >"$scratch/module.m"
  for language in objective-c "objective-c++ -std=c++17" "objective-c++ -std=c++20"; do
    # shellcheck disable=SC2086
    "$compiler" -x $language $flags -Wall -Werror -fmodules -fcxx-modules -fmodules-cache-path="$scratch/modules" \
      -fsyntax-only "$scratch/module.m" || fail "not imported as $language: $*"
  done
}
module '@import veltro;'
module '@import veltro;' '#import <veltro/ZLTKeyChain.h>' '#import <UIKit/UIKit.h>' '#import <Foundation/Foundation.h>'
module '#import <Foundation/Foundation.h>' '@import veltro;'
exit $failed
