// boxtool export: the records of a box file as JSON or CSV, one record per
// normal card the trace read (and with --deleted the deleted cards that
// still decode), each value typed by its field's data ID.
//
// The records are written as they are decoded, one at a time, into a buffer
// that goes out in large pieces: nothing holds the whole document.  The
// JSON records are formatted here rather than built as JSON objects, since
// a box holds up to 65,279 records of a dozen values each.
#include <algorithm>
#include <cerrno>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cstdio>
#include <memory>
#include <unordered_map>
#include <utility>

#include "analysed_file.h"
#include "export_records.h"
#include "field_table.h"
#include "json_text.h"
#include "output_file.h"
#include "printable.h"
#include "record_map.h"
#include "record_values.h"
#include "rescue.h"

namespace {

using namespace std::string_view_literals;

constexpr int kSchema = 2;
constexpr size_t kFlushSize = 1 << 16;

// Buffered writing to a stream (or, without one, to the buffer alone).
class Sink {
 public:
  explicit Sink(FILE* out) : out_(out) { buffer_.reserve(kFlushSize * 2); }
  std::string& buffer() { return buffer_; }
  void flush() {
    errno = 0;
    if (!buffer_.empty() && std::fwrite(buffer_.data(), 1, buffer_.size(), out_) != buffer_.size() &&
        !error_) {
      error_ = errno ? errno : EIO;
      if (out_ == stdout) noteOutputError(error_);
    }
    buffer_.clear();
  }
  bool failed() const { return error_ != 0 || std::ferror(out_); }
  // Why a write failed, in words.
  std::string error() const { return std::strerror(error_ ? error_ : EIO); }

 private:
  FILE* out_;
  std::string buffer_;
  int error_ = 0;  // the errno of the first write that failed
};

std::string_view stateName(RecordState s) {
  switch (s) {
    case RecordState::kSound:
      return "sound";
    case RecordState::kDamaged:
      return "damaged";
    case RecordState::kDeleted:
      return "deleted";
    case RecordState::kFound:
      return "found";
  }
  return "sound";
}

// Appends value in decimal.
void appendUnsigned(std::string& out, uint64_t value) {
  char digits[20];
  char* end = digits + sizeof digits;
  char* p = end;
  do {
    *--p = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value);
  out.append(p, static_cast<size_t>(end - p));
}

// Whether any of the eight bytes of word is a quote, a backslash or a
// control character (below 0x20), which a JSON string must escape.
bool needsEscape(uint64_t word) {
  constexpr uint64_t kOnes = 0x0101010101010101u;
  constexpr uint64_t kHighBits = 0x8080808080808080u;
  const auto zeroIn = [](uint64_t v) { return (v - kOnes) & ~v & kHighBits; };
  // A byte below 0x20 has its three high bits clear.
  return (zeroIn(word ^ (kOnes * '"')) | zeroIn(word ^ (kOnes * '\\')) | zeroIn(word & (kOnes * 0xE0))) != 0;
}

// The first i from at on, before the end of s, at which s holds a byte a
// JSON string must escape; s.size() when there is none.  Sixteen bytes at
// a time where the processor has SSE2, eight elsewhere.
size_t nextEscape(std::string_view s, size_t at) {
#if defined(__SSE2__)
  const __m128i quote = _mm_set1_epi8('"');
  const __m128i backslash = _mm_set1_epi8('\\');
  const __m128i high = _mm_set1_epi8(static_cast<char>(0xE0));
  const __m128i zero = _mm_setzero_si128();
  for (; at + 16 <= s.size(); at += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s.data() + at));
    const __m128i hits = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, quote), _mm_cmpeq_epi8(v, backslash)),
                                      _mm_cmpeq_epi8(_mm_and_si128(v, high), zero));
    if (const int mask = _mm_movemask_epi8(hits)) return at + static_cast<size_t>(__builtin_ctz(mask));
  }
#endif
  uint64_t word = 0;
  while (at + 8 <= s.size() && (std::memcpy(&word, s.data() + at, 8), !needsEscape(word))) at += 8;
  for (; at < s.size(); ++at) {
    const auto b = static_cast<unsigned char>(s[at]);
    if (b == '"' || b == '\\' || b < 0x20) return at;
  }
  return at;
}

