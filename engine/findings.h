// Findings: codes, severities, the delivery gates and the report functions.
//
// A finding code is 32 bits: bit 31 Critical, 30 Error, 29 Warning, 28
// notice, 27 informational (a listing line), bits 0..23 the finding's own
// number.  Code 0 is a position entry.  Every report goes through vreport,
// which decides from the code and the process-wide switches whether the
// current reporter gets it, ORs a delivered code into the level of the object
// it is reported against, and remembers the position for reportAt and
// reportHere.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <ctime>

#include "finding_codes.h"

class Reporter;
struct CardRecord;

// Section indexes; 0 and above are card indexes.
inline constexpr int32_t kHeaderSection = -1;
inline constexpr int32_t kItemInfoSection = -2;
inline constexpr int32_t kOffsetTableSection = -3;
inline constexpr int32_t kDataChunkSection = -4;
// A section's name as the handheld's tool shows it ("Box header", "Item
// info", "Offset table", "Data chunck"); null for a card index.
const char* sectionTitle(int32_t index);
// A section's name as boxtool writes it ("box header", "item info",
// "offset table", "data chunks"); "unknown section" for a card index.
const char* sectionName(int32_t index);
// The offset of a section's closing summary entry: a marker, not a file offset.
inline constexpr uint32_t kSummaryOffset = 100;

// "Critical", "Error", "Warning", or null for a code without a severity name.
const char* severityName(uint32_t code);
// The code as shown by sinks that show the severity apart: bits 0xF1000000 cleared.
inline constexpr uint32_t displayCode(uint32_t code) { return code & ~code::kDeliveryMask; }
inline constexpr bool levelFails(uint32_t level) { return level > code::kFailThreshold; }

// Base of every analysis object: the OR of the codes delivered against it.
struct Checker {
  uint32_t level = 0;
};

// What a finding is delivered against: a checker or a card record.
class ReportTarget {
 public:
  ReportTarget(Checker& checker) : level_(checker.level) {}  // NOLINT: implicit by design
  ReportTarget(CardRecord& record);                          // NOLINT
  uint32_t& level() const { return level_; }

 private:
  uint32_t& level_;
};

// Process-wide settings.  The caller installs the reporter and the switches
// before an analysis; the engine is single-threaded.
extern Reporter* currentReporter;
extern bool debug;
extern bool verbose;
extern bool noisy;
extern int32_t lastIndex;
extern uint32_t lastOffset;
extern uint32_t lastId;
extern uint32_t lastSize;
extern time_t lastProgressTime;

void vreport(ReportTarget target, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
             const char* text, const char* format, va_list args) __attribute__((format(printf, 8, 0)));

// All position values given.
void report(ReportTarget target, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
            const char* text, const char* format = nullptr, ...) __attribute__((format(printf, 8, 9)));

// Offset, id and size of the previous report.
void reportAt(ReportTarget target, int32_t index, uint32_t code, const char* text,
              const char* format = nullptr, ...) __attribute__((format(printf, 5, 6)));

// The whole position of the previous report.
void reportHere(ReportTarget target, uint32_t code, const char* text, const char* format = nullptr, ...)
    __attribute__((format(printf, 4, 5)));

// Progress of a stage after done of total units; at most one call a second
// reaches the reporter.
void reportProgress(int stage, uint64_t done, uint64_t total);

// One debug line, delivered when debug is on.
void debugMessage(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The clock of reportProgress, replaceable so that tests need not sleep.
using ProgressClock = time_t (*)();
void setProgressClock(ProgressClock clock);  // null restores the system clock

// Puts the settings and the position registers back to their start values.
void resetReportState();
