#include "printable.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "text_coding.h"

std::string printable(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  while (!bytes.empty()) {
    const uint8_t b = static_cast<uint8_t>(bytes[0]);
    const size_t length = utf8SequenceLength(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    // C0 controls, DEL, and the C1 controls U+0080 to U+009F (C2 80 to C2 9F),
    // which a terminal takes as commands as well.
    const bool control =
        b < 0x20 || b == 0x7F || (b == 0xC2 && length == 2 && static_cast<uint8_t>(bytes[1]) < 0xA0);
    if (length == 0 || control) {
      out += format("\\x%02x", b);
      bytes.remove_prefix(1);
      continue;
    }
    if (b == '\\') out += '\\';
    out.append(bytes.substr(0, length));
    bytes.remove_prefix(length);
  }
  return out;
}

void writeOut(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

namespace {
int firstOutputError = 0;
}  // namespace

void noteOutputError(int error) {
  if (firstOutputError == 0) firstOutputError = error ? error : EIO;
}

bool flushOutput() {
  errno = 0;
  const bool flushed = std::fflush(stdout) == 0 && !std::ferror(stdout);
  if (!flushed) noteOutputError(errno);
  return flushed;
}

std::string outputError() {
  flushOutput();
  return firstOutputError ? std::strerror(firstOutputError) : "";
}

int fail(const std::string& path, const std::string& reason, int status) {
  std::fprintf(stderr, "boxtool: %s: %s\n", printable(path).c_str(), printable(reason).c_str());
  return status;
}