// A JSON string of valid UTF-8.  Runs of characters that need no escape
// are appended whole.
void appendJsonString(std::string& out, std::string_view s) {
  out += '"';
  size_t plain = 0;  // start of the run not yet appended
  for (size_t i = 0; i < s.size(); ++i) {
    i = nextEscape(s, i);
    if (i >= s.size()) break;
    const auto b = static_cast<unsigned char>(s[i]);
    if (b != '"' && b != '\\' && b >= 0x20) continue;
    out.append(s, plain, i - plain);
    plain = i + 1;
    if (b == '"' || b == '\\') {
      out += '\\';
      out += static_cast<char>(b);
    } else if (b == '\n') {
      out += "\\n";
    } else if (b == '\r') {
      out += "\\r";
    } else if (b == '\t') {
      out += "\\t";
    } else {
      out += "\\u00";
      appendHex(out, &b, 1);
    }
  }
  out.append(s, plain, std::string_view::npos);
  out += '"';
}

void appendJsonValue(std::string& out, const RecordValue& v) {
  switch (v.kind) {
    case ValueKind::kNull:
      out += "null"sv;
      break;
    case ValueKind::kMissing:
      out += "{\"missing\":true}";
      break;
    case ValueKind::kText:
    case ValueKind::kTime:
      appendJsonString(out, v.textView());
      break;
    case ValueKind::kInteger:
      appendUnsigned(out, v.integer);
      break;
    case ValueKind::kIllegalTime:
      out += R"({"illegal_time":")";
      out += v.text;
      out += R"("})";
      break;
    case ValueKind::kHex:
      out += R"({"hex":")";
      out += v.text;
      out += R"("})";
      break;
  }
}

