// boxtool recover: a new, sound box from everything in a damaged one that
// can be read (rescue.h says what is kept), with a summary of what was kept,
// dropped, renumbered and restored.  The broken box is only read; the new
// one is written beside its place and renamed into it.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "analysed_file.h"
#include "command.h"
#include "json_text.h"
#include "output_file.h"
#include "printable.h"
#include "rescue.h"
#include "rescue_file.h"

namespace {

// The version of the JSON summary's layout.
constexpr int kSchema = 1;

struct RecoverArguments {
  bool json = false;
  bool deleted = false;
  bool force = false;
  std::string fieldsFrom;
  std::string broken;
  std::string target;
  Progress::Mode progress = Progress::Mode::kAuto;
};

std::string place(const RescuedRecord& r) {
  if (r.card < 0) return format("found at 0x%06x, ID 0x%04x", r.offset, r.id);
  return format("card %d at 0x%06x, ID 0x%04x", r.card, r.offset, r.id);
}

std::string summary(const RescuedBox& r, const std::string& target) {
  std::string out = format(
      "claims: the header counts %u records; the offset tables name %zu IDs and the cards %zu, "
      "%zu IDs in all\n",
      r.headerCount, r.tableIds, r.seenIds, r.claimedIds);
  out += format("kept %zu records: %zu from the card chain, %zu found outside it", r.kept,
                r.kept - r.found - r.restored.size(), r.found);
  if (!r.restored.empty()) out += format(", %zu deleted ones restored", r.restored.size());
  out += "\n";
  for (const RescuedRecord& k : r.damagedKept) out += "  " + place(k) + ": " + k.note + "\n";
  for (const RescuedRecord& k : r.renumbered)
    out += "  " + place(k) + format(": now ID 0x%04x, ", k.newId) + k.note + "\n";
  for (const RescuedRecord& k : r.restored)
    out += "  " + place(k) + format(": restored as ID 0x%04x\n", k.newId);
  out += format("missing %zu records\n", r.missing.size() + r.unnamedMissing);
  for (const MissingRecord& m : r.missing) out += format("  ID 0x%04x: ", m.id) + m.why + "\n";
  if (r.unnamedMissing) out += format("  %u more that the header counts, named nowhere\n", r.unnamedMissing);
  // Dropped cards whose ID a kept record holds are not missing; say so.
  for (const RescuedRecord& k : r.dropped) {
    const bool listed =
        std::any_of(r.missing.begin(), r.missing.end(), [&](const MissingRecord& m) { return m.id == k.id; });
    if (!listed) out += "  " + place(k) + ": dropped, " + k.note + "\n";
  }
  if (r.strayCards)
    out += format(
        "not records: %zu cards the trace read where no card begins (bytes of other records or junk)\n",
        r.strayCards);
  for (const std::string& m : r.fieldsMended) out += "field table: " + m + "\n";
  out += format("kept %zu system cards; offset cards and the terminator written anew\n", r.systemCards);
  out += format("bytes lost: %llu\n", static_cast<unsigned long long>(r.bytesLost));
  out += format("%s: %zu bytes, no Error and no Critical\n", printable(target).c_str(), r.bytes.size());
  return out;
}

Json recordObject(const RescuedRecord& r) {
  Json j;
  j["card"] = r.card < 0 ? Json(nullptr) : Json(r.card);
  j["offset"] = r.offset;
  j["id"] = r.id;
  if (r.newId) j["new_id"] = r.newId;
  if (!r.note.empty()) j["note"] = r.note;
  return j;
}

Json recordList(const std::vector<RescuedRecord>& records) {
  Json list = Json::array();
  for (const RescuedRecord& r : records) list.push_back(recordObject(r));
  return list;
}

// The summary for scripts: the same figures as one JSON object.
std::string jsonSummary(const RecoverArguments& args, const RescuedBox& r, int status) {
  Json j;
  j["schema"] = kSchema;
  j["broken"] = printable(args.broken);
  j["new"] = printable(args.target);
  j["written"] = r.problem.empty();
  j["problem"] = r.problem.empty() ? Json(nullptr) : Json(printable(r.problem));
  j["status"] = status;
  if (r.problem.empty()) {
    j["size"] = r.bytes.size();
    j["claims"] = {{"header", r.headerCount},
                   {"offset_tables", r.tableIds},
                   {"cards", r.seenIds},
                   {"ids", r.claimedIds}};
    j["kept"] = {{"records", r.kept},
                 {"from_chain", r.kept - r.found - r.restored.size()},
                 {"found", r.found},
                 {"damaged_whole", recordList(r.damagedKept)},
                 {"renumbered", recordList(r.renumbered)},
                 {"restored", recordList(r.restored)}};
    Json missing = Json::array();
    for (const MissingRecord& m : r.missing) missing.push_back({{"id", m.id}, {"why", m.why}});
    j["missing"] = {
        {"records", r.missing.size() + r.unnamedMissing}, {"ids", missing}, {"unnamed", r.unnamedMissing}};
    j["dropped"] = recordList(r.dropped);
    j["stray_cards"] = r.strayCards;
    j["field_table"] = {{"mended", r.fieldsMended}, {"types_changed", r.typesChanged}};
    j["system_cards"] = r.systemCards;
    j["bytes_lost"] = r.bytesLost;
  } else if (r.cardValueCount >= 0) {
    j["card_values"] = r.cardValueCount;
  }
  return jsonText(j) + "\n";
}

int runRecover(const RecoverArguments& args) {
  // Refused before the field table is read, as rescueFile would refuse it.
  if (sameFile(args.broken, args.target))
    return fail(args.target, "is the broken box itself; the broken box is never written",
                exit_status::kNotWritten);
  if (!args.force && pathExists(args.target))
    return fail(args.target, "exists; give --force to replace it", exit_status::kNotWritten);

  FieldTable fields;
  if (!args.fieldsFrom.empty()) {
    std::string why;
    const int status = fieldTableOf(args.fieldsFrom, fields, why);
    if (status != exit_status::kClean) return fail(args.fieldsFrom, why, status);
  }
  Progress progress("recover", args.progress);
  setCurrentProgress(&progress);
  const RescueFile r = rescueFile(args.broken, args.target,
                                  {args.fieldsFrom.empty() ? nullptr : &fields, args.deleted}, args.force);
  setCurrentProgress(nullptr);
  progress.clear();
  const RescuedBox& rescued = r.box;
  if (r.status == exit_status::kRefused) {
    if (args.json) std::fputs(jsonSummary(args, rescued, exit_status::kRefused).c_str(), stdout);
    std::string advice;
    if (rescued.problem.starts_with("the item info") ||
        rescued.problem.starts_with("the given field table")) {
      advice = "; give --fields-from with a sound box of the same application";
      if (rescued.cardValueCount >= 0)
        advice += format(" ('boxtool export' shows the %d values of each card without their types)",
                         rescued.cardValueCount);
    }
    return fail(r.failedPath, r.reason + advice, exit_status::kRefused);
  }
  if (!r.reason.empty()) return fail(r.failedPath, r.reason, r.status);
  const int status = r.status;
  const std::string text = args.json ? jsonSummary(args, rescued, status) : summary(rescued, args.target);
  writeOut(text);
  flushOutput();
  return status;
}

}  // namespace

Command addRecoverCommand(CLI::App& boxtool) {
  auto args = std::make_shared<RecoverArguments>();
  CLI::App* app = boxtool.add_subcommand(
      "recover", "Write a new, sound box from everything in a damaged box that can be read");
  app->add_flag("--json", args->json, "The summary as one JSON object");
  app->add_flag("--deleted", args->deleted, "Restore the deleted records that still decode, with free IDs");
  app->add_option("--fields-from", args->fieldsFrom,
                  "Take the field table from this box of the same application")
      ->type_name("SOUND.BOX");
  app->add_flag("-f,--force", args->force, "Replace NEW.BOX when it exists");
  addProgressOptions(app, args->progress);
  addBoxArgument(app, args->broken, "BROKEN.BOX", "The damaged box; it is only read");
  addBoxArgument(app, args->target, "NEW.BOX", "The new box");
  return {app, [args] { return runRecover(*args); }};
}
