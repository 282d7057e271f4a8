// The box library over any bytes: its check, and the collector, which must
// either leave the file exactly as it was or leave a box that passes the
// check.
#include <fstream>
#include <iterator>
#include <vector>

#include "boxlib.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = fuzz::scratchDir() + "/KQDATE.BOX";
  fuzz::writeFile(path, data, size);
  _BXDFileCheckLevel(path.c_str(), 255);
  const int collected = _BoxGarbageCollect(path.c_str());

  std::ifstream in(path, std::ios::binary);
  const std::vector<uint8_t> after{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (collected != 0) {
    // Refused or failed: not a byte may have changed.
    if (after != std::vector<uint8_t>(data, data + size)) __builtin_trap();
  } else if (_BXDFileCheckLevel(path.c_str(), 255) != 0) {
    // Collected: what it wrote must be a sound box.
    __builtin_trap();
  }
  return 0;
}
