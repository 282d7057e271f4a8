// The whole analysis, with Debug, Verbose and Noisy on, over any bytes.
#include <cstdlib>

#include "engine/box_analysis.h"
#include "engine/findings.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = fuzz::scratchDir() + "/INPUT.BOX";
  fuzz::writeFile(path, data, size);
  fuzz::FormattingSink sink;
  BoxAnalysis analysis(path.c_str());
  currentReporter = &sink;
  debug = verbose = noisy = true;
  setProgressClock(fuzz::everySecond);
  analysis.run();
  currentReporter = nullptr;
  return 0;
}
