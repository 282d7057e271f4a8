#include "check_json.h"

#include "json_text.h"
#include "printable.h"

namespace {

// The version of the JSON lines' layout; it changes only when a field
// changes meaning or goes away.
constexpr int kSchema = 1;

std::string jsonLine(const Json& j) { return jsonText(j) + "\n"; }

}  // namespace

std::string checkFindingLine(const std::string& path, const Finding& f) {
  Json j;
  j["type"] = "finding";
  j["file"] = printable(path);
  if (f.isCard()) {
    j["card"] = f.index;
    j["section"] = nullptr;
    j["offset"] = f.offset;
    j["id"] = f.id;
    j["size"] = f.size;
  } else {
    j["card"] = nullptr;
    j["section"] = sectionName(f.index);
    j["offset"] = nullptr;
    j["id"] = nullptr;
    j["size"] = nullptr;
  }
  j["code"] = format("%08x", f.code);
  j["severity"] = severityName(f.code);
  j["text"] = printable(f.text);
  j["detail"] = printable(f.detail);
  return jsonLine(j);
}

std::string checkSummaryLine(const std::string& path, const ProblemCounts& counts, int status,
                             const std::string& reason) {
  Json j;
  j["type"] = "summary";
  j["schema"] = kSchema;
  j["file"] = printable(path);
  j["analysed"] = reason.empty();
  j["critical"] = counts.critical;
  j["errors"] = counts.errors;
  j["warnings"] = counts.warnings;
  j["status"] = status;
  j["reason"] = reason.empty() ? Json(nullptr) : Json(printable(reason));
  return jsonLine(j);
}

std::string checkFileLines(const AnalysedFile& file, bool quiet) {
  if (!file.analysed()) return checkSummaryLine(file.path, {}, exit_status::kNotAnalysed, file.reason);
  std::string lines;
  if (!quiet) {
    for (const Finding& f : file.findings) lines += checkFindingLine(file.path, f);
  }
  return lines + checkSummaryLine(file.path, file.counts, file.status(), "");
}
