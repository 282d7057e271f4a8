#include "golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#ifndef VORN_TEST_DATA
#error "VORN_TEST_DATA must name tests/data in the source tree"
#endif

namespace boxtest {

std::string goldenPath(const std::string& name) { return std::string(VORN_TEST_DATA) + "/" + name; }

namespace {
bool set(const char* name) {
  const char* value = std::getenv(name);
  return value && std::string(value) == "1";
}
}  // namespace

bool regeneratingGolden() { return set("VORN_REGENERATE_GOLDEN"); }
bool regeneratingGoldenBoxes() { return set("VORN_REGENERATE_GOLDEN_BOXES"); }

std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string readGolden(const std::string& name) { return readWholeFile(goldenPath(name)); }

Bytes fileBytes(const std::string& path) {
  const std::string bytes = readWholeFile(path);
  return Bytes(bytes.begin(), bytes.end());
}

Bytes goldenBytes(const std::string& name) { return fileBytes(goldenPath(name)); }

std::vector<std::string> goldenBoxes() {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(goldenPath("")))
    if (e.path().extension() == ".box") names.push_back(e.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

void expectGolden(const std::string& name, const std::string& actual) {
  if (regeneratingGolden()) {
    std::ofstream(goldenPath(name), std::ios::binary) << actual;
    return;
  }
  const std::string expected = readGolden(name);
  if (expected == actual) return;
  // Name the first line that differs, which says more than two long texts.
  std::istringstream e(expected), a(actual);
  std::string el, al;
  int line = 1;
  while (std::getline(e, el) && std::getline(a, al) && el == al) ++line;
  ADD_FAILURE() << name << " differs from line " << line << ":\n  expected: " << el << "\n  actual:   " << al
                << "\n(VORN_REGENERATE_GOLDEN=1 rewrites the file; review it with git diff)";
}

}  // namespace boxtest
