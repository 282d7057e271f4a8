#include "analysis_text.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "box_analysis.h"
#include "console_reporter.h"

namespace boxtest {

// Replaces the pointer after each "cardChain::trace () " with PTR: the
// address differs from run to run, the rest of the line does not.
std::string maskAddress(std::string text) {
  static const std::string prefix = "cardChain::trace () ";
  std::string out;
  out.reserve(text.size());
  size_t from = 0;
  for (size_t at; (at = text.find(prefix, from)) != std::string::npos;) {
    size_t value = at + prefix.size();
    size_t end = value;
    if (text.compare(value, 5, "(nil)") == 0) {
      end = value + 5;
    } else if (text.compare(value, 2, "0x") == 0) {
      end = value + 2;
      while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) ++end;
      if (end == value + 2) end = value;
    }
    out.append(text, from, value - from);
    if (end != value) out += "PTR";
    from = end;
  }
  out.append(text, from, std::string::npos);
  return out;
}

std::string analysisText(const Bytes& bytes, Switches switches) {
  char* buffer = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&buffer, &size);
  {
    BoxAnalysis analysis(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
    ConsoleReporter console(out);
    ReportScope scope(&console, switches);
    analysis.run();
  }
  std::fclose(out);
  std::string text(buffer, size);
  std::free(buffer);
  return maskAddress(std::move(text));
}

}  // namespace boxtest
