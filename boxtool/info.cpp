// boxtool info: a statistics report of one box file.  The header's stored
// totals stand beside the values the analysis counts; the cards are counted
// and sized per class; the field table and the offset table's coverage
// follow.
#include <cstdio>
#include <memory>

#include "analysed_file.h"
#include "collection.h"
#include "info_report.h"
#include "json_text.h"
#include "printable.h"

namespace {

constexpr int kSchema = 1;
constexpr int kLabelWidth = 32;  // where the values of the text form begin

}  // namespace

Report makeReport(const AnalysedFile& file) {
  const BoxAnalysis& a = *file.analysis;
  const HeaderCheck& h = *a.headerCheck;
  const cardChain& chain = *a.chain;
  Report r;
  r.totals = {{"garbage bytes", "garbage_bytes", h.totalGarbageSize(), chain.garbageBytes, false},
              {"normal cards", "normal_cards", h.totalDataSize(), chain.normalCount, false},
              {"least null card ID", "least_null_id", h.leastNullCardId(), chain.leastNullId, true},
              {"maximum card ID", "max_id", h.maximumCardId(), chain.maxId, true}};

  CardClass offsetCards{"offset cards", "offset_cards", 0, 0, true};
  CardClass indexCard{"reference index card", "index_card", 0, 0, true};
  CardClass terminator{"terminator", "terminator", 0, 0, true};
  for (const CardRecord& card : chain.cards) {
    if (card.level & code::kFailing) continue;  // an error card, whatever its ID
    CardClass* part = card.id == box::kOffsetCardId  ? &offsetCards
                      : card.id == box::kIndexCardId ? &indexCard
                                                     : nullptr;
    if (box::isTerminatorAt(card.offset, card.id, a.file.size)) {
      terminator.count = 1;
      terminator.bytes = box::kTerminatorSize;
    } else if (part) {
      ++part->count;
      part->bytes += uint64_t{box::kCardHeadSize} + card.size;
    }
  }
  // The census sums sizes in 32 bits, as the handheld's tool does; an error
  // card's size the salvage set below its head's end counts as negative.
  r.classes = {{"normal", "normal", chain.normalCount, chain.normalBytes},
               {"garbage", "garbage", chain.garbageCount, chain.garbageBytes},
               {"error", "error", chain.errorCount, static_cast<int32_t>(chain.errorBytes)},
               {"system", "system", chain.systemCount, chain.systemBytes},
               offsetCards,
               indexCard,
               terminator};
  const CompactionPlan plan = compactionPlan(a);
  r.compactFrees = static_cast<int64_t>(plan.droppedBytes) - (plan.addsTerminator ? box::kTerminatorSize : 0);

  Coverage& c = r.coverage;
  for (const OffsetSegment& run : a.offsetTable.segments) {
    ++c.runs;
    c.covered += run.count;
    const uint64_t inFile = run.offset < a.file.size ? (a.file.size - run.offset) / box::kOffsetEntrySize : 0;
    c.outside += run.count - std::min<uint64_t>(run.count, inFile);
  }
  c.good = a.offsetTable.goodEntries;
  c.bad = a.offsetTable.badEntries;
  // Every entry read is good, bad, or empty for an ID without a card.
  c.empty = c.covered - c.outside - c.good - c.bad;
  return r;
}

