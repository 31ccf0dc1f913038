#!/bin/sh
# fresh_root_test.sh PACKAGES CONSUMER: installs the packages on a fresh Debian 12 and builds the small outside program
# there, through pkg-config and through the CMake package, with nothing but what the packages depend on, a compiler and
# CMake. Needs root, debootstrap and Debian's mirror; skipped without root.
set -eu
packages=$1 consumer=$2

[ "$(id -u)" = 0 ] || { echo "skipped: only root can make a root folder"; exit 77; }
scratch=$(mktemp -d)
root=$scratch/root
trap 'umount "$root/proc" 2>/dev/null || true; rm -rf --one-file-system "$scratch"' EXIT
log=$scratch/log
quietly() { "$@" >"$log" 2>&1 || { tail -n 30 "$log"; echo "failed: $*"; exit 1; }; }

quietly debootstrap --variant=minbase bookworm "$root"
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/scratch"
mount -t proc proc "$root/proc"
for package in veltro-tools libveltro0 libveltro-dev; do
  cp "$packages/$package"_*.deb "$root/tmp/$package.deb"
done
cp -r "$consumer" "$root/tmp/consumer"
cp "$consumer/../../../examples/component/ownership.h" "$root/tmp/consumer"

in_root() {
  quietly env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive \
    chroot "$root" "$@"
}
check() { [ "$(cat "$log")" = "$1" ] || { echo "$2 printed: $(cat "$log")"; exit 1; }; }
expected="release 9.3.5, class ZLTUtils, blocks retain, notifications arrive, processes listed, 2 freed"

# The tool's package without the others first, and it has to bring all that it runs on.
in_root apt-get install -y --no-install-recommends /tmp/veltro-tools.deb /tmp/libveltro0.deb
in_root veltro info
grep -q '^release: 9.3.5$' "$log" || { cat "$log"; exit 1; }
in_root veltro view loading --language de -o /tmp/loading.png

# The messenger as it lies under /usr, in a process table of its own, with which it ends.
cat >"$root/tmp/messenger" <<'END'
set -eu
veltro -q messenger start
veltro -q send 5 --text "from the installed one"
veltro messenger stop
END
# shellcheck disable=SC2016 # for the inner shell
quietly unshare --mount --pid --fork --kill-child sh -c '
  mount -t proc proc "$1/proc"
  exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root chroot "$1" sh /tmp/messenger' sh "$root"
grep -q '^from the installed one' "$log" || { cat "$log"; exit 1; }

in_root apt-get install -y --no-install-recommends /tmp/libveltro-dev.deb clang-19 cmake ninja-build pkg-config
cat >"$root/tmp/build" <<'END'
set -eu
cd /tmp/consumer
for file in object.m ownership.m main.mm plain.c plain.cpp; do
  case $file in *.mm | *.cpp) standard=-std=c++20 ;; *) standard= ;; esac
  clang-19 $standard -Wall -Werror $(pkg-config --cflags veltro) -c $file -o $file.o
done
clang++-19 *.o $(pkg-config --libs veltro) -o by-pkg-config
cmake -G Ninja -B tree -DCMAKE_C_COMPILER=clang-19 -DCMAKE_CXX_COMPILER=clang++-19 \
  -DCMAKE_OBJC_COMPILER=/usr/bin/clang-19 -DCMAKE_OBJCXX_COMPILER=/usr/bin/clang++-19
cmake --build tree
END
in_root sh /tmp/build
in_root /tmp/consumer/by-pkg-config
check "$expected" "the program built through pkg-config"
in_root /tmp/consumer/tree/consumer
check "$expected" "the program built through the CMake package"
if readelf -d "$root/tmp/consumer/tree/consumer" "$root/tmp/consumer/by-pkg-config" | grep -E 'R(UN)?PATH'; then
  echo "the program looks for the library by a path of its own"
  exit 1
fi

# The component of `veltro new`, with its tests.
cat >"$root/tmp/component" <<'END'
set -eu
cd /tmp
veltro new Words
cd Words
CMAKE_GENERATOR=Ninja cmake --workflow --preset linux
END
in_root sh /tmp/component
grep -q '100% tests passed' "$log" || { cat "$log"; exit 1; }

# They go as they came.
in_root apt-get purge -y veltro-tools libveltro-dev libveltro0
if find "$root/usr" -name '*veltro*' | grep .; then
  echo "the files above are left behind"
  exit 1
fi
