// Golden files: long byte-exact expectations kept as files under tests/data/
// instead of as C++ text.
//
//   expectGolden("SALVAGE.out", analysisText(bytes));
//
// With VORN_REGENERATE_GOLDEN=1 in the environment the file is written
// instead of compared; `git diff tests/data` then shows what changed, for
// review before it is committed (README: "Golden files").
#pragma once

#include <string>

#include "box_builder.h"

namespace boxtest {

// The path of tests/data/name in the source tree.
std::string goldenPath(const std::string& name);

// The file's bytes; empty when it does not exist.
std::string readGolden(const std::string& name);

// Expects actual to equal the golden file, or writes it when regenerating.
// On a mismatch the failure names the first differing line.
void expectGolden(const std::string& name, const std::string& actual);

bool regeneratingGolden();

}  // namespace boxtest
