#!/usr/bin/env bash
# The package on the machine a new user starts from: a fresh Debian 12 root (made by
# FRESH_ROOT_TOOL, e.g. shared/tools/fresh-debian-root.sh), where `apt install ./DEB`
# must pull in what nexhost needs, `nexhost --version` and `man -w nexhost` work, and the
# installed examples replay into their expected outputs. Needs root.
#   tests/package/fresh-install.sh [DEB]     (default: build-package/nexhost_*.deb)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
deb=${1:-$(ls "$root"/build-package/nexhost_*.deb)}
tool=${FRESH_ROOT_TOOL:-$root/../shared/tools/fresh-debian-root.sh}
dir=${FRESH_ROOT_DIR:-/tmp/nexhost-fresh-root}
bash "$tool" "$dir"
cp "$deb" "$dir/tmp/"
bash "$tool" --run "$dir" bash -euo pipefail -c '
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq man-db >/dev/null   # what a user reads man pages with
  apt-get install -y ./tmp/'"$(basename "$deb")"' | tail -n 3
  nexhost --version
  man -w nexhost
  cd /usr/share/doc/nexhost/examples
  for scenario in *.json; do
    nexhost run "$scenario" | diff -u "${scenario%.json}.expected" - >/dev/null ||
      { echo "FAIL: $scenario differs from its expected output" >&2; exit 1; }
    echo "$scenario: as expected"
  done
  echo "fresh install ok"
'
