// The rescue of large boxes, sound and damaged, with and without the look
// outside the chain for records (the lost and found), beside one plain read
// of the same bytes, in CPU time.  The look may cost at most that read:
// extra_per_read is (with - without) / read.
#include <benchmark/benchmark.h>

#include <ctime>
#include <map>

#include "address_book.h"
#include "rescue.h"

namespace {

using boxtest::Wreck;

// The benchmark boxes: 65,000 mail-sized cards, as they are or damaged.
const boxtest::Bytes& box(int kind) {
  static std::map<int, boxtest::Bytes> boxes;
  boxtest::Bytes& bytes = boxes[kind];
  if (bytes.empty()) {
    boxtest::BuiltBox built = boxtest::bigAddressBook(65000, false, 940);
    if (kind >= 0) boxtest::wreck(built, static_cast<Wreck>(kind));
    bytes = std::move(built.bytes);
  }
  return bytes;
}

// CPU seconds of this process: a loaded machine stretches wall time, not these.
double cpu() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

void BM_Rescue(benchmark::State& state) {
  const boxtest::Bytes& bytes = box(static_cast<int>(state.range(0)));
  const ByteView view(bytes.data(), static_cast<uint32_t>(bytes.size()));
  double with = 0, without = 0, read = 0;
  for (auto _ : state) {
    double start = cpu();
    benchmark::DoNotOptimize(rescueBox(view, {}).kept);
    with += cpu() - start;
    start = cpu();
    benchmark::DoNotOptimize(rescueBox(view, {.lostAndFound = false}).kept);
    without += cpu() - start;
    start = cpu();
    uint64_t sum = 0;
    for (const uint8_t b : bytes) sum += b;
    benchmark::DoNotOptimize(sum);
    read += cpu() - start;
  }
  const double runs = static_cast<double>(state.iterations());
  state.counters["with_ms"] = with / runs * 1e3;
  state.counters["without_ms"] = without / runs * 1e3;
  state.counters["read_ms"] = read / runs * 1e3;
  state.counters["extra_per_read"] = (with - without) / read;
}

// -1 the sound box, then each kind of damage.
BENCHMARK(BM_Rescue)->DenseRange(-1, 3)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
