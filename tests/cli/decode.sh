#!/usr/bin/env bash
# No byte is lost in nexhost's output, and decode reads back what a run prints: the bytes
# of every record in the examples' --json output decode, with the type found from their
# length, to the run's own fields. Bad input stops with one line naming the argument or
# input line, and exit code 2.
set -uo pipefail
nexhost=$1
shift
fail() { echo "FAIL: $*" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for scenario in "$@"; do
  "$nexhost" run --json --log-level 5 "$scenario" || fail "run $scenario"
done | jq -c 'select(.bytes) | {type: (.message // .action), fields: (.fields // .indication // .config), bytes}' \
  >"$scratch/run"
jq -r .bytes "$scratch/run" | "$nexhost" decode --json | jq -c '{type: .message, fields, bytes}' \
  >"$scratch/decoded" || fail "decode of the run's bytes"
diff -u "$scratch/run" "$scratch/decoded" >&2 || fail "decoded fields differ from the run's"
kinds=$(jq -r .type "$scratch/run" | sort -u | tr '\n' ' ')
for kind in wifi_meas_report wqe_profile_quality_status notify_data_settings wlan_available \
  start stop wqe_profile_init set_wqe_profile wlan_config; do
  [[ " $kinds" == *" $kind "* ]] || fail "the examples' run has no $kind record: $kinds"
done

# Bytes are never lost in output: the any-network SSID (32 bytes 0xFF) shows as \xff in
# the plug-in's log line as in the decoded fields, and every line is ASCII.
echo '{"steps": [{"at": 0, "start": {"id": 1, "quantities": ["rssi"], "reporting_interval": 5,
  "networks": [{"ssid": "any"}]}}]}' >"$scratch/any.json"
"$nexhost" run --json --log-level 0 "$scratch/any.json" >"$scratch/any.jsonl" || fail "run any.json"
! LC_ALL=C grep -n '[^ -~]' "$scratch/any.jsonl" >&2 || fail "a line of run --json is not ASCII"
ff=$(printf '\\xff%.0s' {1..32})
jq -e --arg ssid "$ff" -s 'any(.kind == "log" and .text == "startMeasurement  mdx ssid " + $ssid)
  and any(.kind == "step" and .indication.wifi_ident[0].ssid == $ssid)' "$scratch/any.jsonl" \
  >/dev/null || fail "the any-network SSID is not \\xff x 32 in the log line and the step"

expect() {  # expect STDERR-FRAGMENT STDIN ARGS...
  local fragment=$1 input=$2
  shift 2
  printf '%b' "$input" | "$nexhost" decode "$@" >"$scratch/out" 2>"$scratch/err"
  local got=$?
  [ "$got" -eq 2 ] || fail "decode $*: exit $got, expected 2"
  [ "$(wc -l <"$scratch/err")" -eq 1 ] || fail "decode $*: not one line: $(cat "$scratch/err")"
  grep -qF -- "$fragment" "$scratch/err" || fail "decode $*: stderr lacks '$fragment': $(cat "$scratch/err")"
}
expect "standard input line 3: \"g\" at column 2 is not a hex digit" '07000000\n\n0g\n'
expect "standard input line 1: a lone hex digit at column 4" '07 0 000000\n'
expect "argument 2: 3 bytes, but a stop record is 4 bytes" '' 07000000 stop:070000
expect "argument 1: 5 bytes is the size of no record" '' 0700000000
expect "argument 1: unknown record type \"bogus\"" '' bogus:07000000
expect "standard input line 1: longer than 65536 bytes" "$(head -c 70000 /dev/zero | tr '\0' 0)\n"
echo ok
