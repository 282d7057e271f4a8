// Writes the seed corpus of the fuzz targets: small sound boxes and each
// kind of damage the analysis knows.
//
//   make_seeds OUTDIR
#include <cstdio>
#include <string>

#include "box_builder.h"
#include "hostile_files.h"

using namespace boxtest;

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds OUTDIR\n");
    return 2;
  }
  std::vector<HostileFile> seeds = hostileFiles();

  // Sparse IDs beyond the default table, two offset cards, deleted cards.
  BoxBuilder book;
  book.field(1, "NAME", "Name").field(4, "BDAY", "Birthday").field(7, "WDAY", "Day").field(18, "UID ", "Id");
  for (uint16_t id : {1, 2, 3, 501, 640}) {
    book.card(id, {text("Name " + std::to_string(id)),
                   timeValue(80, id % 12, 1 + id % 28, 0, 0, 0),
                   {static_cast<uint8_t>(id % 7)},
                   {1, 2, 3, 4}});
    if (id == 2) book.garbage(12);
  }
  const BuiltBox sound = book.offsetCard().offsetCard().indexCard({{"NAME", "n.idx"}}).terminator().build();
  seeds.push_back({"sound", sound.bytes});
  auto with = [&](const char* name, auto change) {
    Bytes b = sound.bytes;
    change(b);
    seeds.push_back({name, std::move(b)});
  };
  with("deleted card too long",
       [&](Bytes& b) { setCardSize(b, sound.offsets[2], cardSize(b, sound.offsets[2]) + 9); });
  with("wrong area length", [&](Bytes& b) { setStatedAreaLength(b, sound.offsets[1], 2); });
  with("size rule", [&](Bytes& b) { setCardSize(b, sound.offsets[0], cardSize(b, sound.offsets[0]) - 1); });
  with("bad time", [&](Bytes& b) { b[itemValueAt(b, sound.offsets[0], 1)] = 0xFF; });
  with("duplicate id", [&](Bytes& b) { setCardId(b, sound.offsets[3], 1); });
  with("wrong entries", [&](Bytes& b) {
    setDefaultEntry(b, 1, sound.offsets[3]);
    setDefaultEntry(b, 2, 0);
  });
  with("stale totals", [&](Bytes& b) {
    setHeader(b, HeaderField::kGarbageSize, 7);
    setHeader(b, HeaderField::kDataSize, 9);
  });
  with("no terminator", [&](Bytes& b) { b.resize(b.size() - 2); });
  with("no index card", [&](Bytes& b) { setCardId(b, sound.offsets[sound.offsets.size() - 2], 0xFF33); });

  int n = 0;
  for (const HostileFile& seed : seeds) {
    if (!writeFile(std::string(argv[1]) + "/seed-" + std::to_string(n++), seed.bytes)) return 1;
  }
  return 0;
}
