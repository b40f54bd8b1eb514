#include "compare/RunDiff.h"

#include <vector>

#include "events/EventPrinter.h"

namespace nexhost {

namespace {

constexpr std::size_t kMaxChangesShown = 8;  // keys listed under one changed event
constexpr const char* kChangeIndent = "                    ";  // under the summary column

bool kept(const DiffOptions& options, const std::string& kind) {
  return (options.only.empty() || options.only.count(kind) != 0) && options.ignore.count(kind) == 0;
}

// An event as the text output's first line shows it.
std::string summaryLine(const Event& event) {
  std::string text = EventPrinter::text(event);
  return text.substr(0, text.find('\n'));
}

// Prints the steps of an alignment as groups of differences with context.
class DiffWriter {
 public:
  DiffWriter(std::FILE* out, const std::string& nameA, const std::string& nameB,
             const DiffOptions& options)
      : out_(out), nameA_(nameA), nameB_(nameB), options_(options) {}

  void add(const RunAligner::Step& step) {
    if (step.kind == RunAligner::Step::kSame) {
      same(step.a);
    } else {
      difference(step);
    }
  }

  void finish(std::size_t differences) {
    if (differences == 0) return;
    if (differences > options_.maxShown) {
      std::fprintf(out_, "%zu differences, the first %zu shown\n", differences, options_.maxShown);
    } else {
      std::fprintf(out_, "%zu difference%s\n", differences, differences == 1 ? "" : "s");
    }
  }

 private:
  void same(const RunEvent& event) {
    if (trailing_ > 0) {
      line("  ", event.event);
      --trailing_;
      return;
    }
    if (options_.context == 0) {
      gap_ = true;
      return;
    }
    before_.push_back(event);
    if (before_.size() > options_.context) {
      before_.pop_front();
      gap_ = true;
    }
  }

  void difference(const RunAligner::Step& step) {
    if (++shown_ > options_.maxShown) {
      trailing_ = 0;
      return;
    }
    if (shown_ == 1) std::fprintf(out_, "--- %s\n+++ %s\n", nameA_.c_str(), nameB_.c_str());
    if (shown_ == 1 || gap_) {
      std::fprintf(out_, "@@ -%lld +%lld @@\n", step.a.line, step.b.line);
    }
    for (const RunEvent& event : before_) line("  ", event.event);
    before_.clear();
    gap_ = false;
    if (step.kind != RunAligner::Step::kOnlyB) line("- ", step.a.event);
    if (step.kind != RunAligner::Step::kOnlyA) line("+ ", step.b.event);
    if (step.kind == RunAligner::Step::kChanged) {
      const std::vector<FieldChange> changes =
          fieldChanges(step.a.event, step.b.event, options_.ignoreTime);
      for (std::size_t i = 0; i < changes.size() && i < kMaxChangesShown; ++i) {
        std::fprintf(out_, "%s%s: %s -> %s\n", kChangeIndent, changes[i].path.c_str(),
                     changes[i].before.c_str(), changes[i].after.c_str());
      }
      if (changes.size() > kMaxChangesShown) {
        std::fprintf(out_, "%s... and %zu more\n", kChangeIndent,
                     changes.size() - kMaxChangesShown);
      }
    }
    trailing_ = options_.context;
  }

  void line(const char* prefix, const Event& event) {
    std::fprintf(out_, "%s%s\n", prefix, summaryLine(event).c_str());
  }

  std::FILE* out_;
  const std::string& nameA_;
  const std::string& nameB_;
  const DiffOptions& options_;
  std::deque<RunEvent> before_;  // equal events not printed yet, the last `context`
  bool gap_ = false;             // equal events were left out since the last printed line
  std::size_t trailing_ = 0;     // equal events still to print after a difference
  std::size_t shown_ = 0;
};

}  // namespace

// ---- RunAligner

bool RunAligner::fill(Side& side) {
  while (side.endLine == 0 && side.ahead.size() < kResyncWindow + kResyncAgreement) {
    RunEvent event;
    if (!side.lines->next(&event.event)) {
      if (!side.lines->error().empty()) {
        error_ = side.lines->error();
        return false;
      }
      side.endLine = side.lines->line();
      break;
    }
    event.line = side.lines->line();
    if (kept(options_, event.event.kind)) side.ahead.push_back(std::move(event));
  }
  return true;
}

bool RunAligner::agreeAfter(const Side& x, std::size_t skip, const Side& y) const {
  std::size_t agreed = 0;
  while (agreed < kResyncAgreement && skip + agreed < x.ahead.size() && agreed < y.ahead.size()) {
    if (!sameEvent(x.ahead[skip + agreed].event, y.ahead[agreed].event, options_.ignoreTime)) {
      return false;
    }
    ++agreed;
  }
  // Fewer than kResyncAgreement only where a run ends.
  return agreed > 0;
}

// How many of x's next events to pass over to agree with y again; 0 for nowhere near.
std::size_t RunAligner::resyncSkip(const Side& x, const Side& y) const {
  for (std::size_t skip = 1; skip <= kResyncWindow && skip < x.ahead.size(); ++skip) {
    if (agreeAfter(x, skip, y)) return skip;
  }
  return 0;
}

RunEvent RunAligner::take(Side& side) {
  RunEvent event = std::move(side.ahead.front());
  side.ahead.pop_front();
  return event;
}

// The line a missing event would be at: that of the run's next event, or past its end.
RunEvent RunAligner::nextPlace(const Side& side) {
  RunEvent place;
  place.line = side.ahead.empty() ? side.endLine : side.ahead.front().line;
  return place;
}

bool RunAligner::next(Step* step) {
  if (!fill(a_) || !fill(b_)) return false;
  if (a_.ahead.empty() && b_.ahead.empty()) return false;
  Step::Kind kind = Step::kChanged;
  if (a_.ahead.empty()) {
    kind = Step::kOnlyB;
  } else if (b_.ahead.empty()) {
    kind = Step::kOnlyA;
  } else if (sameEvent(a_.ahead.front().event, b_.ahead.front().event, options_.ignoreTime)) {
    kind = Step::kSame;
  } else {
    const std::size_t skipA = resyncSkip(a_, b_);
    const std::size_t skipB = resyncSkip(b_, a_);
    if (skipA != 0 && (skipB == 0 || skipA < skipB)) kind = Step::kOnlyA;
    if (skipB != 0 && (skipA == 0 || skipB < skipA)) kind = Step::kOnlyB;
  }
  step->kind = kind;
  step->a = kind == Step::kOnlyB ? nextPlace(a_) : take(a_);
  step->b = kind == Step::kOnlyA ? nextPlace(b_) : take(b_);
  return true;
}

// ---- diffRuns

DiffResult diffRuns(EventLines& a, EventLines& b, const DiffOptions& options, std::FILE* out) {
  DiffResult result;
  RunAligner aligner(a, b, options);
  DiffWriter writer(out, a.name(), b.name(), options);
  RunAligner::Step step;
  while (aligner.next(&step)) {
    if (step.kind != RunAligner::Step::kSame) {
      ++result.differences;
      if (out == nullptr) return result;
    }
    if (out != nullptr) writer.add(step);
    if (out != nullptr && std::ferror(out) != 0) return result;  // the reader went away
  }
  result.error = aligner.error();
  if (out != nullptr && result.error.empty()) writer.finish(result.differences);
  return result;
}

}  // namespace nexhost
