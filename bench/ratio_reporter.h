#pragma once
// A console reporter that, after the runs, prints the time of the "quorel" variant of each
// operation divided by the time of each other variant (median of the repetitions, or the single
// run). Benchmarks are named "Operation/variant"; the arguments of a run join the operation key.
// A benchmark named "Group.*/variant" is that variant of every operation "Group.<name>" that has
// none of its own.
// Optionally one user counter of the quorel variant (for example allocations per call) is listed.
// When QUOREL_PEERS names a JSON file {"<Operation>/<args>": {"<peer>": ns_per_call, ...}} (written
// by bench/peers/<name>_peers.py), each peer becomes one more column, quorel time / peer time.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace bench {

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  RatioReporter(std::vector<std::string> others, std::string counter = {})
      : others_(std::move(others)), counter_(std::move(counter)) {
    if (const char* path = std::getenv("QUOREL_PEERS")) ReadPeers(path);
  }

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
      times_[key][variant] = r.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(r.time_unit) * 1e9;
      if (variant == "quorel" && !counter_.empty() && r.counters.count(counter_))
        counts_[key] = r.counters.at(counter_).value;
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-28s", "operation (quorel time / other)");
    for (const auto& o : others_) std::printf(" %11s", ("vs " + o).c_str());
    for (const auto& p : peerNames_) std::printf(" %11s", ("vs " + p).c_str());
    if (!counter_.empty()) std::printf(" %11s", counter_.c_str());
    std::printf("\n");
    for (const auto& [key, t] : times_) {
      if (key.ends_with('*')) continue;
      const auto shared = times_.find(key.substr(0, key.find('.') + 1) + "*");
      std::printf("%-28s", key.c_str());
      const auto q = t.find("quorel");
      for (const auto& o : others_) {
        double other = NAN;
        if (const auto it = t.find(o); it != t.end()) {
          other = it->second;
        } else if (shared != times_.end() && shared->second.count(o)) {
          other = shared->second.at(o);
        }
        std::printf(" %10.2fx", q != t.end() ? q->second / other : NAN);
      }
      const auto peer = peers_.find(key);
      for (const auto& p : peerNames_) {
        double ratio = NAN;
        if (q != t.end() && peer != peers_.end() && peer->second.count(p))
          ratio = q->second / peer->second.at(p);
        std::printf(" %10.2fx", ratio);
      }
      if (!counter_.empty()) std::printf(" %11.0f", counts_.count(key) ? counts_.at(key) : NAN);
      std::printf("\n");
    }
  }

 private:
  // Reads the flat two-level object the peer scripts print; anything else is skipped.
  void ReadPeers(const char* path) {
    std::ifstream in(path);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::size_t i = 0;
    auto skip = [&] { while (i < text.size() && std::string(" \t\r\n,:").find(text[i]) != std::string::npos) ++i; };
    auto str = [&] {
      std::string r;
      if (i < text.size() && text[i] == '"')
        for (++i; i < text.size() && text[i] != '"'; ++i) r += text[i];
      ++i;
      return r;
    };
    skip();
    if (i >= text.size() || text[i++] != '{') {
      std::fprintf(stderr, "QUOREL_PEERS: %s is not a JSON object\n", path);
      return;
    }
    for (skip(); i < text.size() && text[i] == '"'; skip()) {
      const std::string key = str();
      skip();
      if (i >= text.size() || text[i++] != '{') return;
      for (skip(); i < text.size() && text[i] == '"'; skip()) {
        const std::string peer = str();
        skip();
        char* end = nullptr;
        const double ns = std::strtod(text.c_str() + i, &end);
        i = static_cast<std::size_t>(end - text.c_str());
        peers_[key][peer] = ns;
        if (std::find(peerNames_.begin(), peerNames_.end(), peer) == peerNames_.end()) peerNames_.push_back(peer);
      }
      ++i;  // closing brace of the inner object
    }
  }

  std::vector<std::string> peerNames_;
  std::map<std::string, std::map<std::string, double>> peers_;
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
