#!/bin/sh
# install_test.sh BUILD CONSUMER COMPILER: installs the build into a scratch prefix and builds a small
# outside program of all four languages against it, through pkg-config and through the CMake package,
# with each compiler for its C and C++ files, and runs it.
set -eu
build=$1 consumer=$2 compiler=$3

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
cmake --install "$build" --prefix "$prefix" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
export HOME="$scratch/home" VELTRO_ROOT="$scratch/root" VELTRO_SYSTEM_VERSION=8.4.1
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"

check() { [ "$1" = "$2" ] || { echo "$3 printed: $1"; exit 1; }; }
expected="release 8.4.1, class ZLTUtils, blocks retain, notifications arrive, processes listed, 2 freed"

# by_pkg_config C CXX FLAGS: plain C and C++ are compiled with FLAGS, Objective-C with all of the package's.
by_pkg_config() {
  out=$scratch/by-$1
  mkdir "$out"
  for file in object.m ownership.m main.mm; do
    case $file in *.m) language=objective-c ;; *) language="objective-c++ -std=c++20" ;; esac
    # shellcheck disable=SC2046,SC2086 # the flags are meant to be split
    "$compiler" -x $language -Wall -Werror -I "$consumer/../../../examples/component" $(pkg-config --cflags veltro) -c "$consumer/$file" -o "$out/$file.o"
  done
  # shellcheck disable=SC2086
  "$1" -Wall -Werror $3 -c "$consumer/plain.c" -o "$out/plain.c.o"
  # shellcheck disable=SC2086
  "$2" -std=c++20 -Wall -Werror $3 -c "$consumer/plain.cpp" -o "$out/plain.cpp.o"
  # shellcheck disable=SC2046
  "$2" "$out"/*.o $(pkg-config --libs veltro) -o "$out/consumer"
  check "$("$out/consumer")" "$expected" "the program built through pkg-config with $2"
}
by_pkg_config clang-19 "$compiler" "$(pkg-config --cflags veltro)"
by_pkg_config gcc g++ "$(pkg-config --cflags-only-I veltro)"

# All of it in one command, as the README has it.
# shellcheck disable=SC2046
"$compiler" -x objective-c++ -std=c++20 "$consumer/main.mm" -x none "$scratch"/by-gcc/[op]*.o \
  $(pkg-config --cflags --libs veltro) -o "$scratch/in-one"
check "$("$scratch/in-one")" "$expected" "the program built in one command"

# With AddressSanitizer, whose leak check passes over what the runtime keeps.
# shellcheck disable=SC2046
"$compiler" -fsanitize=address "$scratch"/by-gcc/*.o $(pkg-config --libs veltro) -o "$scratch/sanitized"
check "$(ASAN_OPTIONS=fast_unwind_on_malloc=0 \
         LSAN_OPTIONS="suppressions=$prefix/share/veltro/lsan.supp:print_suppressions=0" "$scratch/sanitized")" \
  "$expected" "the program with AddressSanitizer"

by_cmake() {
  tree=$scratch/tree-$1
  cmake -G Ninja -S "$consumer" -B "$tree" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$1" \
    -DCMAKE_CXX_COMPILER="$2" -DCMAKE_OBJC_COMPILER="$compiler" -DCMAKE_OBJCXX_COMPILER="$compiler" >"$scratch/log" &&
    cmake --build "$tree" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
  check "$("$tree/consumer")" "$expected" "the program built through the CMake package with $2"
}
by_cmake clang-19 "$compiler"
by_cmake gcc g++

# One release of GCC must not be named in what outlives it.
if grep -rE '/gcc/[^/ ]+/[0-9]' "$prefix/lib/pkgconfig" "$prefix/lib/cmake"; then
  echo "the lines above name a folder of one GCC"
  exit 1
fi

check "$("$prefix/bin/veltro" info | head -n 1)" "release: 8.4.1" "the installed tool"

# The tool's own tables, which lie in share/veltro from its executable, in the build tree and where it is installed.
for language in de fr; do
  "$prefix/bin/veltro" view loading --language $language -o "$scratch/$language.png"
done
"$build/bin/veltro" view loading --language de -o "$scratch/built-de.png"
cmp "$scratch/de.png" "$scratch/built-de.png"
! cmp -s "$scratch/de.png" "$scratch/fr.png" || { echo "the installed tool lacks its tables"; exit 1; }

for file in man/man1/veltro.1.gz man/man1/veltro-send.1.gz bash-completion/completions/veltro zsh/site-functions/_veltro \
    fish/vendor_completions.d/veltro.fish; do
  [ -f "$prefix/share/$file" ] || { echo "$file is not installed"; exit 1; }
done

# The messenger is installed as an app, which a device root gets a copy of; it runs with the libraries that are
# installed.
app=$prefix/libexec/veltro/WhatsApp.app
check "$(readelf -d "$app/WhatsApp" | sed -n 's/.*runpath: //p')" "[$prefix/lib]" "the messenger's run path"
# shellcheck disable=SC2016 # for the inner shell
check "$("$(dirname "$0")/../support/exclusive" sh -c '
  "$1" -q messenger start >/dev/null && "$1" -q send 5 --text "from the installed one" && "$1" -q messenger stop' \
  sh "$prefix/bin/veltro")" "from the installed onenot running" "the installed messenger"

# Stripped; the debug information lies beside on request, and gdb finds it.
programs="lib/libveltro.so.0 lib/libveltro-host.so.0 bin/veltro"
for program in $programs libexec/veltro/WhatsApp.app/WhatsApp; do
  ! readelf -S --wide "$prefix/$program" | grep -E ' \.(symtab|debug_info) ' || { echo "$program is not stripped"; exit 1; }
done
cmake --install "$build" --prefix "$prefix" --component debug >"$scratch/log" || { cat "$scratch/log"; exit 1; }
for program in $programs; do
  file=$(readlink -f "$prefix/$program")
  readelf -S --wide "$(dirname "$file")/.debug/$(basename "$file").debug" 2>/dev/null | grep -q ' \.debug_info ' ||
    { echo "$program has no debug information beside it"; exit 1; }
  readelf -p .gnu_debuglink "$file" | grep -q "$(basename "$file").debug" || { echo "$program does not name it"; exit 1; }
done
"$prefix/bin/veltro" --help >/dev/null
