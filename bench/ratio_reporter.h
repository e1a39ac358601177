#pragma once
// A console reporter that, after the runs, prints the time of the "quorel" variant of each
// operation divided by the time of each other variant (median of the repetitions, or the single
// run). Benchmarks are named "Operation/variant"; the arguments of a run join the operation key.
// Optionally one user counter of the quorel variant (for example allocations per call) is listed.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter(std::vector<std::string> others, std::string counter = {})
      : others_(std::move(others)), counter_(std::move(counter)) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& r : runs) {
      const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
      const bool single = r.run_type == Run::RT_Iteration && r.repetitions <= 1;
      if (!median && !single) continue;
      const std::string name = r.run_name.function_name;
      const auto slash = name.find('/');
      std::string key = name.substr(0, slash);
      if (!r.run_name.args.empty()) key += "/" + r.run_name.args;
      const std::string variant = name.substr(slash + 1);
      times_[key][variant] = r.GetAdjustedRealTime();
      if (variant == "quorel" && !counter_.empty() && r.counters.count(counter_))
        counts_[key] = r.counters.at(counter_).value;
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-28s", "operation (quorel time / other)");
    for (const auto& o : others_) std::printf(" %11s", ("vs " + o).c_str());
    if (!counter_.empty()) std::printf(" %11s", counter_.c_str());
    std::printf("\n");
    for (const auto& [key, t] : times_) {
      std::printf("%-28s", key.c_str());
      const auto q = t.find("quorel");
      for (const auto& o : others_) {
        const auto it = t.find(o);
        std::printf(" %10.2fx", q != t.end() && it != t.end() ? q->second / it->second : NAN);
      }
      if (!counter_.empty()) std::printf(" %11.0f", counts_.count(key) ? counts_.at(key) : NAN);
      std::printf("\n");
    }
  }

 private:
  std::vector<std::string> others_;
  std::string counter_;
  std::map<std::string, std::map<std::string, double>> times_;
  std::map<std::string, double> counts_;
};

/// Runs the registered benchmarks and prints the ratio table.
inline int RunWithRatios(int argc, char** argv, std::vector<std::string> others, std::string counter = {}) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter(std::move(others), std::move(counter));
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}

}  // namespace bench
