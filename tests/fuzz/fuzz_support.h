// Shared by the fuzz targets: a scratch file for the input, a sink that
// formats everything it gets, and a clock that lets every progress call
// through.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "box_builder.h"
#include "entry_format.h"
#include "reporter.h"

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

// Formats every entry and line as the console does, into nowhere.
class FormattingSink : public Reporter {
 public:
  FormattingSink() : out_(std::fopen("/dev/null", "w")) {
    if (!out_) abort();
  }
  ~FormattingSink() override { std::fclose(out_); }
  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0))) {
    writeDebugLine(out_, format, args);
  }
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0))) {
    writeEntry(out_, index, offset, id, size, code, text, format, args);
  }

 private:
  FILE* out_;
};

inline time_t everySecond() {
  static time_t now = 0;
  return ++now;
}

}  // namespace fuzz

// Both targets judge TIME values under UTC.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "UTC", 1);
  return 0;
}