// One CSV field, prefix and s; quoted when it holds a separator, a quote or
// a line break.
void appendCsvField(std::string& out, std::string_view s, std::string_view prefix = "") {
  if (s.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += prefix;
    out += s;
    return;
  }
  out += '"';
  out += prefix;
  for (const char c : s) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendCsvValue(std::string& out, const RecordValue& v) {
  switch (v.kind) {
    case ValueKind::kNull:
      break;
    case ValueKind::kMissing:
      out += "#MISSING";
      break;
    case ValueKind::kText:
      // One '#' starts a marker; a text that begins with '#' gets a second
      // one, so that the two are never taken for each other.
      appendCsvField(out, v.textView(), v.textView().starts_with('#') ? "#" : "");
      break;
    case ValueKind::kTime:
      appendCsvField(out, v.text);
      break;
    case ValueKind::kInteger:
      appendUnsigned(out, v.integer);
      break;
    case ValueKind::kIllegalTime:
      out += "#TIME:" + v.text;
      break;
    case ValueKind::kHex:
      out += "#HEX:" + v.text;
      break;
  }
}

std::string codeList(const std::vector<uint32_t>* codes, const char* separator, bool quoted) {
  std::string s;
  if (!codes) return s;
  for (size_t k = 0; k < codes->size(); ++k) {
    if (k) s += separator;
    s += quoted ? format("\"%08x\"", (*codes)[k]) : format("%08x", (*codes)[k]);
  }
  return s;
}

// The CSV column names of the fields: their tags without trailing blanks,
// made unique among themselves and the leading columns.
std::vector<std::string> columnNames(const ItemInfo& fields, const std::vector<std::string>& leading) {
  std::vector<std::string> taken = leading;
  std::vector<std::string> names;
  for (int k = 0; k < fields.count; ++k) {
    std::string tag = printable(fields.entries[static_cast<size_t>(k)].tag);
    tag.erase(tag.find_last_not_of(' ') + 1);
    if (tag.empty()) tag = format("field%d", k);
    std::string name = tag;
    for (int n = 2; std::find(taken.begin(), taken.end(), name) != taken.end(); ++n)
      name = format("%s_%d", tag.c_str(), n);
    taken.push_back(name);
    names.push_back(name);
  }
  return names;
}

// What the records are read from: the box as vorn analyses it (its
// problems), and the trace that lists the records, which is that analysis
// itself unless the cards are traced behind another field table.
struct Source {
  const AnalysedFile* box = nullptr;
  std::unique_ptr<AnalysedFile> behind;  // the cards traced behind another field table
  TracedBytes traced;                    // the bytes of that trace
  bool values = true;                    // a field table is known: values are decoded
  std::string unreadable;                // why the box's own field table cannot be read
  std::vector<std::string> notes;        // changes to the field table, for the reader
  bool typesLost = false;                // some values are not shown as their type

  const AnalysedFile& trace() const { return behind ? *behind : *box; }
};

class Exporter {
 public:
  Exporter(const Source& source, const ExportArguments& args, ValueDecoder& decoder, Sink& sink)
      : source_(source),
        args_(args),
        decoder_(decoder),
        sink_(sink),
        a_(*source.trace().analysis),
        view_(a_.file.view()),
        fields_(*a_.itemInfo) {
    for (const Finding& f : source.trace().findings) {
      if (f.isCard()) codes_[f.index].push_back(f.code);
    }
  }

  // The number of records not sound (damaged ones and those with values
  // missing).  When the box shrinks while its values are read, the records
  // read since the last piece went out are not written, and shrank() says so.
  size_t run() {
    const bool csv = args_.format == "csv";
    const bool values = source_.values;
    csv ? csvHead(values) : jsonHead(values);
    const RecordMap map = records();
    size_t incomplete = source_.typesLost ? map.records.size() : 0;
    for (size_t n = 0; n < map.records.size(); ++n) {
      if (Progress* p = currentProgress(); p && n % 256 == 0) p->show(n, map.records.size());
      if (!decodeRecord(map.records[n], values) && !source_.typesLost) ++incomplete;
      csv ? csvRecord(map.records[n], values) : jsonRecord(map.records[n], values, n == 0);
      if (sink_.buffer().size() >= kFlushSize && !flushRead()) return incomplete;
    }
    if (!csv) sink_.buffer() += map.records.empty() ? "]\n}\n" : "\n]\n}\n";
    flushRead();
    return incomplete;
  }

  RecordMap records() const {
    RecordMap map = mapRecords(view_, *a_.chain, fields_, source_.traced.areaStart,
                               {.deleted = args_.deleted && source_.values});
    // Without a field table no card can be judged by its own bytes: only
    // the chain's cards are shown.
    if (!source_.values) std::erase_if(map.records, [](const Record& r) { return r.card < 0; });
    return map;
  }

  // The values (or the body in hex) decodeRecord() read last.
  const std::vector<RecordValue>& values() const { return values_; }
  const std::string& raw() const { return raw_; }

  bool shrank() const { return shrank_; }

  // Writes what the buffer holds, unless part of it was read from a box
  // that shrank meanwhile (zeros where its bytes were).
  bool flushRead() {
    shrank_ = source_.box->analysis->file.shrank() || a_.file.shrank();
    if (shrank_) return false;
    sink_.flush();
    return true;
  }

  // Decodes the record's values into values_; false when one is missing or
  // the record is damaged.
  bool decodeRecord(const Record& r, bool withValues) {
    bool complete = r.state != RecordState::kDamaged;
    if (!withValues) {
      raw_.clear();
      const uint64_t bodyStart = std::min<uint64_t>(uint64_t{r.offset} + box::kCardHeadSize, r.end);
      appendHex(raw_, view_.data() + bodyStart, r.end - bodyStart);
      return false;
    }
    const CardValues values(view_, r.offset, fields_);
    values_.resize(static_cast<size_t>(values.count()));
    for (int k = 0; k < values.count(); ++k) {
      RecordValue& v = values_[static_cast<size_t>(k)];
      if (!valuePresent(values, k, r.end)) {
        v.kind = ValueKind::kMissing;
        v.text.clear();
        complete = false;
        continue;
      }
      decoder_.decode(fields_.entries[static_cast<size_t>(k)], view_.data() + values.position(k),
                      values.length(k), v);
    }
    return complete;
  }

  const std::vector<uint32_t>* findCodes(int32_t card) const {
    const auto found = codes_.find(card);
    return found == codes_.end() ? nullptr : &found->second;
  }

  void jsonHead(bool withValues) {
    const AnalysedFile& file = *source_.box;
    Json box;
    box["file"] = printable(file.path);
    box["size"] = file.analysis->file.size;
    box["encoding"] = printable(args_.encoding);
    box["problems"] = {{"critical", file.counts.critical},
                       {"errors", file.counts.errors},
                       {"warnings", file.counts.warnings}};
    box["fields_unreadable"] =
        source_.unreadable.empty() ? Json(nullptr) : Json(printable(source_.unreadable));
    Json notes = Json::array();
    for (const std::string& n : source_.notes) notes.push_back(printable(n));
    box["fields_notes"] = notes;
    std::string& out = sink_.buffer();
    out += "{\n\"schema\": " + std::to_string(kSchema) + ",\n\"box\": ";
    out += jsonText(box);
    out += ",\n\"fields\": [";
    for (int k = 0; withValues && k < fields_.count; ++k) {
      const ItemInfoEntry& e = fields_.entries[static_cast<size_t>(k)];
      const Json field = {
          {"index", k}, {"tag", printable(e.tag)}, {"name", printable(e.name)}, {"data_id", e.dataId}};
      out += k ? ",\n  " : "\n  ";
      out += jsonText(field);
    }
    out += withValues && fields_.count ? "\n],\n\"records\": [" : "],\n\"records\": [";
  }

  // The record's card index, or nothing for one found outside the chain.
  void appendCard(std::string& out, const Record& r, std::string_view none) const {
    if (r.card < 0) {
      out += none;
    } else {
      appendUnsigned(out, static_cast<uint64_t>(r.card));
    }
  }

  void jsonRecord(const Record& r, bool withValues, bool first) {
    std::string& out = sink_.buffer();
    out += first ? "\n  {\"card\":"sv : ",\n  {\"card\":"sv;
    appendCard(out, r, "null");
    out += ",\"offset\":"sv;
    appendUnsigned(out, source_.traced.original(r.offset));
    out += ",\"id\":"sv;
    appendUnsigned(out, r.id);
    out += ",\"state\":\""sv;
    out += stateName(r.state);
    out += "\",\"findings\":["sv;
    if (r.card >= 0) out += codeList(findCodes(r.card), ",", true);
    if (!withValues) {
      out += "],\"raw\":\"" + raw_ + "\"}";
      return;
    }
    out += "],\"values\":["sv;
    for (size_t k = 0; k < values_.size(); ++k) {
      if (k) out += ',';
      appendJsonValue(out, values_[k]);
    }
    out += "]}";
  }

  void csvHead(bool withValues) {
    const std::vector<std::string> leading = {"card", "offset", "id", "state", "findings"};
    std::vector<std::string> columns = leading;
    if (withValues) {
      for (const std::string& name : columnNames(fields_, leading)) columns.push_back(name);
    } else {
      columns.push_back("raw");
    }
    std::string& out = sink_.buffer();
    for (size_t k = 0; k < columns.size(); ++k) {
      if (k) out += ',';
      appendCsvField(out, columns[k]);
    }
    out += "\r\n";
  }

  void csvRecord(const Record& r, bool withValues) {
    std::string& out = sink_.buffer();
    appendCard(out, r, "");
    out += ',';
    appendUnsigned(out, source_.traced.original(r.offset));
    out += ',';
    appendUnsigned(out, r.id);
    out += ',';
    out += stateName(r.state);
    out += ',';
    if (r.card >= 0) out += codeList(findCodes(r.card), " ", false);
    if (!withValues) {
      out += ',' + raw_;
    } else {
      for (const RecordValue& v : values_) {
        out += ',';
        appendCsvValue(out, v);
      }
    }
    out += "\r\n";
  }

 private:
  const Source& source_;
  const ExportArguments& args_;
  ValueDecoder& decoder_;
  Sink& sink_;
  const BoxAnalysis& a_;
  ByteView view_;
  const ItemInfo& fields_;
  std::unordered_map<int32_t, std::vector<uint32_t>> codes_;
  std::vector<RecordValue> values_;
  std::string raw_;
  bool shrank_ = false;
};

// The field table the records are read with, and the trace of the cards
// behind it.  Without a table the cards' values cannot be told apart: when
// the cards agree on how many values they hold, those are shown without
// their types; otherwise each record's body is shown in hex.
int prepare(const ExportArguments& args, const AnalysedFile& file, Source& source) {
  source.box = &file;
  const ByteView view = file.analysis->file.view();
  FieldTable table;
  bool own = args.fieldsFrom.empty();
  if (own) {
    table = readFieldTable(view);
  } else {
    std::string why;
    const int status = fieldTableOf(args.fieldsFrom, table, why);
    if (status != exit_status::kClean) return fail(args.fieldsFrom, why, status);
    source.notes.push_back("the field table of " + args.fieldsFrom);
  }
  if (!table.problem.empty()) {
    source.unreadable = table.problem;
    if (table.cardValueCount < 0) {
      source.values = false;
      source.traced.view = view;
      source.traced.areaStart = file.analysis->headerCheck->firstCardOffset();
      source.traced.asItStands = true;
      return exit_status::kClean;
    }
    table.itemInfo = untypedItemInfo(table.cardValueCount);
    own = false;
    source.typesLost = true;
    source.notes.push_back(
        format("the cards hold %d values each; they are shown without their types, as text or hex",
               table.cardValueCount));
  }
  source.notes.insert(source.notes.end(), table.mended.begin(), table.mended.end());
  source.typesLost = source.typesLost || table.typesChanged;
  source.traced = tracedBytes(view, table.itemInfo, own, table.end, table.asStated);
  if (!source.traced.view.data()) return fail(args.path, "the box is too large", exit_status::kNotAnalysed);
  if (!source.traced.asItStands)
    source.behind = std::make_unique<AnalysedFile>(file.path, source.traced.view);
  return exit_status::kClean;
}

}  // namespace

