// The sample box files: a sound address book and damaged copies of it and of
// smaller books, each showing one kind of damage the analysis finds.  The
// README describes each; make_samples writes them, and each has a golden
// output in the tests.
#pragma once

#include <string>
#include <vector>

#include "box_builder.h"

namespace boxtest {

struct Sample {
  std::string name;  // the file name, e.g. KQADRS.BOX
  Bytes bytes;
};

std::vector<Sample> samples();

}  // namespace boxtest
