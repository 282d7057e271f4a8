// Box files built to break a careless reader: every structure pointing at or
// past the end of the file, lengths that wrap, links that loop.
#pragma once

#include <vector>

#include "tools/boxgen/box_builder.h"

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
  with("first card at the end", [end](Bytes& b) { putU32(b, 4, end); });
  with("first card past the end", [](Bytes& b) { putU32(b, 4, 0xFFFFFFF0); });
  with("item info at the end", [end](Bytes& b) { putU32(b, 8, end); });
  with("item info past the end", [](Bytes& b) { putU32(b, 8, 0xFFFFFFFF); });
  with("item info size 0xFFFFFFFF", [](Bytes& b) { putU32(b, 12, 0xFFFFFFFF); });
  with("255 records in a tiny item info", [](Bytes& b) {
    b[0x848] = 255;
    putU32(b, 12, 2);
  });
  with("record length below 6", [](Bytes& b) { putU16(b, 0x849, 3); });
  with("record name over 26 bytes", [](Bytes& b) { putU16(b, 0x849, 0xFFF0); });
  with("card size 0xFFFFFFFF", [&](Bytes& b) { putU32(b, sound.offsets[0] + 2, 0xFFFFFFFF); });
  with("offset card size below 4", [&](Bytes& b) { putU32(b, sound.offsets[1] + 2, 2); });
  with("offset card linking to itself", [&](Bytes& b) {
    putU32(b, 2116, sound.offsets[1]);
    putU32(b, sound.offsets[1] + 6 + 4 * 128, sound.offsets[1]);
  });
  with("default table link past the end", [](Bytes& b) { putU32(b, 2116, 0xFFFFFFFF); });
  with("index card entry overrunning", [&](Bytes& b) { putU16(b, sound.offsets[3] + 6, 0xFFFF); });
  return files;
}

}  // namespace boxtest
