// Writes the sample box files into a directory.
//
//   make_samples OUTDIR
#include <cstdio>
#include <string>

#include "samples.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples OUTDIR\n");
    return 2;
  }
  for (const boxtest::Sample& sample : boxtest::samples()) {
    const std::string path = std::string(argv[1]) + "/" + sample.name;
    if (!boxtest::writeFile(path, sample.bytes)) {
      std::perror(path.c_str());
      return 1;
    }
  }
  return 0;
}
