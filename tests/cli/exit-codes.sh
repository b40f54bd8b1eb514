#!/usr/bin/env bash
# Exit codes and error messages of nexhost: 2 for an invalid scenario or command line
# (nothing runs, one line on stderr), 1 for an unreachable supplicant.
set -uo pipefail
nexhost=$1
data=$2
fail() { echo "FAIL: $*" >&2; exit 1; }

expect() {  # expect CODE STDERR-FRAGMENT -- ARGS...
  local code=$1 fragment=$2
  shift 3
  local out err
  out=$(mktemp) err=$(mktemp)
  timeout 20 "$nexhost" "$@" >"$out" 2>"$err"
  local got=$?
  [ "$got" -eq "$code" ] || fail "nexhost $*: exit $got, expected $code ($(cat "$err"))"
  grep -qF -- "$fragment" "$err" || fail "nexhost $*: stderr lacks '$fragment': $(cat "$err")"
  ! grep -v '^nexhost: ' "$err" >&2 || fail "nexhost $*: an error line without \"nexhost: \""
  if [ "$code" -eq 2 ]; then
    [ ! -s "$out" ] || fail "nexhost $*: printed output although nothing may run"
    if grep -q "invalid scenario" "$err"; then
      [ "$(wc -l <"$err")" -eq 1 ] || fail "nexhost $*: more than one line: $(cat "$err")"
    fi
  fi
  rm -f "$out" "$err"
}

expect 2 "$data/bad-channel.json: steps[1].start.networks[0].bssids[0].channels[0]: expected an integer from 0 to 65535, got \"2437\"" -- \
  run "$data/bad-channel.json"
expect 2 "$data/bad-syntax.json: line 4, column 3: expected valid JSON" -- run "$data/bad-syntax.json"
expect 2 "no-such.json: cannot read the file" -- run "$data/no-such.json"
expect 2 "nexhost: run: SCENARIO is required (see nexhost run --help)" -- run
# Command-line mistakes: one line, what is wrong, the likely intent, where help is.
expect 2 'nexhost: unknown command "rnu"; did you mean "run"? (see nexhost --help)' -- rnu x.json
expect 2 'nexhost: run: unknown option --josn; did you mean "--json"?' -- run --josn x.json
expect 2 'nexhost: live: unknown option --sta-sock; did you mean "--sta-socket"?' -- \
  live --sta-sock /tmp/x
expect 2 "nexhost: a command is required: run, live, report, diff or decode" --
expect 2 'expected trace, debug, info, warn, error, none or 0 to 5, got "loud"' -- \
  run --log-level loud "$data/empty.json"
expect 2 "--bssid: expected a BSSID" -- live --ssid any --bssid 02:00
expect 1 "cannot reach wpa_supplicant at /tmp/nexhost-no-such-dir/wlan0: No such file or directory" -- \
  live --sta-socket /tmp/nexhost-no-such-dir/wlan0 --ssid any
expect 1 "cannot reach wpa_supplicant at /tmp/nexhost-no-such-dir/wlan9: No such file" -- \
  live -p /tmp/nexhost-no-such-dir -i wlan9 --ssid any
expect 1 "cannot reach wpa_supplicant at /tmp/nexhost-no-such-dir/wlan9: No such file" -- \
  live -p/tmp/nexhost-no-such-dir -iwlan9 --ssid any
expect 2 "excludes --sta-socket" -- live -i wlan0 --sta-socket /tmp/x --ssid any
expect 1 "cannot load the plug-in" -- --plugin /tmp/nexhost-no-such-plugin.so run "$data/empty.json"
expect 2 "--report: cannot write /tmp/nexhost-no-such-dir/r.html: No such file or directory" -- \
  run --report /tmp/nexhost-no-such-dir/r.html "$data/empty.json"
expect 2 "invalid run: $data/bad-syntax.json:1: not JSON" -- \
  report "$data/bad-syntax.json" -o /tmp/nexhost-report-$$.html
[ ! -e /tmp/nexhost-report-$$.html ] || fail "a refused run left its report behind"

# Hostile files: refused in one line, never an abort or a hang.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
echo '{"steps": [{"advance": 1e400}]}' >"$scratch/huge-number.json"
mkfifo "$scratch/fifo"
echo '{"peers": {"supplicant": {"sta": {"STATUS": {"reply_file": "fifo"}}}}, "steps": []}' \
  >"$scratch/fifo-reply.json"
expect 2 "huge-number.json: line 1, column 24: expected a number from -1.8e308 to 1.8e308, got 1e400" -- \
  run "$scratch/huge-number.json"
expect 2 "huge-number.json: line 1, column 24" -- live --scenario "$scratch/huge-number.json"
expect 2 "$scratch: cannot read the file: not a regular file or pipe (a directory)" -- run "$scratch"
expect 2 "peers.supplicant.sta.STATUS.reply_file: expected a readable regular file" -- \
  run "$scratch/fifo-reply.json"
echo "exit codes ok"
