// Writes a large address book box for benchmarks and scale tests.
//
//   make_bigbox CARDS OUT [--damage]
//
// CARDS normal cards with IDs 1..CARDS (at most 65279) and realistic values,
// a deleted card after every 97th, the offset cards the IDs need spread
// through the chain, the reference index card and the terminator.  With
// --damage, every 1000th ID appears a second time near the end and every
// 50th entry of the default table points at the wrong card, so that the
// duplicate and offset-table paths have work to do.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/boxgen/address_book.h"
#include "tools/boxgen/box_builder.h"

using namespace boxtest;

namespace {

constexpr unsigned kMaxCards = 0xFEFF;

BuiltBox bigBox(unsigned cards, bool damage) {
  BoxBuilder b = addressFields();
  for (unsigned id = 1; id <= cards; ++id) {
    b.card(static_cast<uint16_t>(id), addressValues(id));
    if (id % 97 == 0) b.garbage(24 + id % 40);
    // One offset card for every 128 IDs past the default table's 500.
    if (id > 500 && (id - 500) % 128 == 0) b.offsetCard();
  }
  if (cards > 500 && (cards - 500) % 128 != 0) b.offsetCard();
  if (damage) {
    for (unsigned id = 1000; id <= cards; id += 1000) b.card(static_cast<uint16_t>(id), addressValues(id));
  }
  b.indexCard({{"NAME", "kqadrs_name.idx"}, {"KANA", "kqadrs_kana.idx"}}).terminator();
  BuiltBox box = b.build();
  if (damage) {
    for (unsigned id = 50; id + 1 <= 500 && id + 1 <= cards; id += 50) {
      putU32(box.bytes, 116 + 4 * (id - 1), getU32(box.bytes, 116 + 4 * id));
    }
  }
  return box;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4 || (argc == 4 && std::strcmp(argv[3], "--damage") != 0)) {
    std::fprintf(stderr, "usage: make_bigbox CARDS OUT [--damage]\n");
    return 2;
  }
  const unsigned long cards = std::strtoul(argv[1], nullptr, 10);
  if (cards < 1 || cards > kMaxCards) {
    std::fprintf(stderr, "make_bigbox: CARDS must be 1 to %u\n", kMaxCards);
    return 2;
  }
  const BuiltBox box = bigBox(static_cast<unsigned>(cards), argc == 4);
  FILE* f = std::fopen(argv[2], "wb");
  if (!f) {
    std::perror(argv[2]);
    return 1;
  }
  const bool ok = std::fwrite(box.bytes.data(), 1, box.bytes.size(), f) == box.bytes.size();
  return std::fclose(f) == 0 && ok ? 0 : 1;
}
