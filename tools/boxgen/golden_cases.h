// The golden boxes: each one a box file with a name and what it shows.  Its
// expected output is tests/data/NAME.out.
#pragma once

#include <string>
#include <vector>

#include "box_builder.h"

namespace boxtest {

struct GoldenCase {
  std::string name;  // letters, digits and underscores: a test name and a file name
  Bytes bytes;
};

std::vector<GoldenCase> goldenCases();

// One field, two cards, the reference index card and the terminator: the
// sound box many cases start from.
BuiltBox smallBox();

}  // namespace boxtest
