#!/usr/bin/env bash
# nexhost report refuses what a run does not write, and stays bounded on what one does:
# one row for each way its input once aborted it, broke the page or ate time and memory.
#
#   report-input.sh NEXHOST SCENARIO
# SCENARIO: a connected-mode example (its saved run is the base the rows edit).
set -uo pipefail
nexhost=$1
scenario=$2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1

failures=0
row=
fail() {
  echo "FAIL row $row: $*" >&2
  failures=$((failures + 1))
}
# refused INPUT MESSAGE: report INPUT exits 2 with one line holding MESSAGE, and the
# report it was to replace is kept.
refused() {
  echo earlier >r.html
  timeout 20 "$nexhost" report "$1" -o r.html >out 2>err
  local got=$?
  [ "$got" -eq 2 ] || fail "report $1: exit $got, expected 2 ($(head -c 300 err))"
  [ "$(wc -l <err)" -eq 1 ] || fail "report $1: not one line: $(head -c 300 err)"
  grep -qF -- "$2" err || fail "report $1: stderr lacks '$2': $(head -c 300 err)"
  [ "$(cat r.html)" = earlier ] || fail "report $1: the earlier report was not kept"
}
# edited FILE JQ-FILTER: the saved run with the filter applied to its lines.
edited() { jq -c "$2" run.jsonl >"$1"; }

"$nexhost" run --json "$scenario" >run.jsonl

row_5() {  # a JSON type error aborted nexhost (exit 134) and left a 0-byte page
  edited accepted.jsonl 'if .kind == "result" then .accepted = "yes" else . end'
  refused accepted.jsonl 'key "accepted": expected true or false, got a text'
  edited ok.jsonl 'if .command == "SIGNAL_POLL" then .ok = "yes" else . end'
  refused ok.jsonl 'key "ok": expected true or false, got a text'
  grep -q ":$(grep -n '"SIGNAL_POLL"' run.jsonl | head -1 | cut -d: -f1): " err ||
    fail "the error does not name the first SIGNAL_POLL's line: $(cat err)"
}

row_6() {  # exit 0, but the page's script threw on the wrong types: no timeline
  edited bss-info.jsonl 'if .message == "wifi_meas_report" then .fields.bss_info = 7 else . end'
  refused bss-info.jsonl 'key "fields.bss_info": expected a list, got an integer'
  edited ident.jsonl 'if .action == "start" then .indication.wifi_ident = "net" else . end'
  refused ident.jsonl 'key "indication.wifi_ident": expected a list, got a text'
  edited alpha.jsonl 'if .action == "start" then .indication.alpha = 1e39 else . end'
  refused alpha.jsonl 'key "indication.alpha": 1e+39 does not fit'
  # The text output is no run to report on.
  "$nexhost" run "$scenario" >text.txt
  refused text.txt "run with --json"
}

# flood SCANS: a scan measurement of any network where every scan, one every 2 units, finds
# 16 access points never seen before (a beacon flood's shape).
flood() {
  awk -v scans="$1" 'BEGIN {
    printf "{\"peers\": {\"supplicant\": {\"scan_ready_after\": 1, \"sta\": {"
    printf "\"SCAN\": {\"reply\": \"OK\\n\"}, \"SCAN_RESULTS\": {\"sequence\": ["
    for (s = 0; s < scans; s++) {
      printf "%s{\"reply\": \"bssid / frequency / signal level / flags / ssid\\n", s ? "," : ""
      for (a = 0; a < 16; a++) {
        n = s * 16 + a
        printf "02:%02x:%02x:%02x:00:01\\t2437\\t%d\\t[ESS]\\tflood-%d\\n", int(n / 65536) % 256,
               int(n / 256) % 256, n % 256, -40 - n % 50, n
      }
      printf "\"}"
    }
    printf "]}}}}, \"steps\": [{\"at\": 0, \"start\": {\"id\": 1, \"quantities\": [\"rssi\"], "
    printf "\"networks\": [{\"ssid\": \"any\", \"bssids\": [{\"bssid\": \"ff:ff:ff:ff:ff:ff\", "
    printf "\"channels\": [65535]}]}], \"reporting_interval\": 2}}, "
    printf "{\"advance\": %d}]}\n", scans * 2
  }'
}

# peak COMMAND...: runs it, and prints its peak memory in kB.
peak() { /usr/bin/time -f %M -o peak.kb "$@" >/dev/null 2>&1; tail -n 1 peak.kb; }
# Under AddressSanitizer memory is the sanitizer's (freed blocks wait in quarantine), and
# a line costs a hundred times more: the memory rows measure only a plain build.
sanitized=0
grep -qa __asan_init "$nexhost" && sanitized=1

