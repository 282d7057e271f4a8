// One box file analysed as `vorn FILE` analyses it (the same engine and
// checks; debug, verbose and noisy off), with every problem finding kept:
// the codes with a Critical, Error or Warning bit.  Notices, listing lines
// and position entries are not problems and are not kept.
//
//   AnalysedFile file("KQADRS.BOX");
//   if (!file.analysed()) complain(file.reason);
//   for (const Finding& f : file.findings) ...
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "box_analysis.h"

struct Finding {
  int32_t index = 0;  // card index, or a section: -1 header .. -4 data chunks
  uint32_t offset = 0;
  uint32_t id = 0;
  uint32_t size = 0;
  uint32_t code = 0;
  std::string text;    // the finding's fixed text
  std::string detail;  // its printf-formatted detail; empty when it has none

  bool isCard() const { return index >= 0; }
};

struct ProblemCounts {
  unsigned critical = 0;
  unsigned errors = 0;
  unsigned warnings = 0;
};

// Exit status bits of boxtool, ORed over the files of a run.
namespace exit_status {
inline constexpr int kClean = 0;
inline constexpr int kWarnings = 1;
inline constexpr int kErrors = 2;  // Errors or Criticals
// export, recover and compact: 1 the records came out incomplete (damaged
// or dropped ones), 2 the box is too damaged for the command, 4 the output
// could not be written (or exists and may not be replaced).
inline constexpr int kIncomplete = 1;
inline constexpr int kRefused = 2;
inline constexpr int kNotWritten = 4;
inline constexpr int kNotAnalysed = 8;
inline constexpr int kUsage = 16;
}  // namespace exit_status

class AnalysedFile {
 public:
  // Files up to this size are read into memory and analysed there; larger
  // ones are mapped, as vorn maps every file.  Mapping and unmapping a small
  // file costs more than reading it; a large file read into fresh memory
  // costs a page fault for every page, where a mapping of the cached file
  // faults a page in many.
  static constexpr uint32_t kReadLimit = 1 << 20;

  // Reads (or maps) and analyses the file at once.
  explicit AnalysedFile(const std::string& path, uint32_t readLimit = kReadLimit);
  // Analyses bytes in memory, which must outlive it, as the file at path.
  AnalysedFile(const std::string& path, ByteView bytes);
  AnalysedFile(const AnalysedFile&) = delete;
  AnalysedFile& operator=(const AnalysedFile&) = delete;

  // False when the file could not be opened or mapped, or shrank while it
  // was analysed; reason then says why and nothing else is set.
  bool analysed() const { return reason.empty(); }
  // The exit status bits of this file alone.
  int status() const;

  std::string path;
  std::string reason;
  // In the order the analysis delivered them.  A card finding the engine
  // gives without an offset (0xFFFFFFFF, the duplicate ID) carries the
  // card's offset from the card list.
  std::vector<Finding> findings;
  ProblemCounts counts;
  // The analysis after its run: the census, the field table, the offset
  // table.  Set only when the file was analysed.
  std::unique_ptr<BoxAnalysis> analysis;

 private:
  std::vector<uint8_t> bytes_;  // the file as read; the analysis points into it
  void analyse();
};
