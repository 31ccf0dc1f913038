#!/bin/sh
# fresh_tutorial_test.sh TUTORIAL FOLDER: every command of the tutorial on a fresh Debian 12, with what is committed here to
# clone. Needs root, debootstrap and Debian's mirror; skipped without root.
set -eu
tutorial=$1 work=$2
here=$(cd "$(dirname "$0")" && pwd)

[ "$(id -u)" = 0 ] || { echo "skipped: only root can make a root folder"; exit 77; }
scratch=$(mktemp -d)
root=$scratch/root
trap 'rm -rf --one-file-system "$scratch"' EXIT
debootstrap --variant=minbase bookworm "$root" >"$scratch/log" 2>&1 || { tail -n 30 "$scratch/log"; exit 1; }
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/scratch"
git clone -q --bare "$here/../.." "$root/srv/libveltro.git"

# In a process table and mounts of its own: what is started there ends with it, and no messenger of this machine is seen.
cat >"$scratch/shell" <<END
mount -t proc proc "$root/proc"
cd /
exec chroot "$root" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \\
  URL=/srv/libveltro.git bash -c 'cd && exec bash'
END
python3 "$here/tutorial_test.py" "$tutorial" "$work" unshare --mount --pid --fork --kill-child sh -eu "$scratch/shell"
