#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace {

Progress* current = nullptr;

constexpr auto kQuiet = std::chrono::seconds(1);            // nothing shown before this
constexpr auto kInterval = std::chrono::milliseconds(250);  // at most four updates a second

}  // namespace

Progress::Progress(std::string what, Mode mode)
    : what_(std::move(what)),
      enabled_(mode == Mode::kAlways || (mode == Mode::kAuto && isatty(STDERR_FILENO))),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

Progress::~Progress() { clear(); }

void Progress::show(uint64_t done, uint64_t total, const char* unit) {
  if (observer_) observer_(done, total);
  if (!enabled_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now - start_ < kQuiet || (shown_ && now - last_ < kInterval)) return;
  last_ = now;
  shown_ = true;
  if (*unit) {
    std::fprintf(stderr, "\r%s: %llu/%llu %s\033[K", what_.c_str(), static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(total), unit);
  } else {
    const uint64_t percent = total ? done * 100 / total : 0;
    std::fprintf(stderr, "\r%s: %llu%%\033[K", what_.c_str(), static_cast<unsigned long long>(percent));
  }
  std::fflush(stderr);
}

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
}

uint64_t analysisPercent(int stage, int percent) {
  const auto p = static_cast<uint64_t>(percent);
  return stage == 0 ? p * 90 / 100 : stage == 1 ? 90 + p / 20 : 95 + p / 20;
}

int ProgressOnly::progress(int stage, int percent) {
  if (current) current->show(analysisPercent(stage, percent), 100);
  return 1;
}

Progress* currentProgress() { return current; }
void setCurrentProgress(Progress* progress) { current = progress; }
