// boxtool recover: a new, sound box from everything in a damaged one that
// can be read (rescue.h says what is kept), with a summary of what was kept,
// dropped, renumbered and restored.  The broken box is only read; the new
// one is written beside its place and renamed into it.
#include <cstdio>
#include <memory>

#include "analysed_file.h"
#include "box_file.h"
#include "command.h"
#include "output_file.h"
#include "printable.h"
#include "rescue.h"

namespace {

struct RecoverArguments {
  bool deleted = false;
  bool force = false;
  std::string fieldsFrom;
  std::string broken;
  std::string target;
};

int fail(const std::string& path, const std::string& reason, int status) {
  std::fprintf(stderr, "boxtool: %s: %s\n", printable(path).c_str(), printable(reason).c_str());
  return status;
}

std::string place(const RescuedRecord& r) {
  return format("card %d at 0x%06x, ID 0x%04x", r.card, r.offset, r.id);
}

std::string summary(const RescuedBox& r, const std::string& target) {
  std::string out = format("kept %zu records", r.kept);
  if (!r.repaired.empty()) out += format(", %zu of them damaged cards made consistent", r.repaired.size());
  out += "\n";
  for (const RescuedRecord& k : r.repaired) out += "  " + place(k) + ": " + k.note + "\n";
  out += format("dropped %zu records\n", r.dropped.size());
  for (const RescuedRecord& k : r.dropped) out += "  " + place(k) + ": " + k.note + "\n";
  if (!r.renumbered.empty()) out += format("renumbered %zu records\n", r.renumbered.size());
  for (const RescuedRecord& k : r.renumbered)
    out += "  " + place(k) + format(": now ID 0x%04x, ", k.newId) + k.note + "\n";
  if (!r.restored.empty()) out += format("restored %zu deleted records\n", r.restored.size());
  for (const RescuedRecord& k : r.restored) out += "  " + place(k) + format(": now ID 0x%04x\n", k.newId);
  for (const std::string& m : r.fieldsMended) out += "field table: " + m + "\n";
  out += format("kept %zu system cards; offset cards and the terminator written anew\n", r.systemCards);
  out += format("bytes lost: %llu\n", static_cast<unsigned long long>(r.bytesLost));
  out += format("%s: %zu bytes, no Error and no Critical\n", printable(target).c_str(), r.bytes.size());
  return out;
}

// The field table of the box at path, which must be readable.
int fieldsOf(const std::string& path, FieldTable& table) {
  std::vector<uint8_t> bytes;
  const std::string reason = readBoxFile(path.c_str(), bytes);
  if (!reason.empty()) return fail(path, reason, exit_status::kNotAnalysed);
  table = readFieldTable(ByteView(bytes.data(), static_cast<uint32_t>(bytes.size())));
  if (!table.problem.empty())
    return fail(path, "its item info cannot be read either: " + table.problem, exit_status::kRefused);
  return exit_status::kClean;
}

int runRecover(const RecoverArguments& args) {
  if (sameFile(args.broken, args.target))
    return fail(args.target, "is the broken box itself; the broken box is never written",
                exit_status::kNotWritten);
  if (!args.force && pathExists(args.target))
    return fail(args.target, "exists; give --force to replace it", exit_status::kNotWritten);

  FieldTable fields;
  if (!args.fieldsFrom.empty()) {
    const int status = fieldsOf(args.fieldsFrom, fields);
    if (status != exit_status::kClean) return status;
  }
  // Mapped read-only: the broken box is read, never written.
  const BoxFile broken(args.broken.c_str());
  if (!broken.problem.empty()) return fail(args.broken, broken.problem, exit_status::kNotAnalysed);
  const RescuedBox rescued =
      rescueBox(broken.view(), args.fieldsFrom.empty() ? nullptr : &fields, args.deleted);
  // What was read from a file that shrank is partly zeros: write nothing.
  if (broken.shrank())
    return fail(args.broken, "the file shrank while it was being read", exit_status::kNotAnalysed);
  if (!rescued.problem.empty()) return fail(args.broken, rescued.problem, exit_status::kRefused);

  OutputFile out(args.target);
  if (!out.opened()) return fail(args.target, out.error, exit_status::kNotWritten);
  if (std::fwrite(rescued.bytes.data(), 1, rescued.bytes.size(), out.stream()) != rescued.bytes.size() ||
      !out.commit(args.force)) {
    return fail(args.target, out.error.empty() ? "write failed" : out.error, exit_status::kNotWritten);
  }
  const std::string text = summary(rescued, args.target);
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
  return rescued.dropped.empty() ? exit_status::kClean : exit_status::kIncomplete;
}

}  // namespace

Command addRecoverCommand(CLI::App& boxtool) {
  auto args = std::make_shared<RecoverArguments>();
  CLI::App* app = boxtool.add_subcommand(
      "recover", "Write a new, sound box from everything in a damaged box that can be read");
  app->add_flag("--deleted", args->deleted, "Restore the deleted records that still decode, with free IDs");
  app->add_option("--fields-from", args->fieldsFrom,
                  "Take the field table from this box of the same application")
      ->type_name("SOUND.BOX");
  app->add_flag("-f,--force", args->force, "Replace NEW.BOX when it exists");
  app->add_option("BROKEN.BOX", args->broken, "The damaged box; it is only read")->required()->type_name("");
  app->add_option("NEW.BOX", args->target, "The new box")->required()->type_name("");
  return {app, [args] { return runRecover(*args); }};
}