int runExport(const ExportArguments& args) {
  ValueDecoder decoder(args.encoding);
  if (!decoder.usable()) {
    std::fprintf(stderr, "boxtool: --encoding: unknown encoding %s\n", printable(args.encoding).c_str());
    return exit_status::kUsage;
  }
  if (!args.output.empty() && sameFile(args.output, args.path)) {
    return fail(args.output, "is the box itself; the box is never written", exit_status::kNotWritten);
  }
  if (!args.output.empty() && !args.force && isReadOnlyFile(args.output))
    return fail(args.output, "is read-only; give --force to replace it", exit_status::kNotWritten);
  Progress progress("export", args.progress);
  setCurrentProgress(&progress);
  const AnalysedFile file(args.path);
  if (!file.analysed()) return fail(args.path, file.reason, exit_status::kNotAnalysed);
  Source source;
  const int prepared = prepare(args, file, source);
  if (prepared != exit_status::kClean) return prepared;

  std::unique_ptr<OutputFile> output;
  if (!args.output.empty()) {
    output = std::make_unique<OutputFile>(args.output);
    if (!output->opened()) return fail(args.output, output->error, exit_status::kNotWritten);
  }
  Sink sink(output ? output->stream() : stdout);
  Exporter exporter(source, args, decoder, sink);
  const size_t incomplete = exporter.run();
  setCurrentProgress(nullptr);
  // The output file is not kept: it is removed with its temporary.
  if (exporter.shrank())
    return fail(args.path, "the file shrank while it was being read", exit_status::kNotAnalysed);
  // A failure to write standard output is said once, when boxtool ends.
  if (output && (sink.failed() || !output->commit(true)))
    return fail(args.output, sink.failed() ? sink.error() : output->error, exit_status::kNotWritten);
  return incomplete || !source.values ? exit_status::kIncomplete : exit_status::kClean;
}

