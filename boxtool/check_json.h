// The NDJSON of `boxtool check --json`: one JSON object a line, for each
// problem finding of a file and for the file's summary.  The window saves
// its findings in this form through the same code.
#pragma once

#include <string>

#include "analysed_file.h"

// One finding of the file at path (printable() is applied here).
std::string checkFindingLine(const std::string& path, const Finding& f);
// The summary of the file at path: its counts and status, or the reason it
// was not analysed (empty when it was).
std::string checkSummaryLine(const std::string& path, const ProblemCounts& counts, int status,
                             const std::string& reason);
// Every line `boxtool check --json` writes for file: its findings (none
// when quiet), then its summary.
std::string checkFileLines(const AnalysedFile& file, bool quiet = false);
