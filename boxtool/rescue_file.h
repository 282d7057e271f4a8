// The rescue and the backup of a box file for the front ends, which tell
// the outcome themselves (boxtool recover, the window's Recover... and
// Compact...): the new box written, and the copy compact --backup keeps,
// with the reason of a failure returned instead of printed.  The damaged
// box is only read.
#pragma once

#include <functional>
#include <string>

#include "rescue.h"

struct RescueFile {
  int status = 0;          // an exit status of boxtool recover (analysed_file.h)
  std::string failedPath;  // the file a failure concerns
  std::string reason;      // why; empty when the new box was written
  RescuedBox box;          // what the rescue kept, dropped and misses
  bool abandoned = false;  // keep() said no: nothing was written
};

// Rescues the box at broken into a new box at target, which it replaces
// when replace is set (else an existing target is a failure); never into
// broken itself.  keep, when given, is asked before anything is written.
RescueFile rescueFile(const std::string& broken, const std::string& target, const RescueOptions& options,
                      bool replace, const std::function<bool()>& keep = {});

// Copies the file at path to copy, which must not exist: false, with error
// saying why, when it could not.
bool copyBoxFile(const std::string& path, const std::string& copy, std::string& error);
