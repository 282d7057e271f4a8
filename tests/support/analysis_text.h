// The analysis run in this process, its output taken as text: what
// `vorn FILE` prints for the bytes, or what a sink with other switches gets.
#pragma once

#include <string>

#include "box_builder.h"
#include "report_scope.h"

namespace boxtest {

// The console output of the analysis of bytes with the switches (vorn
// FILE's are debug and verbose).  The trace's first debug line holds the
// address of the bytes, which changes from run to run: it reads PTR.
std::string analysisText(const Bytes& bytes, Switches switches = {.debug = true, .verbose = true});

// The same with the address masked in text that vorn printed.
std::string maskAddress(std::string text);

}  // namespace boxtest
