#!/usr/bin/env bash
# Runs the two commands of the README and its Python lines in a fresh minimal Debian, on a clone of the
# last commit.
# Needs root, debootstrap and the network. Usage: scripts/test-debian.sh 12|13 [ROOT]
# ROOT, when it exists, is taken as the root of that release and is changed; by default a new one is
# made, and removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/lib.sh
case ${1:-} in
  12) release=bookworm ;;
  13) release=trixie ;;
  *) sed -n '2,6s/^# //p' "$0" >&2 && exit 2 ;;
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
in_root() {
  echo "== Debian $release: $1"
  env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 chroot "$root" sh -c "cd /tmp/morvik && $1"
}
in_root ./scripts/demo.sh
in_root ./scripts/test.sh
[[ -s $root/tmp/morvik/out/demo/index.html ]]
# As they stand, except that root has no use for sudo.
python_lines=$(sed -n '/^## Python/,/^## JavaScript/p' README.md | sed -n '/^```/,/^```/{/^```/!p}')
in_root "set -e; sudo() { \"\$@\"; }; $python_lines" | tee /dev/stderr |
  grep -x 'Box(left=0, top=0, right=5, bottom=3)' >/dev/null
echo "Debian $1: both commands and the Python lines passed"
