#!/usr/bin/env bash
# Runs the two commands of the README in a fresh minimal Debian, on a clone of the last commit.
# Needs root, debootstrap and the network. Usage: scripts/test-debian.sh 12|13 [ROOT]
# ROOT, when it exists, is taken as the root of that release and is changed; by default a new one is
# made, and removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
case ${1:-} in
  12) release=bookworm ;;
  13) release=trixie ;;
  *) sed -n '2,5s/^# //p' "$0" >&2 && exit 2 ;;
esac
install_packages debootstrap git
root=${2:-$(mktemp -d)}
[[ -d $root/etc ]] || debootstrap --variant=minbase "$release" "$root" >/dev/null
grep -q "VERSION_CODENAME=$release" "$root/etc/os-release"
rm -rf "$root/tmp/morvik"
git clone -q . "$root/tmp/morvik"

mount --bind /proc "$root/proc"
leave() {
  umount "$root/proc"
  [[ -n ${2:-} ]] || rm -rf "$root"
}
trap 'leave "$@"' EXIT
for command in ./scripts/demo.sh ./scripts/test.sh; do
  echo "== Debian $1: $command"
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 chroot "$root" \
    sh -c "cd /tmp/morvik && $command"
done
[[ -s $root/tmp/morvik/out/demo/index.html ]]
echo "Debian $1: both commands passed"
