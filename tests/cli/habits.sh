#!/usr/bin/env bash
# What users of wpa_cli, jq and tshark type works: log levels by name, kinds listed with
# blanks, -q (nothing printed, the report still written), - for standard input, pipes
# and process substitution.
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

# Standard input, a pipe and process substitution read as the file does; a file's
# relative paths (reply files) are beside it when standard input is redirected from it.
"$nexhost" run "$example" >"$scratch/file" || fail "run FILE"
for how in "redirect" "pipe" "process substitution"; do
  case $how in
    redirect) "$nexhost" run - <"$example" >"$scratch/other" ;;
    pipe) cat "$example" | (cd "$(dirname "$example")" && "$nexhost" run -) >"$scratch/other" ;;
    "process substitution") (cd "$(dirname "$example")" && "$nexhost" run <(cat "$example")) \
      >"$scratch/other" ;;
  esac || fail "run from a $how"
  cmp -s "$scratch/file" "$scratch/other" || fail "run from a $how differs from run FILE"
done
# Size limits hold as the bytes arrive.
head -c $((16 * 1024 * 1024 + 1)) /dev/zero | "$nexhost" run - 2>"$scratch/err" >/dev/null
[ $? -eq 2 ] && grep -q "standard input: cannot read the file: larger than 16 MiB" "$scratch/err" ||
  fail "17 MiB on a pipe: $(cat "$scratch/err")"
echo "habits ok"
