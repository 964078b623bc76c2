#!/bin/bash
# Uses the Debian packages of a folder: installs them, builds the consumer and the examples against them, runs those,
# and removes the packages. That changes the machine, so it is done where continuous integration runs as root;
# elsewhere the packages are only unpacked.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
packages=$(cd "$1" && pwd)
scratch=$(mktemp -d)
names=()
for file in "$packages"/*.deb; do
    names+=("$(dpkg-deb -f "$file" Package)")
    for field in Version Description Maintainer Section Depends; do [[ -n $(dpkg-deb -f "$file" $field) ]]; done
done
echo "${names[*]}"

if [[ -n ${CI:-} ]] && ((EUID == 0)); then
    apt() { DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 "$@" >/dev/null; }
    trap 'rm -rf "$scratch"; apt purge "${names[@]}"' EXIT
    apt install --no-install-recommends "$packages"/*.deb
    root=
else
    trap 'rm -rf "$scratch"' EXIT
    root=$scratch/root
    for file in "$packages"/*.deb; do dpkg-deb -x "$file" "$root"; done
fi
"$here/../consumer/test.sh" prefix "$root/usr"
# The quickest of the examples, as somebody copies them.
cp -r "$root/usr/share/orvex/examples" "$scratch/examples"
cmake -G Ninja -S "$scratch/examples" -B "$scratch/build" -D CMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$scratch/build" --target explain_cast >/dev/null
ctest --test-dir "$scratch/build" -R explain_cast --output-on-failure
