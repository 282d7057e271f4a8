// boxtool info's statistics of a box without its command line: the
// header's stored totals beside the counted ones, the cards per class, the
// size compaction frees and the offset table's coverage (makeReport), and
// the report as `boxtool info` prints it (runInfo).  The window's
// Statistics page shows the same report; info_command.cpp adds the
// command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "analysed_file.h"

struct Total {
  const char* label;  // text form
  const char* key;    // JSON
  uint32_t stored;
  uint32_t counted;
  bool isId;
};

struct CardClass {
  const char* label;
  const char* key;
  uint64_t count = 0;
  int64_t bytes = 0;  // the error cards' may be negative: a salvage may shrink a card's size below 0
  bool part = false;  // a part of the system class, indented in the text form
};

struct Coverage {
  size_t runs = 0;
  uint64_t covered = 0;  // entries the runs declare
  uint64_t good = 0, bad = 0, empty = 0;
  uint64_t outside = 0;  // declared entries beyond the end of the file
};

struct Report {
  std::vector<Total> totals;
  std::vector<CardClass> classes;
  int64_t compactFrees = 0;
  Coverage coverage;
};

// The report of an analysed file.
Report makeReport(const AnalysedFile& file);

struct InfoArguments {
  bool json = false;
  std::string path;
};

// boxtool info: prints the report of args.path; the exit status.
int runInfo(const InfoArguments& args);
