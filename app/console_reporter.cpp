#include "console_reporter.h"

#include "entry_format.h"

void ConsoleReporter::message(const char* format, va_list args) { writeDebugLine(out_, format, args); }

void ConsoleReporter::entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                            const char* text, const char* format, va_list args) {
  writeEntry(out_, index, offset, id, size, code, text, format, args);
}
