#!/usr/bin/env bash
# The Debian package carries the version nexhost --version prints (CMake's project
# version): a release changes both or neither.
set -euo pipefail
changelog=${1:?usage: package-version.sh debian/changelog VERSION}
version=$2
packaged=$(sed -n '1s/^[^ ]* (\([^)]*\)).*/\1/p' "$changelog")
if [ "$packaged" != "$version" ]; then
  echo "FAIL: debian/changelog is at $packaged, CMakeLists.txt's project at $version" >&2
  exit 1
fi
echo "package version $packaged"
