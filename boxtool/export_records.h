// boxtool export's work without its command line: the export of a box's
// records as JSON or CSV (runExport, what `boxtool export` runs), and the
// same records one at a time for a program that shows them (RecordListing),
// read behind the same field table, typed by the same decoder and written
// by the same encoders.  The window's records table, its copies and its
// "Export..." go through it; export_command.cpp adds the command line.
//
//   RecordListing listing(std::make_shared<const AnalysedFile>(path));
//   for (size_t n = 0; n < listing.records().size(); ++n) show(listing.values(n));
//   std::string csv = listing.exportText(true, {0, 5});   // export's CSV of records 0 and 5
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "analysed_file.h"
#include "progress.h"
#include "record_map.h"
#include "record_values.h"

struct ExportArguments {
  std::string format = "json";
  bool deleted = false;
  std::string encoding = "UTF-8";
  std::string output;
  bool force = false;  // replace a read-only output
  std::string fieldsFrom;
  std::string path;
  Progress::Mode progress = Progress::Mode::kAuto;
};

// boxtool export: writes the records as args asks, says on standard error
// why it could not, and gives the exit status.
int runExport(const ExportArguments& args);

// The records of one analysed box as boxtool export lists them, the
// deleted ones that still decode included (as --deleted finds them), with
// the box's own field table.  Not for use by two threads at once, except
// write(), which keeps to what the listing never changes.
class RecordListing {
 public:
  // Lists the records of file, which must be analysed.  When the cards are
  // traced behind a mended field table, that trace is an analysis: it
  // uses the engine's process-wide settings, as every analysis does.
  explicit RecordListing(std::shared_ptr<const AnalysedFile> file);
  ~RecordListing();
  RecordListing(const RecordListing&) = delete;
  RecordListing& operator=(const RecordListing&) = delete;

  // Why the records cannot be listed; empty when they can.
  const std::string& problem() const;

  // The box as analysed, and the analysis whose card list holds the
  // records: the box's own, or the trace behind a mended field table.
  const AnalysedFile& box() const;
  const AnalysedFile& trace() const;
  // The records' card area in the trace: where it starts, and the offset
  // in the box of an offset in the trace.
  uint64_t areaStart() const;
  uint32_t original(uint64_t traced) const;

  // Whether a field table is known, so that values are decoded (else each
  // record is its body in hex), the fields and their CSV column names, and
  // what was mended or is unknown about the table.
  bool hasValues() const;
  const ItemInfo& fields() const;
  std::vector<std::string> columnNames() const;
  const std::vector<std::string>& notes() const;
  const std::string& unreadable() const;

  // Every record, in the order the export writes them, and the map they
  // come from (stray cards, stretches no record accounts for).
  const std::vector<Record>& records() const;
  const RecordMap& map() const;
  // The codes of the problem findings at a card of the trace, or null.
  const std::vector<uint32_t>* codes(int32_t card) const;
  static const char* stateName(RecordState state);

  // The encoding the texts are read in; false (nothing changed) when iconv
  // does not know it.
  bool setEncoding(const std::string& encoding);
  const std::string& encoding() const;
  // Record n's values as the export types them; with hasValues() false,
  // its body in hex (raw()).  Valid until the next call.
  const std::vector<RecordValue>& values(size_t n);
  const std::string& raw(size_t n);

  // An export document of the records n in which, in that order, as
  // `boxtool export` writes it (CSV when csv, else JSON).
  std::string exportText(bool csv, const std::vector<size_t>& which);
  // Writes the export args asks for (format, deleted, encoding) to out, as
  // `boxtool export` writes it, showing its progress through
  // currentProgress(); the exit status it gives, error saying why a write
  // failed.
  int write(FILE* out, const ExportArguments& args, std::string& error) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
