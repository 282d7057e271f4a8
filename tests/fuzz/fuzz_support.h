// Shared by the fuzz targets: a scratch file for the input, a sink that
// formats everything it gets, and a clock that lets every progress call
// through.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "box_builder.h"
#include "console_reporter.h"

namespace fuzz {

// A private directory for this process, in memory where possible.
inline const std::string& scratchDir() {
  static const std::string dir = [] {
    std::string base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string d = base + "/vorn-fuzz-" + std::to_string(getpid());
    mkdir(d.c_str(), 0700);
    return d;
  }();
  return dir;
}

// Writes the input as the file at path, replacing what was there.
inline void writeFile(const std::string& path, const uint8_t* data, size_t size) {
  if (!boxtest::writeFile(path, boxtest::Bytes(data, data + size))) abort();
}

// The console's own sink, writing into nowhere: every entry and line is
// formatted as the command line formats it.
inline ConsoleReporter& formattingSink() {
  static ConsoleReporter sink(std::fopen("/dev/null", "w"));
  return sink;
}

inline time_t everySecond() {
  static time_t now = 0;
  return ++now;
}

}  // namespace fuzz

// Every target judges TIME values under UTC.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "UTC", 1);
  return 0;
}
