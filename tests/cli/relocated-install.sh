#!/usr/bin/env bash
# An installed tree works wherever it is moved: cmake --install into one directory, move
# it to another, then the installed nexhost (finding libnex and the plug-in relative to
# itself) replays every installed example into its expected output, and the manual page
# and completion are where man and bash look for them.
set -euo pipefail
build=${1:?usage: relocated-install.sh BUILD_DIR CHECK_GOLDEN}
check_golden=${2:?}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$scratch/first" >/dev/null
mv "$scratch/first" "$scratch/moved"
tree=$scratch/moved
nexhost=$tree/bin/nexhost
[ -x "$nexhost" ] || fail "no bin/nexhost in the installed tree"
readelf -d "$nexhost" | grep -q 'RUNPATH.*\[\$ORIGIN/' || fail "nexhost's run path is not relative to it"
if readelf -d "$nexhost" "$tree"/lib*/nexhost/*.so "$tree"/lib/*/nexhost/*.so 2>/dev/null |
   grep -F "$build"; then
  fail "the installed tree names the build directory"
fi
unset NEXHOST_PLUGIN
"$nexhost" --version | grep -q '^nexhost [0-9]' || fail "nexhost --version: $("$nexhost" --version 2>&1)"
[ -s "$tree/share/man/man1/nexhost.1" ] || fail "no manual page"
[ -s "$tree/share/bash-completion/completions/nexhost" ] || fail "no bash completion"
# The completion offers subcommands, a subcommand's options and an option's values.
completes() {  # completes "WORDS..." EXPECTED: what bash offers for the last word
  local got
  got=$(bash -c 'source /usr/share/bash-completion/bash_completion && source "$1" && shift &&
    COMP_WORDS=("$@") && COMP_CWORD=$(($# - 1)) && COMP_LINE="$*" &&
    COMP_POINT=${#COMP_LINE} && _nexhost && echo "${COMPREPLY[*]}"' \
    _ "$tree/share/bash-completion/completions/nexhost" $1)
  [ "$got" = "$2" ] || fail "completing '$1' offers '$got', not '$2'"
}
completes "nexhost r" "run report"
completes "nexhost run --only modem,st" "modem,step"
completes "nexhost live --ctrl-t" "--ctrl-timeout"
completes "nexhost decode --type wlan_" "wlan_available wlan_config"
examples=("$tree"/share/doc/nexhost/examples/*.json)
[ ${#examples[@]} -ge 5 ] || fail "examples missing: ${examples[*]}"
"$check_golden" "$nexhost" "${examples[@]}"
echo "relocated install ok: ${#examples[@]} examples"