namespace {

// "  label ........ value"
std::string row(const std::string& label, const std::string& value, int indent = 2) {
  std::string s = std::string(static_cast<size_t>(indent), ' ') + label + " ";
  while (s.size() < kLabelWidth) s += '.';
  s += " " + value;
  s.erase(s.find_last_not_of(' ') + 1);  // empty tags and names leave no blanks behind
  return s + "\n";
}

// A section's title, with the headings of its value columns.
std::string title(const char* name, const std::string& columns = "") {
  if (columns.empty()) return format("\n%s\n", name);
  return format("\n%-*s %s\n", kLabelWidth, name, columns.c_str());
}

std::string number(uint64_t value, bool isId) {
  return isId ? format("0x%04x", static_cast<unsigned>(value))
              : format("%llu", static_cast<unsigned long long>(value));
}

std::string text(const AnalysedFile& file, const Report& r) {
  const BoxAnalysis& a = *file.analysis;
  const ProblemCounts& n = file.counts;
  std::string out = "File\n";
  out += row("path", printable(file.path));
  out += row("size", format("%u bytes", a.file.size));
  out += row("problems", format("%u critical, %u errors, %u warnings", n.critical, n.errors, n.warnings));

  out += title("Header totals", format("%10s %10s", "stored", "counted"));
  for (const Total& t : r.totals) {
    out += row(t.label, format("%10s %10s%s", number(t.stored, t.isId).c_str(),
                               number(t.counted, t.isId).c_str(), t.stored != t.counted ? "  differs" : ""));
  }

  out += title("Cards", format("%10s %10s", "count", "bytes"));
  for (const CardClass& c : r.classes) {
    out += row(
        c.label,
        format("%10llu %10lld", static_cast<unsigned long long>(c.count), static_cast<long long>(c.bytes)),
        c.part ? 4 : 2);
  }
  out += row("compact frees", format("%10s %10lld", "", static_cast<long long>(r.compactFrees)));

  const ItemInfo& items = *a.itemInfo;
  out += title("Fields", format("%7s %9s  %-4s  %s", "data ID", "attribute", "tag", "name"));
  out +=
      row("item info", format("at 0x%06x, %u bytes (%u declared), %d fields", a.headerCheck->itemInfoOffset(),
                              items.parsedSize, a.headerCheck->itemInfoSize(), items.count));
  for (size_t i = 0; i < items.entries.size(); ++i) {
    const ItemInfoEntry& e = items.entries[i];
    out += row(format("%zu", i), format("%7u %9u  %-4s  %s", e.dataId, e.attribute, printable(e.tag).c_str(),
                                        printable(e.name).c_str()));
  }

  const Coverage& c = r.coverage;
  out += title("Offset table");
  out += row("runs", format("%zu (the default table and %zu offset cards)", c.runs, c.runs - 1));
  out += row("IDs covered", format("%llu", static_cast<unsigned long long>(c.covered)));
  out += row("good entries", format("%llu", static_cast<unsigned long long>(c.good)));
  out += row("bad entries", format("%llu", static_cast<unsigned long long>(c.bad)));
  out += row("empty entries", format("%llu", static_cast<unsigned long long>(c.empty)));
  if (c.outside)
    out += row("beyond the end of the file", format("%llu", static_cast<unsigned long long>(c.outside)));
  return out;
}

Json json(const AnalysedFile& file, const Report& r) {
  const BoxAnalysis& a = *file.analysis;
  Json j;
  j["schema"] = kSchema;
  j["file"] = printable(file.path);
  j["size"] = a.file.size;
  j["problems"] = {
      {"critical", file.counts.critical}, {"errors", file.counts.errors}, {"warnings", file.counts.warnings}};
  for (const Total& t : r.totals)
    j["header_totals"][t.key] = {
        {"stored", t.stored}, {"counted", t.counted}, {"differs", t.stored != t.counted}};
  for (const CardClass& c : r.classes) j["cards"][c.key] = {{"count", c.count}, {"bytes", c.bytes}};
  j["compact"] = {{"frees", r.compactFrees}};
  const ItemInfo& items = *a.itemInfo;
  j["item_info"] = {{"offset", a.headerCheck->itemInfoOffset()},
                    {"declared_size", a.headerCheck->itemInfoSize()},
                    {"parsed_size", items.parsedSize}};
  j["fields"] = Json::array();
  for (size_t i = 0; i < items.entries.size(); ++i) {
    const ItemInfoEntry& e = items.entries[i];
    j["fields"].push_back({{"index", i},
                           {"tag", printable(e.tag)},
                           {"name", printable(e.name)},
                           {"data_id", e.dataId},
                           {"attribute", e.attribute}});
  }
  const Coverage& c = r.coverage;
  j["offset_table"] = {{"runs", c.runs}, {"ids_covered", c.covered}, {"good", c.good},
                       {"bad", c.bad},   {"empty", c.empty},         {"outside_file", c.outside}};
  return j;
}

// One member of the object a line, and one element of an array a line:
// short enough to read, and still one JSON object.
std::string layout(const Json& j) {
  std::string out = "{\n";
  size_t member = 0;
  for (const auto& [key, value] : j.items()) {
    out += "  " + jsonText(key) + ": ";
    if (value.is_array() && !value.empty()) {
      out += "[\n";
      for (size_t k = 0; k < value.size(); ++k)
        out += "    " + jsonText(value[k]) + (k + 1 < value.size() ? ",\n" : "\n");
      out += "  ]";
    } else {
      out += jsonText(value);
    }
    out += ++member < j.size() ? ",\n" : "\n";
  }
  return out + "}\n";
}

}  // namespace

int runInfo(const InfoArguments& args) {
  const AnalysedFile file(args.path);
  if (!file.analysed()) return fail(args.path, file.reason, exit_status::kNotAnalysed);
  const Report report = makeReport(file);
  const std::string out = args.json ? layout(json(file, report)) : text(file, report);
  writeOut(out);
  flushOutput();
  return exit_status::kClean;
}
