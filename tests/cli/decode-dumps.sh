#!/usr/bin/env bash
# decode reads records as engineers paste them: the same records one per line, wrapped
# at 24 bytes a line (with TYPE: in capitals on some), as xxd dumps and as hexdump -C
# dumps (its "*" lines included) all decode into the same output. The records are every
# one the examples' runs print.
set -uo pipefail
nexhost=$1
shift
fail() { echo "FAIL: $*" >&2; exit 1; }
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for scenario in "$@"; do
  "$nexhost" run --json --log-level 5 "$scenario" || fail "run $scenario"
done | jq -r 'select(.bytes) | .bytes' | awk '!seen[$0]++' >"$scratch/records"
[ "$(wc -l <"$scratch/records")" -ge 9 ] || fail "too few records: $(wc -l <"$scratch/records")"
"$nexhost" decode --json <"$scratch/records" >"$scratch/expected" || fail "decode one per line"

: >"$scratch/wrapped"; : >"$scratch/xxd"; : >"$scratch/hexdump"
n=0
while read -r hex; do
  n=$((n + 1))
  # Every third record named by its type, in capitals.
  type=""
  [ $((n % 3)) -eq 0 ] && type="$("$nexhost" decode --json "$hex" | jq -r .message | tr a-z A-Z): "
  # No blank line between records: a short line or the sizes tell where one ends.
  { echo "$type${hex:0:48}"; [ ${#hex} -le 48 ] || echo "${hex:48}" | fold -w 48; } \
    >>"$scratch/wrapped"
  printf '%s' "$hex" | xxd -r -p | xxd >>"$scratch/xxd"
  printf '%s' "$hex" | xxd -r -p | hexdump -C >>"$scratch/hexdump"
done <"$scratch/records"
grep -q '^\*$' "$scratch/hexdump" || fail "no hexdump line was repeated: the test lost its point"

for form in wrapped xxd hexdump; do
  "$nexhost" decode --json <"$scratch/$form" >"$scratch/$form.out" ||
    fail "decode of the $form form: $(head -c 300 "$scratch/$form")"
  diff -u "$scratch/expected" "$scratch/$form.out" >&2 || fail "the $form form decodes differently"
done
echo "decode dumps ok: $n records, one per line = wrapped = xxd = hexdump -C"
