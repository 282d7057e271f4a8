// Box files built to break a careless reader: every structure pointing at or
// past the end of the file, lengths that wrap, links that loop.
#pragma once

#include <vector>

#include "box_builder.h"

namespace boxtest {

struct HostileFile {
  const char* name;
  Bytes bytes;
};

inline std::vector<HostileFile> hostileFiles() {
  const BuiltBox sound = BoxBuilder()
                             .field(4, "TIME", "When")
                             .field(7, "WDAY", "Day")
                             .card(1, {timeValue(103, 1, 1, 0, 0, 0), {2}})
                             .offsetCard()
                             .card(2, {{}, {1}})
                             .indexCard({{"TIME", "t.idx"}})
                             .terminator()
                             .build();
  const uint32_t end = static_cast<uint32_t>(sound.bytes.size());
  std::vector<HostileFile> files;
  auto with = [&](const char* name, auto change) {
    Bytes b = sound.bytes;
    change(b);
    files.push_back({name, std::move(b)});
  };
  files.push_back({"empty", {}});
  for (size_t size : {1u, 71u, 72u}) {
    with(size == 1 ? "1 byte" : size == 71 ? "71 bytes" : "72 bytes", [size](Bytes& b) { b.resize(size); });
  }
  with("first card at the end", [end](Bytes& b) { setHeader(b, HeaderField::kFirstCard, end); });
  with("first card past the end", [](Bytes& b) { setHeader(b, HeaderField::kFirstCard, 0xFFFFFFF0); });
  with("item info at the end", [end](Bytes& b) { setHeader(b, HeaderField::kItemInfoOffset, end); });
  with("item info past the end", [](Bytes& b) { setHeader(b, HeaderField::kItemInfoOffset, 0xFFFFFFFF); });
  with("item info size 0xFFFFFFFF", [](Bytes& b) { setHeader(b, HeaderField::kItemInfoSize, 0xFFFFFFFF); });
  with("255 records in a tiny item info", [](Bytes& b) {
    setItemCount(b, 255);
    setHeader(b, HeaderField::kItemInfoSize, 2);
  });
  with("record length below 6", [](Bytes& b) { setItemRecordLength(b, 0, 3); });
  with("record name over 26 bytes", [](Bytes& b) { setItemRecordLength(b, 0, 0xFFF0); });
  with("card size 0xFFFFFFFF", [&](Bytes& b) { setCardSize(b, sound.offsets[0], 0xFFFFFFFF); });
  with("offset card size below 4", [&](Bytes& b) { setCardSize(b, sound.offsets[1], 2); });
  with("offset card linking to itself", [&](Bytes& b) {
    setDefaultLink(b, sound.offsets[1]);
    setOffsetCardLink(b, sound.offsets[1], sound.offsets[1]);
  });
  with("default table link past the end", [](Bytes& b) { setDefaultLink(b, 0xFFFFFFFF); });
  with("index card entry overrunning", [&](Bytes& b) { putU16(b, sound.offsets[3] + 6, 0xFFFF); });
  return files;
}

}  // namespace boxtest
