// mdxwifi_bench: the plug-in's cost per scan cycle, element walk and reply, each beside
// the least work its input needs (its floor).
//
//   mdxwifi_bench [benchmark flags]   time every case; a table of ratios to the floors follows
//   mdxwifi_bench --check             run each case once and check it (a floor must find
//                                     what the plug-in finds)
//   mdxwifi_bench --digest            what each case logged and sent, hashed: equal before
//                                     and after a change that keeps the behaviour
//   mdxwifi_bench --callgrind [NAME]  one run of each case (or those whose name contains
//                                     NAME) per callgrind dump, with its heap use; run under
//                                     valgrind --tool=callgrind --collect-atstart=no
//   --log=off|format|keep|none        what the host logger does with the plug-in's lines:
//                                     drop them (default), format and drop, keep; or no
//                                     logger at all
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) (void)(name)
#endif

#include "Cases.h"
#include "HeapCounter.h"

namespace {

// One run to settle lazy bindings and first-use allocations, then the measured one.
heap::Stats measureHeap(bench::Runner& runner) {
  runner.run();
  runner.run();
  heap::begin();
  runner.run();
  return heap::end();
}

void runCase(benchmark::State& state, const bench::Case* c) {
  auto runner = c->make();
  const heap::Stats heapUse = measureHeap(*runner);
  for (auto _ : state) runner->run();
  state.counters["allocs"] = static_cast<double>(heapUse.allocations);
  state.counters["transient"] = static_cast<double>(heapUse.transient);
  state.counters["peak_heap"] =
      benchmark::Counter(static_cast<double>(heapUse.peakBytes), benchmark::Counter::kDefaults,
                         benchmark::Counter::kIs1024);
}

// The console table, then every case's time as a multiple of its floor's.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string name = run.benchmark_name();
      const double time = run.GetAdjustedCPUTime();
      auto found = times_.find(name);
      if (found == times_.end() || time < found->second) times_[name] = time;
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-33s %14s  %-26s %8s\n", "case", "cpu time", "floor", "x floor");
    for (const bench::Case& c : bench::cases()) {
      const auto mine = times_.find(c.name);
      if (c.floor.empty() || mine == times_.end()) continue;
      const auto floor = times_.find(c.floor);
      if (floor == times_.end() || floor->second <= 0) continue;
      std::printf("%-33s %11.0f ns  %-26s %8.1f\n", c.name.c_str(), mine->second, c.floor.c_str(),
                  mine->second / floor->second);
    }
  }

 private:
  std::map<std::string, double> times_;
};

bool selected(const bench::Case& c, const std::vector<std::string>& names) {
  if (names.empty()) return true;
  for (const std::string& name : names) {
    if (c.name.find(name) != std::string::npos) return true;
  }
  return false;
}

int check() {
  int failures = 0;
  for (const bench::Case& c : bench::cases()) {
    auto runner = c.make();
    runner->run();
    runner->run();
    const std::string problem = runner->check();
    std::printf("%-33s %s%s\n", c.name.c_str(), problem.empty() ? "ok    " : "FAILED ",
                problem.empty() ? runner->outcome().c_str() : problem.c_str());
    if (!problem.empty()) ++failures;
  }
  return failures == 0 ? 0 : 1;
}

int digest() {
  bench::setJournal(nexhost::Logger::Journal::kKeep);
  for (const bench::Case& c : bench::cases()) {
    if (!c.floor.empty()) {
      auto runner = c.make();
      runner->run();
      runner->run();
      const std::string hash = runner->digest();  // before outcome(), which may log
      std::printf("%-33s %s | %s\n", c.name.c_str(), hash.c_str(), runner->outcome().c_str());
    }
  }
  return 0;
}

int callgrind(const std::vector<std::string>& names) {
  for (const bench::Case& c : bench::cases()) {
    if (!selected(c, names)) continue;
    auto runner = c.make();
    const heap::Stats heapUse = measureHeap(*runner);
    CALLGRIND_TOGGLE_COLLECT;
    runner->run();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(c.name.c_str());
    std::printf("case\t%s\t%s\t%zu\t%zu\t%zu\n", c.name.c_str(),
                c.floor.empty() ? "-" : c.floor.c_str(), heapUse.allocations, heapUse.peakBytes,
                heapUse.transient);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> rest;
  std::string mode;
  std::vector<std::string> names;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--log=off") {
      bench::setJournal(nexhost::Logger::Journal::kOff);
    } else if (arg == "--log=format") {
      bench::setJournal(nexhost::Logger::Journal::kFormatOnly);
    } else if (arg == "--log=none") {
      bench::setWithoutLogger(true);
    } else if (arg == "--log=keep") {
      bench::setJournal(nexhost::Logger::Journal::kKeep);
    } else if (arg == "--check" || arg == "--digest" || arg == "--callgrind" || arg == "--list") {
      mode = arg;
    } else if (!mode.empty() && i > 0) {
      names.push_back(arg);
    } else {
      rest.push_back(argv[i]);
    }
  }
  if (mode == "--list") {
    for (const bench::Case& c : bench::cases()) {
      std::printf("%s\t%s\n", c.name.c_str(), c.floor.empty() ? "-" : c.floor.c_str());
    }
    return 0;
  }
  if (mode == "--check") return check();
  if (mode == "--digest") return digest();
  if (mode == "--callgrind") return callgrind(names);

  for (const bench::Case& c : bench::cases()) {
    benchmark::RegisterBenchmark(c.name.c_str(), runCase, &c);
  }
  int count = static_cast<int>(rest.size());
  benchmark::Initialize(&count, rest.data());
  if (benchmark::ReportUnrecognizedArguments(count, rest.data())) return 2;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
