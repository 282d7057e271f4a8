#include "golden_cases.h"

#include <algorithm>
#include <cctype>

#include "hostile_files.h"
#include "samples.h"

namespace boxtest {

namespace {

// "first card at the end" -> "hostile_first_card_at_the_end"
std::string caseName(const std::string& prefix, const std::string& words) {
  std::string name = prefix;
  for (const char c : words) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
}

}  // namespace

std::vector<GoldenCase> goldenCases() {
  std::vector<GoldenCase> cases;
  for (const Sample& s : samples()) cases.push_back({s.name.substr(0, s.name.find('.')), s.bytes});
  for (const HostileFile& h : hostileFiles()) {
    if (!h.bytes.empty()) cases.push_back({caseName("hostile_", h.name), h.bytes});
  }
  return cases;
}

}  // namespace boxtest
