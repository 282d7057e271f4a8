// boxtool check: the problem findings of box files, one line each, and a
// verdict per file, for people (text) and scripts (NDJSON, exit status).
#pragma once

#include <string>

#include "worker_pool.h"

struct CheckOptions {
  bool json = false;
  bool quiet = false;  // summaries only
};

// Everything `boxtool check` prints for one file, and its status bits.
TaskOutput checkFile(const std::string& path, const CheckOptions& options);
