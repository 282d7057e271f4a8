// Analysis of large boxes against one plain read of the same file.
//
// Each run maps the file and analyses it with debug and verbose on and a
// sink that drops everything; beside it, in the same iteration, the file is
// mapped and every byte summed.  Counters: the analysis time per card, the
// plain read's time, and the ratio analysis / plain read.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "address_book.h"
#include "box_analysis.h"
#include "findings.h"
#include "report_scope.h"
#include "reporter.h"

namespace {

// The benchmark boxes, written once per process into the temporary directory.
const std::string& boxFile(unsigned cards, bool damage) {
  static std::map<std::pair<unsigned, bool>, std::string> files;
  auto& path = files[{cards, damage}];
  if (path.empty()) {
    path = "/tmp/vorn-bench-" + std::to_string(getpid()) + "-" + std::to_string(cards) + (damage ? "d" : "") +
           ".box";
    if (!boxtest::writeFile(path, boxtest::bigAddressBook(cards, damage).bytes)) std::abort();
  }
  return path;
}

// Maps the file as the analysis does and touches every byte.
uint64_t plainRead(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY);
  struct stat st;
  fstat(fd, &st);
  const auto size = static_cast<size_t>(st.st_size);
  void* map = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  const auto* bytes = static_cast<const uint8_t*>(map);
  uint64_t sum = 0;
  for (size_t i = 0; i < size; ++i) sum += bytes[i];
  munmap(map, size);
  close(fd);
  return sum;
}

void analyse(benchmark::State& state, bool damage) {
  const auto cards = static_cast<unsigned>(state.range(0));
  const std::string& path = boxFile(cards, damage);
  SilentReporter sink;
  double plainSeconds = 0;
  double analysisSeconds = 0;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    {
      BoxAnalysis analysis(path.c_str());
      ReportScope scope(&sink, {.debug = true, .verbose = true});
      benchmark::DoNotOptimize(analysis.run());
    }
    const auto middle = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(plainRead(path));
    const auto end = std::chrono::steady_clock::now();
    analysisSeconds += std::chrono::duration<double>(middle - start).count();
    plainSeconds += std::chrono::duration<double>(end - middle).count();
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["us_per_card"] = analysisSeconds / runs / cards * 1e6;
  state.counters["analysis_ms"] = analysisSeconds / runs * 1e3;
  state.counters["plain_read_ms"] = plainSeconds / runs * 1e3;
  state.counters["ratio"] = analysisSeconds / plainSeconds;
}

void BM_Analyse(benchmark::State& state) { analyse(state, false); }
void BM_AnalyseDamaged(benchmark::State& state) { analyse(state, true); }

BENCHMARK(BM_Analyse)->Arg(1000)->Arg(8000)->Arg(65000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnalyseDamaged)->Arg(1000)->Arg(8000)->Arg(65000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
