// Shared by the fuzz targets: a scratch file for the input, a sink that
// formats everything it gets, and a clock that lets every progress call
// through.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/reporter.h"

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
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) abort();
  for (size_t done = 0; done < size;) {
    const ssize_t n = write(fd, data + done, size - done);
    if (n <= 0) abort();
    done += static_cast<size_t>(n);
  }
  close(fd);
}

// Formats every entry and line, as a real sink would, then drops it.
class FormattingSink : public Reporter {
 public:
  void message(const char* format, va_list args) override __attribute__((format(printf, 2, 0))) {
    std::vsnprintf(buffer_, sizeof buffer_, format, args);
  }
  void entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code, const char* text,
             const char* format, va_list args) override __attribute__((format(printf, 8, 0))) {
    std::snprintf(buffer_, sizeof buffer_, " -- %4d: 0x%06x: 0x%04x, 0x%06x %6.4x %s", index, offset, id,
                  size, code, text ? text : "");
    if (format) std::vsnprintf(buffer_, sizeof buffer_, format, args);
  }

 private:
  char buffer_[8192];
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