row_7() {  # a 1,000-scan flood: 672 MB peak and a 97 MB page; one series per access point
  flood 300 >flood.json
  local kb
  kb=$(peak "$nexhost" run --report flood.html flood.json)
  [ "$sanitized" -eq 1 ] || [ "$kb" -le $((128 * 1024)) ] || fail "the flood's report took $kb kB"
  [ "$(wc -c <flood.html)" -le $((16 * 1024 * 1024)) ] || fail "the flood's page is $(wc -c <flood.html) bytes"
  # 32 access points drawn, the other 4,768 as one series; no row wider than the labels.
  data flood.html | jq -e '.measurements[0].panels[0] | (.labels | length) == 34 and
      .left_out == 4768 and all(.rows[]; length == 34)' >/dev/null ||
    fail "the flood's chart: $(data flood.html | jq -c '.measurements[0].panels[0] | [.labels[-3:], .left_out]')"
}

row_8() {  # one 1 MiB line of 131,067 keys took 78 s; 50,000 kinds 51 s
  # Three-letter keys fill 1 MiB exactly.
  awk 'BEGIN { a = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_-"
    printf "{\"time\":0,\"kind\":\"log\""
    for (i = 0; i < 131067; i++)
      printf ",\"%s%s%s\":0", substr(a, int(i / 4096) + 1, 1), substr(a, int(i / 64) % 64 + 1, 1), substr(a, i % 64 + 1, 1)
    print "}" }' >keys.jsonl
  [ "$(wc -c <keys.jsonl)" -le $((1024 * 1024)) ] || fail "the line is over 1 MiB"
  local start=$SECONDS
  refused keys.jsonl 'key "000": a log event has no such key'
  [ $((SECONDS - start)) -le 2 ] || fail "the 1 MiB line took $((SECONDS - start)) s"
  awk 'BEGIN { for (i = 0; i < 50000; i++) printf "{\"time\":0,\"kind\":\"k%d\"}\n", i }' >kinds.jsonl
  refused kinds.jsonl 'kinds.jsonl:1: key "kind": no event is of kind "k0"'
  # Timer lines after a start that is never answered: 95 MB for 3 M, growing. Both counts
  # fill the timeline's budget.
  [ "$sanitized" -eq 0 ] || return 0
  local n small
  for n in 150000 450000; do
    { grep -m1 '"action":"start"' run.jsonl
      awk -v n=$n 'BEGIN { for (i = 1; i <= n; i++)
        printf "{\"time\":%d,\"kind\":\"timer\",\"action\":\"add\",\"id\":%d,\"period\":1}\n", i, i }'
    } >timers.jsonl
    kb=$(peak "$nexhost" report timers.jsonl -o timers.html)
    [ "$n" -eq 150000 ] && small=$kb
  done
  [ "$kb" -le $((small + 4096)) ] || fail "timer lines: $small kB for 150,000, $kb kB for 450,000"
}

# data PAGE: the chart data the page was written with.
data() { sed -n 's:.*<script type="application/json" id="report-data">\(.*\)</script>.*:\1:p' "$1"; }

row_9() {  # alpha 5 or -0.5: the plug-in kept 0.5, the chart folded with 5 (to -20,242 dBm)
  ln -sfn "$(dirname "$scenario")/captures" captures
  local alpha
  for alpha in 5 -0.5; do
    jq ".steps[0].start.alpha = $alpha" "$scenario" >alpha.json
    "$nexhost" run --json --report alpha.html alpha.json >alpha.jsonl || fail "run alpha $alpha"
    # Each report carries the plug-in's average at its time: the chart's must be the same.
    data alpha.html | jq -e '.measurements[0] | .alpha == 0.5 and
        ([.panels[0].rows[] | select(.[3] != null)] | length > 0 and all(.[2] == .[3]))' >/dev/null ||
      fail "alpha $alpha: the average is not the one reported: $(data alpha.html | jq -c '.measurements[0].panels[0].rows')"
  done
}

row_partial() {  # --only modem: "No raw measurement ran", though two reports were in it
  "$nexhost" run --json --only modem "$scenario" | "$nexhost" report - -o modem.html ||
    fail "report of the modem messages"
  data modem.html | jq -e '.measurements[0] | .mode == "reports" and (.panels[0].rows | length) == 2' \
    >/dev/null ||
    fail "the reports are not drawn: $(data modem.html | jq -c '.measurements')"
  data modem.html | jq -e '.notes | any(test("no steps, so not its start record"))' >/dev/null ||
    fail "no note says why the average is missing: $(data modem.html | jq -c '.notes')"
  data modem.html | jq -e '.source == "standard input"' >/dev/null ||
    fail "the page names its source $(data modem.html | jq -c '.source'), not standard input"
  # With the steps but without the supplicant's polls: the mode is known, the samples are not.
  "$nexhost" run --json --only step,result,modem "$scenario" | "$nexhost" report - -o steps.html
  data steps.html | jq -e '(.measurements[0].mode == "connected") and
      (.notes | any(test("no supplicant events")))' >/dev/null ||
    fail "no note says why the samples are missing: $(data steps.html | jq -c '.notes')"
}

for r in 5 6 7 8 9 partial; do
  row=$r
  "row_$r"
done
[ "$failures" -eq 0 ] || exit 1
echo "report input ok"
