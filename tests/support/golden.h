// Golden files: long byte-exact expectations kept as files under tests/data/
// instead of as C++ text.
//
//   expectGolden("SALVAGE.out", analysisText(bytes));
//
// With VORN_REGENERATE_GOLDEN=1 in the environment the file is written
// instead of compared, and with VORN_REGENERATE_GOLDEN_BOXES=1 the golden
// boxes too (tools/regen-golden.sh says how); `git diff tests/data` then
// shows what changed, for review before it is committed.
#pragma once

#include <string>
#include <vector>

#include "box_builder.h"

namespace boxtest {

// The path of tests/data/name in the source tree.
std::string goldenPath(const std::string& name);

// A file's bytes, as text and as a box's bytes; empty when it does not exist.
std::string readWholeFile(const std::string& path);
Bytes fileBytes(const std::string& path);

// tests/data/name's bytes, as text and as a box's bytes.
std::string readGolden(const std::string& name);
Bytes goldenBytes(const std::string& name);

// Every golden box, by its name in tests/data, in name order.
std::vector<std::string> goldenBoxes();

// Expects actual to equal the golden file, or writes it when regenerating.
// On a mismatch the failure names the first differing line.
void expectGolden(const std::string& name, const std::string& actual);

bool regeneratingGolden();
bool regeneratingGoldenBoxes();

}  // namespace boxtest
