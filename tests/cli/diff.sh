#!/usr/bin/env bash
# nexhost diff on runs of one example: equal to itself (0), one supplicant reply changed
# names the first differing event and field (1), a time-shifted run is equal with
# --ignore-time, and bad input is refused in one line (2); report --compare's bad input.
set -uo pipefail
nexhost=$1
example=$2  # a scenario whose SIGNAL_POLL replies include "RSSI=-51"
fail() { echo "FAIL: $*" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1
ln -s "$(dirname "$example")/captures" captures

run() {  # run SCENARIO OUTPUT
  "$nexhost" run --json "$1" >"$2" || fail "nexhost run $1 failed"
}
expect() {  # expect CODE OUTPUT-FRAGMENT -- ARGS...
  local code=$1 fragment=$2
  shift 3
  timeout 20 "$nexhost" "$@" >out 2>err
  local got=$?
  [ "$got" -eq "$code" ] || fail "nexhost $*: exit $got, expected $code ($(cat err))"
  [ -z "$fragment" ] || grep -qF -- "$fragment" out err ||
    fail "nexhost $*: output lacks '$fragment':"$'\n'"$(cat out err)"
  if [ "$code" -eq 2 ] && grep -q '^nexhost: ' err; then
    [ ! -s out ] && [ "$(wc -l <err)" -eq 1 ] || fail "nexhost $*: not one error line"
  fi
}

run "$example" a.jsonl
sed 's/RSSI=-51/RSSI=-60/' "$example" >changed.json
run changed.json changed.jsonl
sed 's/"at": 0,/"at": 1,/; s/"at": 9,/"at": 10,/' "$example" >shifted.json
run shifted.json shifted.jsonl
printf '{"time":0,"kind":"step"}\nnot json\n' >bad.jsonl

expect 0 "" -- diff a.jsonl a.jsonl
[ ! -s out ] || fail "equal runs printed: $(cat out)"
expect 0 "" -- diff a.jsonl - <a.jsonl

expect 1 "supplicant sta \"SIGNAL_POLL\" -> ok, RSSI -51" -- diff a.jsonl changed.jsonl
first=$(grep -m1 '^@@' out)
line=$(grep -n '"rssi":-51' a.jsonl | head -1 | cut -d: -f1)
[ "$first" = "@@ -$line +$line @@" ] || fail "the first group is '$first', expected line $line"
grep -qF "rssi: -51 -> -60" out || fail "the changed field is not named: $(cat out)"
grep -qF "wifi_meas_report.bss_info[0].rssi: " out || fail "the report's field is not named: $(cat out)"
expect 1 "" -- diff -q a.jsonl changed.jsonl
[ ! -s out ] || fail "-q printed: $(cat out)"
expect 0 "" -- diff --only step,result a.jsonl changed.jsonl
expect 0 "" -- diff --ignore supplicant,modem,log a.jsonl changed.jsonl

expect 1 "time: 0 -> 1" -- diff a.jsonl shifted.jsonl
expect 0 "" -- diff --ignore-time a.jsonl shifted.jsonl

expect 2 "nexhost: invalid run: bad.jsonl:2: not JSON" -- diff a.jsonl bad.jsonl
expect 2 "nexhost: cannot read no-such.jsonl" -- diff a.jsonl no-such.jsonl
expect 2 "not a regular file" -- diff a.jsonl captures/
expect 2 "only one of the runs can be standard input" -- diff - -
expect 2 "--only: " -- diff --only modems a.jsonl a.jsonl
# report --compare reads the other run under the same rules.
expect 2 "nexhost: invalid run: bad.jsonl:2: not JSON" -- \
  report a.jsonl --compare bad.jsonl -o compared.html
[ ! -e compared.html ] || fail "a refused comparison left its report behind"
expect 2 "only one of the runs can be standard input" -- report - --compare - -o compared.html
echo "diff ok"
