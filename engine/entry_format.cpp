#include "entry_format.h"

void writePositionLine(FILE* out, int32_t index, uint32_t offset, uint32_t id, uint32_t size) {
  std::fprintf(out, " -- %4d: 0x%06x: 0x%04x, 0x%06x\n", index, offset, id, size);
}

void writeFindingLine(FILE* out, uint32_t code, const char* text, const char* format, va_list args) {
  std::fprintf(out, "    %6.4x %s", code, text ? text : "");
  if (format) std::vfprintf(out, format, args);
  std::fputc('\n', out);
}

void writeEntry(FILE* out, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                const char* text, const char* format, va_list args) {
  writePositionLine(out, index, offset, id, size);
  if (code != 0) writeFindingLine(out, code, text, format, args);
}

void writeDebugLine(FILE* out, const char* format, va_list args) {
  // Japanese debug texts are EUC-JP bytes already and pass unchanged.
  std::vfprintf(out, format, args);
  std::fputc('\n', out);
}