struct RecordListing::Impl {
  std::shared_ptr<const AnalysedFile> file;
  ExportArguments args;  // --deleted on, the encoding of the texts
  Source source;
  std::unique_ptr<ValueDecoder> decoder;
  Sink sink{nullptr};                  // holds what exportText() writes
  std::unique_ptr<Exporter> exporter;  // decodes and writes single records
  RecordMap map;
  std::string problem;
};

RecordListing::RecordListing(std::shared_ptr<const AnalysedFile> file) : impl_(std::make_unique<Impl>()) {
  Impl& m = *impl_;
  m.file = std::move(file);
  m.args.deleted = true;
  m.args.path = m.file->path;
  if (!m.file->analysed()) {
    m.problem = m.file->reason;
    return;
  }
  // Without --fields-from the only failure is a box too large to trace.
  if (prepare(m.args, *m.file, m.source) != exit_status::kClean) {
    m.problem = "the box is too large";
    return;
  }
  m.decoder = std::make_unique<ValueDecoder>(m.args.encoding);
  m.exporter = std::make_unique<Exporter>(m.source, m.args, *m.decoder, m.sink);
  m.map = m.exporter->records();
}

RecordListing::~RecordListing() = default;

const std::string& RecordListing::problem() const { return impl_->problem; }
const AnalysedFile& RecordListing::box() const { return *impl_->file; }
const AnalysedFile& RecordListing::trace() const { return impl_->source.trace(); }
uint64_t RecordListing::areaStart() const { return impl_->source.traced.areaStart; }
uint32_t RecordListing::original(uint64_t traced) const { return impl_->source.traced.original(traced); }
bool RecordListing::hasValues() const { return impl_->source.values; }
const ItemInfo& RecordListing::fields() const { return *trace().analysis->itemInfo; }
const std::vector<std::string>& RecordListing::notes() const { return impl_->source.notes; }
const std::string& RecordListing::unreadable() const { return impl_->source.unreadable; }
const std::vector<Record>& RecordListing::records() const { return impl_->map.records; }
const RecordMap& RecordListing::map() const { return impl_->map; }
const std::string& RecordListing::encoding() const { return impl_->args.encoding; }
const char* RecordListing::stateName(RecordState state) { return ::stateName(state).data(); }

