// The rescue of any bytes: when it makes a box, the analysis of that box
// delivers no Error and no Critical, with and without the deleted records.
#include "box_analysis.h"
#include "fuzz_support.h"
#include "report_scope.h"
#include "reporter.h"
#include "rescue.h"

namespace {

// True when a finding with an Error or a Critical was delivered.
class FailureSeen : public SilentReporter {
 public:
  void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t code, const char*, const char*,
             va_list) override {
    if (code & (code::kCritical | code::kError)) failed = true;
  }
  bool failed = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ByteView broken(data, static_cast<uint32_t>(size));
  for (const bool deleted : {false, true}) {
    const RescuedBox r = rescueBox(broken, {.deleted = deleted});
    if (!r.problem.empty()) {
      // Only an unreadable field table, or a box that would not check clean
      // (which must never happen), stops a rescue.
      if (readFieldTable(broken).problem.empty()) __builtin_trap();
      continue;
    }
    FailureSeen seen;
    BoxAnalysis check(ByteView(r.bytes.data(), static_cast<uint32_t>(r.bytes.size())));
    {
      ReportScope scope(&seen, {});
      check.run();
    }
    if (seen.failed) __builtin_trap();
  }
  return 0;
}
