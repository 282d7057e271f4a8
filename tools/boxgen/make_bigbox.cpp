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

#include "address_book.h"
#include "box_builder.h"

using namespace boxtest;

namespace {

constexpr unsigned kMaxCards = 0xFEFF;

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
  const BuiltBox box = bigAddressBook(static_cast<unsigned>(cards), argc == 4);
  if (writeFile(argv[2], box.bytes)) return 0;
  std::perror(argv[2]);
  return 1;
}
