// Writes a large address book box for benchmarks and scale tests.
//
//   make_bigbox CARDS OUT [--damage] [--memo BYTES] [--wreck random|zeros|size|tail]
//
// CARDS normal cards with IDs 1..CARDS (at most 65279) and realistic values,
// a deleted card after every 97th, the offset cards the IDs need spread
// through the chain, the reference index card and the terminator.  With
// --damage, every 1000th ID appears a second time near the end and every
// 50th entry of the default table points at the wrong card, so that the
// duplicate and offset-table paths have work to do.  With --memo, every
// card's e-mail value carries BYTES more of text, for boxes of mail's size
// (--memo 940 makes 65,000 cards about 67 MB).  With --wreck, the box is
// then damaged: its middle half overwritten with random bytes, eight
// stretches of 64 KiB zeroed, its tenth card's size one too large,
// or a quarter of its size in random bytes appended.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "address_book.h"
#include "box_builder.h"

using namespace boxtest;

namespace {

constexpr unsigned kMaxCards = 0xFEFF;

}  // namespace

int main(int argc, char** argv) {
  const char* usage =
      "usage: make_bigbox CARDS OUT [--damage] [--memo BYTES] [--wreck random|zeros|size|tail]\n";
  if (argc < 3) {
    std::fputs(usage, stderr);
    return 2;
  }
  bool damage = false;
  unsigned long memo = 0;
  const char* wrecked = nullptr;
  for (int k = 3; k < argc; ++k) {
    if (std::strcmp(argv[k], "--damage") == 0) {
      damage = true;
    } else if (std::strcmp(argv[k], "--memo") == 0 && k + 1 < argc) {
      memo = std::strtoul(argv[++k], nullptr, 10);
    } else if (std::strcmp(argv[k], "--wreck") == 0 && k + 1 < argc) {
      wrecked = argv[++k];
    } else {
      std::fputs(usage, stderr);
      return 2;
    }
  }
  const unsigned long cards = std::strtoul(argv[1], nullptr, 10);
  if (cards < 1 || cards > kMaxCards || memo > 0x7000) {
    std::fprintf(stderr, "make_bigbox: CARDS must be 1 to %u, memo bytes at most %u\n", kMaxCards, 0x7000);
    return 2;
  }
  BuiltBox box = bigAddressBook(static_cast<unsigned>(cards), damage, static_cast<unsigned>(memo));
  if (wrecked) {
    const std::string kind = wrecked;
    const Wreck w = kind == "random"  ? Wreck::kRandom
                    : kind == "zeros" ? Wreck::kZeros
                    : kind == "size"  ? Wreck::kSizeEarly
                                      : Wreck::kJunkTail;
    if (kind != "random" && kind != "zeros" && kind != "size" && kind != "tail") {
      std::fputs(usage, stderr);
      return 2;
    }
    wreck(box, w);
  }
  if (writeFile(argv[2], box.bytes)) return 0;
  std::perror(argv[2]);
  return 1;
}
