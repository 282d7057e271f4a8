// The command-line mode: analyse one box file and print the findings.
#pragma once

#include <cstdio>
#include <string>

// Analyses the box file at path with the console reporter on out, debug and
// verbose on.  Returns 0 whatever the findings; 2, with one line on standard
// error, when the file cannot be opened, inspected or mapped, shrinks while
// it is analysed (the findings printed up to then stay), or the findings
// cannot be written.
int commandLineAnalysis(const char* path, FILE* out = stdout);

// Flushes standard output.  When that or an earlier write to it failed,
// says why on standard error ("PROGRAM: standard output: REASON") and
// returns 2; otherwise status.
int finishOutput(const char* program, int status);

// path as it may be printed on a terminal: a control character (below 0x20,
// or 0x7F) becomes \xNN and a backslash is doubled; other bytes stay.
std::string shownPath(const char* path);
