#pragma once

#include <cstdio>
#include <deque>
#include <set>
#include <string>

#include "compare/EventDifference.h"
#include "events/EventLines.h"

namespace nexhost {

struct DiffOptions {
  bool ignoreTime = false;
  std::set<std::string> only;    // compare only these kinds; empty: every kind
  std::set<std::string> ignore;  // leave these kinds out
  std::size_t maxShown = 10;     // differences printed; the rest are only counted
  std::size_t context = 3;       // equal events printed before and after a difference
};

// One event of a run and the line it came from.
struct RunEvent {
  long long line = 0;
  Event event;
};

// Pairs the events of two runs, streaming: in order, after leaving out the kinds the
// options leave out. Where the next two events differ, it looks up to kResyncWindow events
// ahead in each run for the place where they agree again (kResyncAgreement events in a
// row, or up to the end of a run), so that one extra or missing event is one difference
// and not a shift of everything after it. If neither run has such a place, or both have
// it equally far ahead, the two events are one changed event. Memory holds the look-ahead
// only, whatever the runs' length.
class RunAligner {
 public:
  static constexpr std::size_t kResyncWindow = 8;
  static constexpr std::size_t kResyncAgreement = 3;

  struct Step {
    enum Kind { kSame, kChanged, kOnlyA, kOnlyB } kind = kSame;
    RunEvent a;  // absent in kOnlyB: its line is where A's next event is
    RunEvent b;  // absent in kOnlyA: likewise
  };

  RunAligner(EventLines& a, EventLines& b, const DiffOptions& options)
      : a_{&a, {}, 0}, b_{&b, {}, 0}, options_(options) {}

  // The next step; false at the end of both runs or on a reading error (error()).
  bool next(Step* step);
  const std::string& error() const { return error_; }

 private:
  struct Side {
    EventLines* lines;
    std::deque<RunEvent> ahead;
    long long endLine;  // past the run's last line, once it has been read to the end
  };
  bool fill(Side& side);
  // Whether `x` from its index `skip` on agrees with `y` from its start.
  bool agreeAfter(const Side& x, std::size_t skip, const Side& y) const;
  std::size_t resyncSkip(const Side& x, const Side& y) const;
  static RunEvent take(Side& side);
  static RunEvent nextPlace(const Side& side);

  Side a_;
  Side b_;
  const DiffOptions& options_;
  std::string error_;
};

// Compares two runs saved with --json and prints their differences to `out` in the spirit
// of diff -u: "--- A" and "+++ B", then each group of differences under "@@ -LINE +LINE @@"
// (the lines of its first difference in A and B), with the equal events around it
// indented by two spaces, A's events prefixed "-", B's "+", and under a changed event the
// keys that differ ("wifi_meas_report.bss_info[0].rssi: -52 -> -60"). Events print as the
// text output's one-line summary. Past maxShown differences it only counts, and it ends
// with the count. With `out` null nothing is printed and it stops at the first
// difference; it stops too at the first failed write to `out` (the caller tells why).
struct DiffResult {
  std::size_t differences = 0;
  std::string error;  // a run could not be read (its name and line)
};
DiffResult diffRuns(EventLines& a, EventLines& b, const DiffOptions& options, std::FILE* out);

}  // namespace nexhost
