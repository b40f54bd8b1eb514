#!/usr/bin/env bash
# The run report in a real browser: for every example, the report nexhost writes during
# the run and the one it writes from the saved --json run must be the same page, and
# headless Chromium must draw it without a console error, with as many chart points as
# the run has samples and reports (tests/report/browser-check.js). With connected-rssi
# among them, so must its report compared with the same run at alpha 0.8 (compared.html),
# and the report of its modem messages alone (modem-only.html).
# Screenshots go to OUT.
#   browser.sh NEXHOST OUT EXAMPLE.json...      exit 77: Chromium or Node.js is missing
set -euo pipefail
nexhost=$1 out=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
for tool in chromium node; do
  if ! command -v "$tool" >/dev/null; then
    echo "SKIP: $tool is not installed (scripts/setup browser installs it)"
    exit 77
  fi
done
mkdir -p "$out"
pairs=()
for example in "$@"; do
  name=$(basename "$example" .json)
  "$nexhost" run --json --report "$out/$name.html" "$example" >"$out/$name.jsonl"
  "$nexhost" run "$example" >"$out/$name.txt"
  "$nexhost" report "$out/$name.jsonl" -o "$out/$name.saved.html"
  # The pages differ only in the source they name.
  if ! cmp -s <(sed 's/"source":"[^"]*"//' "$out/$name.html") \
              <(sed 's/"source":"[^"]*"//' "$out/$name.saved.html"); then
    echo "FAIL $name: the report of the saved run differs from the run's own report"
    exit 1
  fi
  pairs+=("$out/$name.html=$out/$name.jsonl=$out/$name.txt")
done
for example in "$@"; do
  [ "$(basename "$example")" = connected-rssi.json ] || continue
  # A run filtered to the modem messages: its reports drawn, what is missing said.
  "$nexhost" run --json --only modem "$example" >"$out/modem-only.jsonl"
  "$nexhost" run --only modem "$example" >"$out/modem-only.txt"
  "$nexhost" report - -o "$out/modem-only.html" <"$out/modem-only.jsonl"
  pairs+=("$out/modem-only.html=$out/modem-only.jsonl=$out/modem-only.txt")
  ln -sfn "$(cd "$(dirname "$example")" && pwd)/captures" "$out/captures"
  sed 's/"alpha": 0.5/"alpha": 0.8/' "$example" >"$out/alpha-0.8.json"
  "$nexhost" run --json "$out/alpha-0.8.json" >"$out/alpha-0.8.jsonl"
  "$nexhost" report "$out/connected-rssi.jsonl" --compare "$out/alpha-0.8.jsonl" \
    -o "$out/compared.html"
  pairs+=("$out/compared.html=$out/connected-rssi.jsonl+$out/alpha-0.8.jsonl=$out/connected-rssi.txt")
done
exec node "$here/browser-check.js" chromium "$out" "${pairs[@]}"
