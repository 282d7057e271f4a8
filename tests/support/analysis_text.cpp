#include "analysis_text.h"

#include <cstdio>
#include <cstdlib>
#include <regex>

#include "box_analysis.h"
#include "console_reporter.h"

namespace boxtest {

std::string maskAddress(std::string text) {
  static const std::regex address("(cardChain::trace \\(\\) )(0x[0-9a-f]+|\\(nil\\))");
  return std::regex_replace(text, address, "$1PTR");
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