std::vector<std::string> RecordListing::columnNames() const {
  return ::columnNames(fields(), {"card", "offset", "id", "state", "findings"});
}

const std::vector<uint32_t>* RecordListing::codes(int32_t card) const {
  return impl_->exporter ? impl_->exporter->findCodes(card) : nullptr;
}

bool RecordListing::setEncoding(const std::string& encoding) {
  Impl& m = *impl_;
  auto decoder = std::make_unique<ValueDecoder>(encoding);
  if (!decoder->usable()) return false;
  m.args.encoding = encoding;
  if (!m.exporter) return true;
  m.exporter.reset();
  m.decoder = std::move(decoder);
  m.exporter = std::make_unique<Exporter>(m.source, m.args, *m.decoder, m.sink);
  return true;
}

const std::vector<RecordValue>& RecordListing::values(size_t n) {
  impl_->exporter->decodeRecord(impl_->map.records[n], impl_->source.values);
  return impl_->exporter->values();
}

const std::string& RecordListing::raw(size_t n) {
  impl_->exporter->decodeRecord(impl_->map.records[n], impl_->source.values);
  return impl_->exporter->raw();
}

std::string RecordListing::exportText(bool csv, const std::vector<size_t>& which) {
  Impl& m = *impl_;
  std::string& out = m.sink.buffer();
  out.clear();
  const bool values = m.source.values;
  csv ? m.exporter->csvHead(values) : m.exporter->jsonHead(values);
  for (size_t k = 0; k < which.size(); ++k) {
    const Record& r = m.map.records[which[k]];
    m.exporter->decodeRecord(r, values);
    csv ? m.exporter->csvRecord(r, values) : m.exporter->jsonRecord(r, values, k == 0);
  }
  if (!csv) out += which.empty() ? "]\n}\n" : "\n]\n}\n";
  return std::exchange(out, std::string());
}

int RecordListing::write(FILE* out, const ExportArguments& args, std::string& error) const {
  ValueDecoder decoder(args.encoding);
  if (!decoder.usable()) {
    error = "unknown encoding " + args.encoding;
    return exit_status::kUsage;
  }
  Sink sink(out);
  Exporter exporter(impl_->source, args, decoder, sink);
  const size_t incomplete = exporter.run();
  if (exporter.shrank()) {
    error = "the file shrank while it was being read";
    return exit_status::kNotAnalysed;
  }
  if (sink.failed()) {
    error = sink.error();
    return exit_status::kNotWritten;
  }
  return incomplete || !impl_->source.values ? exit_status::kIncomplete : exit_status::kClean;
}
