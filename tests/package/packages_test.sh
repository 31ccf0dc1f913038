#!/bin/sh
# packages_test.sh: Debian's packages are made, made again with the same bytes, and without errors for lintian; what
# each depends on is what it uses.
set -eu
cd "$(dirname "$0")/../.."

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
scripts/package >/dev/null
cp build/packages/*.deb "$scratch"
# Files that are laid down again are younger; the packages must not tell.
sleep 1.1
scripts/package >/dev/null
for package in libveltro0 libveltro-dev veltro-tools; do
  cmp build/packages/"$package"_*.deb "$scratch/$package"_*.deb
done
lintian --fail-on error --allow-root build/packages/*.deb

depends() { dpkg-deb -f build/packages/"$1"_*.deb Depends | grep -qF -- "$2" || { echo "$1 does not depend on $2"; exit 1; }; }
version=$(dpkg-deb -f build/packages/libveltro0_*.deb Version)
depends libveltro0 libgnustep-base1.28
depends libveltro0 libsodium23
depends libveltro-dev "libveltro0 (= $version)"
depends libveltro-dev libobjc-12-dev
depends veltro-tools "libveltro0 (= $version)"
depends veltro-tools libx11-6

for file in man/man1/veltro-send.1.gz bash-completion/completions/veltro zsh/vendor-completions/_veltro \
    fish/vendor_completions.d/veltro.fish; do
  dpkg-deb -c build/packages/veltro-tools_*.deb | grep " ./usr/share/$file$" >/dev/null || { echo "no $file"; exit 1; }
done

# Under /usr the loader finds what a program needs.
for package in libveltro0 veltro-tools; do
  dpkg-deb -x build/packages/"$package"_*.deb "$scratch"
done
[ -x "$scratch/usr/libexec/veltro/WhatsApp.app/WhatsApp" ] || { echo "no messenger"; exit 1; }
if readelf -d "$scratch"/usr/lib/*.so.0 "$scratch/usr/bin/veltro" "$scratch/usr/libexec/veltro/WhatsApp.app/WhatsApp" |
    grep -E 'R(UN)?PATH'; then
  echo "a program looks for the library by a path of its own"
  exit 1
fi
