#!/usr/bin/env bash
# What users of wpa_cli, jq and tshark type works: log levels by name, kinds listed with
# blanks, -q (nothing printed, the report still written).
set -uo pipefail
nexhost=$1
example=$2  # a scenario with log lines and modem messages
fail() { echo "FAIL: $*" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$nexhost" run --log-level 1 --only modem,log "$example" >"$scratch/numbers" || fail "by number"
for level in debug DEBUG; do
  "$nexhost" run --log-level "$level" --only 'modem, log' "$example" >"$scratch/names" ||
    fail "--log-level $level --only 'modem, log'"
  cmp -s "$scratch/numbers" "$scratch/names" || fail "--log-level $level differs from 1"
done
[ -s "$scratch/numbers" ] || fail "nothing printed"

"$nexhost" run -q --report "$scratch/r.html" "$example" >"$scratch/quiet" 2>&1 || fail "-q"
[ ! -s "$scratch/quiet" ] || fail "-q printed: $(head -3 "$scratch/quiet")"
[ -s "$scratch/r.html" ] || fail "-q wrote no report"

echo "habits ok"
