// The command-line mode: analyse one box file and print the findings.
#pragma once

#include <cstdio>

// Analyses the box file at path with the console reporter on out, debug and
// verbose on.  Returns 0 whatever the findings; 2, with one line on standard
// error, when the file cannot be opened, inspected or mapped, or shrinks
// while it is analysed (the findings printed up to then stay).
int commandLineAnalysis(const char* path, FILE* out = stdout);
