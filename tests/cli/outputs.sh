#!/usr/bin/env bash
# nexhost never destroys what it did not make: one row for each way its outputs once lost
# data (a device node unlinked, an input or a recording overwritten, a failed write taken
# for success, a session cut by a closed pipe leaving empty files).
#
#   outputs.sh NEXHOST FAKE-SUPPLICANT SCENARIO
# SCENARIO: a scenario that needs no reply files and prints events.
set -uo pipefail
nexhost=$1
fake=$2
scenario=$3

scratch=$(mktemp -d)
fakePid=
cleanup() {
  [ -z "$fakePid" ] || kill "$fakePid" 2>/dev/null
  rm -rf "$scratch"
}
trap cleanup EXIT
cd "$scratch" || exit 1
socket=$scratch/wlan0
"$fake" "$socket" &
fakePid=$!
for _ in $(seq 50); do [ -S "$socket" ] && break; sleep 0.1; done

failures=0
row=
fail() {
  echo "FAIL row $row: $*" >&2
  failures=$((failures + 1))
}
# run CODE -- ARGS: nexhost ARGS, its exit code checked; stderr in $err.
run() {
  local code=$1
  shift 2
  timeout 20 "$nexhost" "$@" >out 2>err
  local got=$?
  err=$(cat err)
  [ "$got" -eq "$code" ] || fail "nexhost $*: exit $got, expected $code ($err)"
}
# No temporary file is left beside the outputs by a run that ended (not killed).
tidy() {
  local left
  left=$(find . -name '.*.nexhost-*')
  [ -z "$left" ] || fail "temporary files left behind: $left"
}
says() { grep -qF -- "$1" err || fail "stderr lacks '$1': $err"; }
holds() { [ "$(cat "$1")" = "$2" ] || fail "$1 holds '$(head -c 80 "$1")', expected '$2'"; }
live=(live --sta-socket "$socket" --ssid any --reporting 1)
unreachable=(live --sta-socket "$scratch/no-such-socket" --ssid any)

cp "$scenario" mine.json
"$nexhost" run --json mine.json >run.jsonl
echo '{"time":0,"kind":"step"}' >one.jsonl
echo bad >bad.jsonl

# Each row: what the command once did, then what it does now.

row_1() {  # the report file's destructor removed any path, even a device node
  if [ "$(id -u)" -ne 0 ]; then
    echo "row 1: skipped the device node (mknod needs root); a FIFO stands in"
    mkfifo node
  else
    mknod node c 1 3
  fi
  run 2 -- report bad.jsonl -o node
  says "-o: node is not a regular file or a new name"
  run 2 -- --plugin /no-such-plugin.so run --report node mine.json
  run 2 -- "${unreachable[@]}" --report node
  [ -e node ] || fail "node was removed"
}

row_2() {  # the run was emptied before it was read, and replaced by a 0-event report
  cp run.jsonl run-copy.jsonl
  run 2 -- report run.jsonl -o run.jsonl
  says "-o: run.jsonl is the same file as the run run.jsonl"
  cmp -s run.jsonl run-copy.jsonl || fail "run.jsonl changed"
}

row_3() {  # the scenario was overwritten by HTML
  cp mine.json mine-copy.json
  run 2 -- run --report mine.json mine.json
  says "--report: mine.json is the same file as the scenario mine.json"
  cmp -s mine.json mine-copy.json || fail "the scenario changed"
}

row_4() {  # the link was removed and its target left at 0 bytes
  echo earlier >target.html
  ln -s target.html link.html
  run 2 -- report bad.jsonl -o link.html
  [ -L link.html ] || fail "the link is gone"
  holds target.html earlier
  # On success the link stays and the file it points to is replaced.
  run 0 -- report run.jsonl -o link.html
  [ -L link.html ] || fail "the link was replaced by a file"
  grep -q "<html" target.html || fail "the link's target holds no report"
}

row_10() {  # a full standard output was exit 0, no message
  for args in "run mine.json" "run --json mine.json" "decode stop:07000000" \
    "report run.jsonl -o -"; do
    timeout 20 "$nexhost" $args >/dev/full 2>err
    local got=$?
    [ "$got" -eq 1 ] || fail "nexhost $args >/dev/full: exit $got, expected 1"
    grep -q "cannot write standard output: No space left on device" err ||
      fail "nexhost $args >/dev/full: $(cat err)"
  done
  # A reader that has read enough is no failure (grep -m1, head): exit 0, quietly.
  "$nexhost" run --json --report r.html mine.json 2>err | head -1 >/dev/null
  [ "${PIPESTATUS[0]}" -eq 0 ] || fail "run | head -1: exit ${PIPESTATUS[0]}: $(cat err)"
  [ ! -s err ] || fail "run | head -1 said: $(cat err)"
  grep -q "<html" r.html || fail "run | head -1 left no report"
}

