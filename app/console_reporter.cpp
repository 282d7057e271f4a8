#include "app/console_reporter.h"

#include <cstdio>

void ConsoleReporter::message(const char* format, va_list args) {
  // Japanese debug texts are EUC-JP bytes already and pass unchanged.
  std::vfprintf(stdout, format, args);
  std::fputc('\n', stdout);
}

void ConsoleReporter::entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                            const char* text, const char* format, va_list args) {
  std::fprintf(stdout, " -- %4d: 0x%06x: 0x%04x, 0x%06x\n", index, offset, id, size);
  if (code == 0) return;
  // The detail follows the text directly: problem details bring their own blank.
  std::fprintf(stdout, "    %6.4x %s", code, text);
  if (format) std::vfprintf(stdout, format, args);
  std::fputc('\n', stdout);
}
