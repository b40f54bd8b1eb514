#!/usr/bin/env bash
# nexhost run --json prints one JSON object per line, each with a number "time" and a
# text "kind", and jq reads every line.
set -euo pipefail
nexhost=$1
shift
for scenario in "$@"; do
  out=$(mktemp)
  "$nexhost" run --json --log-level 0 "$scenario" >"$out"
  lines=$(wc -l <"$out")
  objects=$(jq -c . <"$out" | wc -l)
  [ "$lines" -gt 0 ] && [ "$lines" -eq "$objects" ] || {
    echo "$scenario: $lines lines but $objects JSON values" >&2
    exit 1
  }
  jq -e -s 'all(type == "object" and (.time | type) == "number" and (.kind | type) == "string")' \
    <"$out" >/dev/null || {
    echo "$scenario: a line lacks time or kind" >&2
    exit 1
  }
  # Every modem message carries its decoded fields.
  jq -e -s '[.[] | select(.kind == "modem")] | all(.fields | type == "object")' <"$out" >/dev/null
  rm -f "$out"
done