row_11() {  # a closed pipe killed live mode: both files empty, no stop-all sent
  local start=$SECONDS
  timeout 20 "$nexhost" "${live[@]}" --duration 30 --json --record r.json --report r.html \
    2>err | grep -m1 '"kind":"step"' >/dev/null
  local got=${PIPESTATUS[0]}
  [ "$got" -eq 0 ] || fail "live | grep -m1: exit $got: $(cat err)"
  [ $((SECONDS - start)) -lt 10 ] || fail "live ran on $((SECONDS - start)) s after its reader left"
  grep -q '"stop_all"' r.json || fail "the recording has no stop_all: $(head -c 300 r.json)"
  "$nexhost" run r.json >replay 2>err || fail "the recording does not replay: $(cat err)"
  grep -q "<html" r.html || fail "no report"
  # SIGTERM and SIGINT end a session the same way.
  for signal in TERM INT; do
    rm -f r.json
    "$nexhost" "${live[@]}" --duration 30 --record r.json >/dev/null 2>err &
    local pid=$!
    sleep 1
    kill -$signal $pid
    wait $pid || fail "live ended by SIG$signal: exit $?"
    grep -q '"stop_all"' r.json || fail "SIG$signal: the recording has no stop_all"
  done
}

row_12() {  # the old recording was emptied before the session even started
  echo earlier >old.json
  run 1 -- "${unreachable[@]}" --record old.json --report old.html
  holds old.json earlier
  tidy
  "$nexhost" "${live[@]}" --duration 30 --record old.json >/dev/null 2>&1 &
  local pid=$!
  sleep 1
  kill -KILL $pid
  wait $pid 2>/dev/null
  holds old.json earlier
  # A report cut by a signal leaves the earlier one, and no temporary file. (SIGINT takes
  # the same way, but a script's background job ignores it.)
  rm -f .old.json.nexhost-*  # SIGKILL leaves no chance to remove it
  mkfifo run-in
  for signal in TERM HUP; do
    echo earlier >cut.html
    "$nexhost" report - -o cut.html <run-in 2>/dev/null &
    local pid=$!
    exec 3>run-in
    sleep 0.5
    kill -$signal $pid
    wait $pid 2>/dev/null
    exec 3>&-
    holds cut.html earlier
    tidy
  done
}

row_12b() {  # scenario, recording or a link's target silently replaced
  echo '{"steps": [{"at": 0, "wifi": "on"}]}' >s.json
  cp s.json s-copy.json
  run 2 -- "${live[@]}" --scenario s.json --record s.json
  says "--record: s.json is the same file as --scenario s.json"
  cmp -s s.json s-copy.json || fail "the scenario changed"
  run 2 -- "${live[@]}" --record x --report x
  says "--report: x is the same file as --record x"
  [ ! -e x ] || fail "x was created"
  run 2 -- "${live[@]}" --record -
  says "--record: standard output carries the events; give a file"
  ln -s s.json to-scenario.json
  run 2 -- "${live[@]}" --scenario s.json --record to-scenario.json
  says "is the same file as --scenario s.json"
  # A link to another file: kept as it was when the session fails, replaced on success.
  echo earlier >recording.json
  ln -s recording.json to-recording.json
  run 1 -- "${unreachable[@]}" --record to-recording.json
  holds recording.json earlier
  run 0 -- "${live[@]}" --duration 1 --record to-recording.json
  [ -L to-recording.json ] || fail "the link was replaced by a file"
  grep -q '"steps"' recording.json || fail "the link's target holds no recording"
}

row_13() {  # smaller faults: a FIFO blocked, wrong or raw-byte errors, a NUL cut a line
  mkfifo fifo
  run 2 -- "${live[@]}" --record fifo
  says "--record: fifo is not a regular file or a new name (a FIFO)"
  run 2 -- report /no-such-run.jsonl -o r.html
  says "cannot read /no-such-run.jsonl: No such file or directory"
  printf '{"time":0,"kind":"step"}\0{"time":"x"}\n' >nul.jsonl
  run 2 -- report nul.jsonl -o r.html
  says "nul.jsonl:1: a NUL byte at column 25"
  run 2 -- report $'\xff.jsonl' -o r.html
  says 'cannot read \xff.jsonl'
  run 2 -- run --report $'\xff/r.html' mine.json
  says 'cannot write \xff/r.html'
  ! grep -q $'\xff' err || fail "an error line holds a raw 0xff byte"
  run 1 -- live --sta-socket $'\xff/wlan0' --ssid any
  says 'cannot reach wpa_supplicant at \xff/wlan0'
  ! grep -q $'\xff' err || fail "an error line holds a raw 0xff byte"
  # A scenario's name and its keys, in whatever bytes, are shown in ASCII.
  printf '{"steps": [x]}' >$'\xff.json'
  run 2 -- run $'\xff.json'
  says 'invalid scenario: \xff.json: line 1'
  printf '{"steps": [{"\xc3\xbf\\u0001": 1}]}' >keys.json
  run 2 -- run keys.json
  says 'steps[0]["\u00ff\u0001"]: unknown key'
  ! LC_ALL=C grep -q $'[\x01\x80-\xff]' err || fail "an error line holds a raw byte"
  printf '{"steps": [{"\xc3\xbf\x01": 1}]}' >parse.json  # the parser quotes what it read
  run 2 -- run parse.json
  says "last read: '\"\\xc3\\xbf<U+0001>'"
  ! LC_ALL=C grep -q $'[\x01\x80-\xff]' err || fail "an error line holds a raw byte"
}

for r in 1 2 3 4 10 11 12 12b 13; do
  row=$r
  mkdir "row-$r" && cd "row-$r" || exit 1
  cp ../mine.json ../run.jsonl ../one.jsonl ../bad.jsonl .
  "row_$r"
  tidy
  cd "$scratch" || exit 1
done
[ "$failures" -eq 0 ] || exit 1
echo "outputs ok"
