#include "golden_cases.h"

#include <cctype>
#include <functional>

#include "box_format.h"
#include "coding.h"
#include "hostile_files.h"
#include "samples.h"

namespace boxtest {

namespace {

// "first card at the end" -> "hostile_first_card_at_the_end"
std::string caseName(const std::string& prefix, const std::string& words) {
  std::string name = prefix;
  for (const char c : words) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
}

Bytes join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

Bytes smallWith(std::initializer_list<std::pair<HeaderField, uint32_t>> fields) {
  Bytes b = smallBox().bytes;
  for (const auto& [field, value] : fields) setHeader(b, field, value);
  return b;
}

// An item info record written by hand: length, data ID, attribute, then the
// tag and name bytes.
Bytes record(uint16_t length, uint8_t dataId, uint8_t attribute, const std::string& tagAndName) {
  Bytes r;
  appendFixed16(r, length);
  r.push_back(dataId);
  r.push_back(attribute);
  for (const char c : tagAndName) r.push_back(static_cast<uint8_t>(c));
  return r;
}

Bytes withItemInfo(const Bytes& itemInfo, uint32_t declared) {
  Bytes b = BoxBuilder().rawItemInfo(itemInfo).terminator().build().bytes;
  setHeader(b, HeaderField::kItemInfoSize, declared);
  return b;
}

// A deleted card whose bytes 8..9 steer the salvage scan of the card behind
// it to the element `target`, so that a broken card becomes garbage cleanly.
Bytes steeringBody() { return {0, 0, 0, 0, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5}; }
void steer(BuiltBox& box, size_t deleted, size_t target) {
  setStatedAreaLength(box.bytes, box.offsets[deleted],
                      static_cast<uint16_t>(box.offsets[target] - box.offsets[deleted]));
}

// A normal card that breaks the size rule by one trailing byte.
Bytes sizeRuleBroken(const std::string& value) {
  Bytes body = normalCardBody({text(value)});
  body.push_back(0);
  return body;
}

// A broken card (ID id, body) behind a steering deleted card, three junk
// bytes, then a sound card: the broken card becomes garbage up to it.
Bytes brokenCard(uint16_t id, Bytes body) {
  BuiltBox box = BoxBuilder()
                     .field(1, "NAME", "Name")
                     .rawCard(0, steeringBody())
                     .rawCard(id, std::move(body))
                     .raw({0xEE, 0xEE, 0xEE})
                     .card(2, {text("Bob")})
                     .terminator()
                     .build();
  steer(box, 0, 3);
  return box.bytes;
}

// A chain of the given IDs with one text value each, with or without the
// reference index card.
Bytes idChain(std::initializer_list<uint16_t> ids, bool indexCard) {
  BoxBuilder builder;
  builder.field(1, "NAME", "Name");
  for (uint16_t id : ids) builder.card(id, {text("x")});
  if (indexCard) builder.indexCard({{"ABCD", "name"}});
  return builder.terminator().build().bytes;
}

// A reference index card whose second entry's name field runs past the card
// body: its NUL lies in the bytes behind, or only past the end of the file.
Bytes indexEntryOverrunning(bool nulInFile) {
  const Bytes first = {14, 0, 'A', 'B', 'C', 'D', 0, 0, 0, 0, 0, 0, 'o', 'n', 'e', 0};
  // len 20: a 10-byte name field from byte 12; the body ends 5 bytes into it.
  const Bytes second = {20, 0, 'W', 'X', 'Y', 'Z', 0, 0, 0, 0, 0, 0, 't', 'w', 'o'};
  BoxBuilder b;
  b.field(1, "NAME", "Name").card(1, {text("Ann")}).rawCard(0xFFF1, join({first, second}));
  b.raw(nulInFile ? Bytes{'-', 'e', 'n', 'd', 0, 0xFF, 0xFF} : Bytes{'-', 'e', 'n', 'd'});
  return b.build().bytes;
}

using Make = std::function<Bytes()>;
struct Row {
  const char* name;
  Make make;
};

// clang-format off
const Row kRows[] = {
  // Header and layout.
  {"header_signature_sick", [] { Bytes b = smallBox().bytes; setSignatureByte(b, 3, 0x30); return b; }},
  {"header_table_laid_on_header", [] { return smallWith({{HeaderField::kDefaultTable, 0x47}}); }},
  {"header_table_unusual", [] { return smallWith({{HeaderField::kDefaultTable, 0x49}}); }},
  {"header_table_moved_items_judged_alone", [] { return smallWith({{HeaderField::kDefaultTable, 0x60}}); }},
  {"header_items_laid_on_table", [] { return smallWith({{HeaderField::kItemInfoOffset, 0x847}}); }},
  {"header_items_unusual", [] { return smallWith({{HeaderField::kItemInfoOffset, 0x900}}); }},
  {"header_first_card_sound", [] { return smallWith({{HeaderField::kItemInfoSize, 0x100}, {HeaderField::kFirstCard, 0x948}}); }},
  {"header_first_card_laid_on_items", [] { return smallWith({{HeaderField::kItemInfoSize, 0x100}, {HeaderField::kFirstCard, 0x947}}); }},
  {"header_first_card_unusual", [] { return smallWith({{HeaderField::kItemInfoSize, 0x100}, {HeaderField::kFirstCard, 0x950}}); }},
  {"header_sound_place_wraps", [] { return smallWith({{HeaderField::kItemInfoSize, 0xFFFFF800}, {HeaderField::kFirstCard, 0x855}}); }},
  {"header_cut_short", [] { return Bytes{0xFF, 0x00, 0x10, 0x31, 0x55, 0x08, 0x00, 0x00, 0x48, 0x08}; }},
  {"totals_all_wrong", [] {
    BoxBuilder builder;
    builder.field(1, "NAME", "Name");
    for (uint16_t id = 1; id <= 300; ++id) builder.card(id, {text("")});
    Bytes b = builder.terminator().build().bytes;
    setHeader(b, HeaderField::kGarbageSize, 5);
    setHeader(b, HeaderField::kDataSize, 0x0102);
    setHeader(b, HeaderField::kLeastNullId, 0x10);
    setHeader(b, HeaderField::kMaxId, 0x200);
    return b;
  }},

  // Item info.
  {"items_empty", [] { return withItemInfo({0}, 1); }},
  {"items_end_exactly", [] { return withItemInfo(join({{2}, record(10, 18, 1, "UID Code"), record(8, 3, 0, "MAILxy")}), 23); }},
  {"items_unknown_data_ids", [] { return withItemInfo(join({{2}, record(6, 19, 0, "ABCD"), record(6, 0, 0, "EFGH")}), 17); }},
  {"items_too_large", [] { return withItemInfo(join({{2}, record(6, 19, 0, "ABCD"), record(6, 0, 0, "EFGH")}), 8); }},
  {"items_record_too_short", [] { return withItemInfo(join({{2}, record(3, 1, 2, "T"), record(6, 2, 0, "NEXT")}), 14); }},
  {"items_name_of_26_bytes", [] { return withItemInfo(join({{1}, record(32, 1, 0, "LONGABCDEFGHIJKLMNOPQRSTUVWXYZ")}), 35); }},
  {"items_name_too_long", [] { return withItemInfo(join({{1}, record(36, 1, 0, "LONGABCDEFGHIJKLMNOPQRSTUVWXYZ1234")}), 39); }},
  // The file ends with the length field of a record of length 0.
  {"items_empty_record_at_the_end", [] {
    Bytes b = withItemInfo(join({{2}, record(6, 1, 0, "ABCD"), {0, 0}}), 11);
    b.resize(b.size() - 2);
    setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
    return b;
  }},
  // A record of 40 bytes (a 34-byte name) whose first 2 + 32 bytes, all that
  // is kept of it, are the last in the file: it is read whole, its name cut
  // to 26 bytes, and not taken as cut by the end of the file.
  {"items_long_name_kept_bytes_at_the_end", [] {
    Bytes b = withItemInfo(join({{1}, record(40, 1, 0, "LONGABCDEFGHIJKLMNOPQRSTUVWXYZ1234")}), 43);
    b.resize(box::kItemInfoOffset + 1 + 2 + 32);
    setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
    return b;
  }},
  {"items_cut_off_by_the_end", [] {
    Bytes b = withItemInfo(join({{3}, record(6, 1, 0, "ABCD")}), 100);
    b.resize(b.size() - 2);  // no terminator, and half a length field
    b.push_back(8);
    setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
    return b;
  }},

  // The trace and its salvage.
  {"trace_sound_with_system_cards", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).garbage(4).rawCard(0xFFFF, {1, 2})
        .rawCard(0xFF10, {}).indexCard({{"ABCD", "name"}}).terminator().build().bytes;
  }},
  {"trace_no_terminator", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).indexCard({{"ABCD", "name"}}).build().bytes;
  }},
  {"trace_first_card_at_the_end", [] {
    Bytes b = BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).terminator().build().bytes;
    setHeader(b, HeaderField::kFirstCard, static_cast<uint32_t>(b.size()));
    return b;
  }},
  {"trace_one_byte_left_nothing_to_resume", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).indexCard({{"ABCD", "name"}}).raw({0x5A}).build().bytes;
  }},
  {"trace_three_bytes_left_nothing_to_resume", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Alice")}).indexCard({{"ABCD", "name"}})
        .raw({0xFF, 0xFF, 0x5A}).build().bytes;
  }},
  {"salvage_card_hidden_in_overlong_card", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(0, steeringBody()).card(1, {text("Alice")})
        .terminator().build();
    steer(box, 0, 1);
    setCardSize(box.bytes, box.offsets[0], 21);
    return box.bytes;
  }},
  {"salvage_broken_first_card", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(1, steeringBody()).card(2, {text("Bob")})
        .terminator().build();
    steer(box, 0, 1);
    setCardSize(box.bytes, box.offsets[0], 0x100000);
    return box.bytes;
  }},
  // A card whose stated area length is 0 fails, and the scan from its own
  // item data finds it again: the second time the same card fails behind
  // itself the trace moves past it.
  {"salvage_same_card_twice", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(0, steeringBody()).card(1, {text("Alice")})
        .card(2, {text("Bob")}).terminator().build();
    steer(box, 0, 1);
    setStatedAreaLength(box.bytes, box.offsets[1], 0);
    return box.bytes;
  }},
  // With no fields every position fits; from the end of the file there is none.
  {"salvage_scan_stops_at_the_end", [] {
    BuiltBox box = BoxBuilder().rawItemInfo({0}).rawCard(0, {0, 0, 0, 0}).rawCard(7, {}).build();
    setStatedAreaLength(box.bytes, box.offsets[0],
                        static_cast<uint16_t>(box.bytes.size() - box.offsets[0] - 10));
    setCardSize(box.bytes, box.offsets[1], 0x1000);
    return box.bytes;
  }},

  // Card content.
  {"card_size_rule_broken", [] { return brokenCard(1, sizeRuleBroken("Alice")); }},
  {"card_wrong_area_length", [] { Bytes body = normalCardBody({text("Alice")}); body[2] = 2; return brokenCard(1, body); }},
  {"card_offset_card_illegal_size", [] { return brokenCard(0xFFF0, Bytes(0x206, 0)); }},
  {"card_offset_card_unusual_size", [] { return brokenCard(0xFFF0, Bytes(0x208, 0)); }},
  {"card_item_length_misfits", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").field(8, "NUM", "Num").field(6, "FLAG", "Flag")
        .rawCard(0, steeringBody()).card(1, {text("Al"), {0x07}, {0x09, 0x09}}).raw({0xEE, 0xEE, 0xEE})
        .card(2, {text("Co"), {0x01, 0x02}, {0x03}}).terminator().build();
    steer(box, 0, 3);
    return box.bytes;
  }},
  {"card_time_and_week_values", [] {
    return BoxBuilder().field(1, "NAME", "Name").field(4, "WHEN", "When").field(7, "DAY", "Day")
        .card(1, {text("A"), timeValue(103, 4, 12, 9, 30, 0), {3}})
        .card(2, {text("B"), timeValue(255, 0, 1, 0, 0, 0), {6}})    // no date set
        .card(3, {text("C"), {}, {0}})                                 // empty: not checked
        .card(4, {text("D"), timeValue(238, 0, 1, 0, 0, 0), {0}})    // 238 - 100: 2038
        .card(5, {text("E"), timeValue(240, 1, 15, 13, 45, 30), {7}})
        .card(6, {text("F"), timeValue(69, 11, 31, 23, 59, 59), {6}})  // one second before 1970
        // The 32-bit limits: the first and last second a 32-bit time_t holds
        // pass, the seconds beyond them do not; and a February before them.
        .card(7, {text("G"), timeValue(1, 11, 13, 20, 45, 52), {0}})
        .card(8, {text("H"), timeValue(1, 11, 13, 20, 45, 51), {0}})
        .card(9, {text("I"), timeValue(238, 0, 19, 3, 14, 7), {0}})
        .card(10, {text("J"), timeValue(238, 0, 19, 3, 14, 8), {0}})
        .card(11, {text("K"), timeValue(1, 1, 15, 0, 0, 0), {0}})
        .terminator().build().bytes;
  }},
  {"card_index_card_listings", [] {
    const Bytes shortEntry = {0x02, 0x00, 'A', 'B', 'C', 'D', 0, 0, 0, 0, 0, 0, 'x', 0};
    const Bytes withTail = {14, 0, 'E', 'F', 'G', 'H', 0, 0, 0, 0, 0, 0, 'a', 'b', 'c', 0,
                            13, 0, 'Q', 'R', 'S', 'T', 0, 0, 0, 0, 0, 0};
    return BoxBuilder().field(1, "NAME", "Name").indexCard({{"ABCD", "name"}, {"WXYZ", "second"}})
        .rawCard(0xFFF1, shortEntry).rawCard(0xFFF1, withTail).card(1, {text("Alice")}).terminator().build().bytes;
  }},
  {"card_index_entry_name_past_the_body", [] { return indexEntryOverrunning(true); }},
  // The first entry's name field runs past the body; the NUL just behind
  // the body (the next card's ID) is not searched for, so nothing is listed.
  {"card_index_first_entry_name_past_the_body", [] {
    const Bytes first = {20, 0, 'W', 'X', 'Y', 'Z', 0, 0, 0, 0, 0, 0, 'o', 'n', 'e'};
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Ann")}).rawCard(0xFFF1, first).garbage(2)
        .terminator().build().bytes;
  }},
  // A card whose head is the file's last 7 bytes: its stated area length
  // (bytes 8 and 9) is not in the file and reads 0, as its decoded area is,
  // so only the size rule is broken.
  {"card_area_length_past_the_end", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("Ann")}).rawCard(2, {0x41}).build().bytes;
  }},
  {"card_index_entry_name_past_the_file", [] { return indexEntryOverrunning(false); }},

  // Census.
  {"census_classes_and_totals", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(0, steeringBody()).rawCard(2, sizeRuleBroken("Bob"))
        .raw({0xEE, 0xEE, 0xEE}).card(1, {text("Alice")}).rawCard(0xFF10, {1, 2, 3, 4}).offsetCard()
        .indexCard({{"ABCD", "name"}}).terminator().build();
    steer(box, 0, 3);
    return box.bytes;
  }},
  {"census_duplicate_ids", [] {
    // Three cards 7: two findings.  Error card 9 before normal card 9: none.
    // Normal card 5 before error card 5: one.
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").card(7, {text("A")}).card(7, {text("B")})
        .card(7, {text("C")}).rawCard(0, steeringBody()).rawCard(9, sizeRuleBroken("D")).card(9, {text("E")})
        .card(5, {text("F")}).rawCard(0, steeringBody()).rawCard(5, sizeRuleBroken("G")).card(6, {text("H")})
        .indexCard({{"ABCD", "name"}}).terminator().build();
    steer(box, 3, 5);
    steer(box, 7, 9);
    return box.bytes;
  }},
  {"census_ids_ascending", [] { return idChain({1, 2, 3}, true); }},
  {"census_ids_descending", [] { return idChain({3, 2, 1}, true); }},
  {"census_id_gap_no_index_card", [] { return idChain({1, 3}, false); }},
  {"census_duplicate_of_the_last_id", [] {
    return BoxBuilder().field(1, "NAME", "Name").card(1, {text("x")}).card(3, {text("y")}).card(3, {text("z")}).build().bytes;
  }},

  // Offset table.
  {"table_entries_and_link_to_a_normal_card", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").card(1, {text("A")}).card(2, {text("B")})
        .card(3, {text("C")}).card(5, {text("D")}).card(5, {text("E")}).card(7, {text("F")}).terminator().build();
    setDefaultEntry(box.bytes, 2, 0);                        // card 2 exists: no offset information
    setDefaultEntry(box.bytes, 3, box.offsets[0]);           // card 1's offset: wrong
    setDefaultEntry(box.bytes, 4, 0xFFFFFFFF);               // free ID, no offset: counts nowhere
    setDefaultEntry(box.bytes, 5, box.offsets[4]);           // the second card 5: only the first matches
    setDefaultEntry(box.bytes, 9, box.offsets[5]);           // no card 9
    setDefaultLink(box.bytes, box.offsets[5]);               // link to normal card 7
    return box.bytes;
  }},
  {"table_oversized_offset_card", [] {
    // The 0x208 offset card fails its own check; 0x208 junk bytes behind it
    // make its garbage size 0x208 again, the size the walk then sees.
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(0, steeringBody()).rawCard(0xFFF0, Bytes(0x208, 0))
        .raw(Bytes(0x208, 0xEE)).card(629, {text("Alice")}).terminator().build();
    steer(box, 0, 3);
    setDefaultLink(box.bytes, box.offsets[1]);
    setOffsetCardEntry(box.bytes, box.offsets[1], 128, box.offsets[3]);  // entry 129: card 629
    return box.bytes;
  }},
  {"table_link_loops_back", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").card(1, {text("A")}).offsetCard().offsetCard()
        .card(630, {text("B")}).terminator().build();
    setOffsetCardLink(box.bytes, box.offsets[2], box.offsets[1]);
    return box.bytes;
  }},
  {"table_offset_card_without_entries", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").rawCard(0, steeringBody()).rawCard(0xFFF0, {})
        .card(1, {text("Alice")}).terminator().build();
    steer(box, 0, 2);
    setDefaultLink(box.bytes, box.offsets[1]);
    return box.bytes;
  }},
  {"table_run_past_the_end", [] {
    BuiltBox box = BoxBuilder().field(1, "NAME", "Name").card(501, {text("Alice")}).indexCard({{"ABCD", "name"}})
        .offsetCard().build();
    setOffsetCardEntry(box.bytes, box.offsets[2], 1, box.offsets[0]);  // entry 502: no such card
    box.bytes.resize(box.offsets[2] + 6 + 100);                         // 25 entries left
    return box.bytes;
  }},
};
// clang-format on

}  // namespace

BuiltBox smallBox() {
  return BoxBuilder()
      .field(1, "NAME", "Name")
      .card(1, {text("Ann")})
      .card(2, {text("Bob")})
      .indexCard({{"NAME", "n.idx"}})
      .terminator()
      .build();
}

std::vector<GoldenCase> goldenCases() {
  std::vector<GoldenCase> cases;
  for (const Sample& s : samples()) cases.push_back({s.name.substr(0, s.name.find('.')), s.bytes});
  cases.push_back({"small_sound", smallBox().bytes});
  for (const Row& row : kRows) cases.push_back({row.name, row.make()});
  for (const HostileFile& h : hostileFiles()) {
    if (!h.bytes.empty()) cases.push_back({caseName("hostile_", h.name), h.bytes});
  }
  // A small box cut at the sizes where a careless reader would read past the end.
  for (const size_t size : {2u, 2119u}) {
    Bytes b = BoxBuilder()
                  .field(4, "TIME", "t")
                  .card(1, {timeValue(100, 1, 1, 0, 0, 0)})
                  .terminator()
                  .build()
                  .bytes;
    b.resize(size);
    cases.push_back({"cut_to_" + std::to_string(size) + "_bytes", b});
  }
  return cases;
}

}  // namespace boxtest
