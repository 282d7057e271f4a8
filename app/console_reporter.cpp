#include "console_reporter.h"

#include <iconv.h>
#include <langinfo.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <string>

#include "entry_format.h"

namespace {

bool isEucJp(const char* codeset) {
  std::string plain;
  for (const char* c = codeset; *c; ++c)
    if (*c != '-' && *c != '_') plain += static_cast<char>(*c >= 'a' && *c <= 'z' ? *c - 'a' + 'A' : *c);
  return plain == "EUCJP";
}

// A converter from EUC-JP to the character set of the terminal out is, or
// null when out is no terminal or the terminal takes EUC-JP.
void* terminalConverter(FILE* out) {
  if (!isatty(fileno(out))) return nullptr;
  // Only the character type category is asked for, and put back at once:
  // nothing else of the analysis may depend on the locale.
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  std::setlocale(LC_CTYPE, "");
  const std::string codeset = nl_langinfo(CODESET);
  std::setlocale(LC_CTYPE, saved.c_str());
  if (isEucJp(codeset.c_str())) return nullptr;
  iconv_t cd = iconv_open(codeset.c_str(), "EUC-JP");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv_open's failure value
  return cd == reinterpret_cast<iconv_t>(-1) ? nullptr : cd;
}

bool plainAscii(const std::string& text) {
  for (const char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

}  // namespace

ConsoleReporter::ConsoleReporter(FILE* out) : out_(out), toTerminal_(terminalConverter(out)) {}

ConsoleReporter::~ConsoleReporter() {
  if (toTerminal_) iconv_close(static_cast<iconv_t>(toTerminal_));
}

void ConsoleReporter::noteError() {
  if (error_ == 0 && std::ferror(out_)) error_ = errno ? errno : EIO;
}

void ConsoleReporter::message(const char* format, va_list args) {
  if (!toTerminal_) {
    writeDebugLine(out_, format, args);
    noteError();
    return;
  }
  char buffer[512];
  const int length = std::vsnprintf(buffer, sizeof buffer, format, args);
  std::string line(buffer, length < 0 ? 0 : std::min<size_t>(static_cast<size_t>(length), sizeof buffer - 1));
  if (!plainAscii(line)) {
    // A line the terminal's set cannot hold is written as it is.
    std::string converted(line.size() * 4, '\0');
    char* in = line.data();
    size_t inLeft = line.size();
    char* outPtr = converted.data();
    size_t outLeft = converted.size();
    auto* const cd = static_cast<iconv_t>(toTerminal_);
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd, &in, &inLeft, &outPtr, &outLeft) != static_cast<size_t>(-1)) {
      converted.resize(converted.size() - outLeft);
      line = converted;
    }
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), out_);
  noteError();
}

void ConsoleReporter::entry(int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                            const char* text, const char* format, va_list args) {
  writeEntry(out_, index, offset, id, size, code, text, format, args);
  noteError();
}

int ConsoleReporter::finish() {
  errno = 0;
  if (std::fflush(out_) != 0 && error_ == 0) error_ = errno ? errno : EIO;
  noteError();
  return error_;
}
