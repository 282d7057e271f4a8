// Makes a box file shrink in the middle of an analysis, deterministically:
// installed as the progress clock (called once per card during the trace),
// it has another process truncate the file on its n-th call.
#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <string>

#include "findings.h"

namespace boxtest {

class Shrinker {
 public:
  Shrinker(std::string path, int atCall, off_t toSize) {
    path_ = std::move(path);
    atCall_ = atCall;
    toSize_ = toSize;
    calls_ = 0;
    setProgressClock(&Shrinker::clock);
  }
  ~Shrinker() { setProgressClock(nullptr); }
  Shrinker(const Shrinker&) = delete;
  Shrinker& operator=(const Shrinker&) = delete;

 private:
  static time_t clock() {
    if (++calls_ == atCall_) {
      const pid_t child = fork();
      if (child == 0) _exit(truncate(path_.c_str(), toSize_) == 0 ? 0 : 1);
      waitpid(child, nullptr, 0);
    }
    return calls_;
  }
  static inline std::string path_;
  static inline int atCall_ = 0;
  static inline off_t toSize_ = 0;
  static inline int calls_ = 0;
};

}  // namespace boxtest
