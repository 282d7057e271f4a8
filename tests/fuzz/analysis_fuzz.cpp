// The whole analysis, with Debug, Verbose and Noisy on, over any bytes held
// in memory.
#include "box_analysis.h"
#include "findings.h"
#include "fuzz_support.h"
#include "report_scope.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  setProgressClock(fuzz::everySecond);
  BoxAnalysis analysis(ByteView(data, static_cast<uint32_t>(size)));
  ReportScope scope(&fuzz::formattingSink(), {.debug = true, .verbose = true, .noisy = true});
  analysis.run();
  return 0;
}
