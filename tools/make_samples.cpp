// Writes the sample box files into a directory: a sound address book and a
// set of damaged boxes, each showing one kind of damage the analysis finds.
//
//   make_samples OUTDIR
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/box_builder.h"

using namespace boxtest;

namespace {

const char* const kGiven[] = {"Akira", "Emi", "Hiroshi", "Kaori", "Kenji", "Mika", "Naoki",
                              "Sachiko", "Takeshi", "Yuko", "Jun", "Rie", "Shin", "Aya"};
const char* const kFamily[] = {"Sato", "Suzuki", "Takahashi", "Tanaka", "Watanabe", "Ito",
                               "Yamamoto", "Nakamura", "Kobayashi", "Kato", "Yoshida"};

// The address book's fields: texts, a birthday, flags, a weekday and an ID.
BoxBuilder addressFields() {
  BoxBuilder b;
  b.field(1, "NAME", "Name")
      .field(1, "KANA", "Reading")
      .field(2, "TEL1", "Phone")
      .field(3, "MAIL", "E-mail")
      .field(4, "BDAY", "Birthday")
      .field(6, "FLAG", "Flags", 1)
      .field(7, "WDAY", "Meeting day")
      .field(8, "CATG", "Category")
      .field(4, "UPDT", "Updated", 2)
      .field(18, "UID ", "Unique ID");
  return b;
}

std::vector<Bytes> addressValues(unsigned id) {
  const std::string given = kGiven[id % 14];
  const std::string family = kFamily[(id * 7) % 11];
  const std::string name = family + " " + given;
  char phone[32];
  std::snprintf(phone, sizeof phone, "03-%04u-%04u", (id * 37) % 10000, (id * 91) % 10000);
  std::string mail = given + "." + family + "@example.jp";
  for (char& c : mail) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  Bytes uid(4);
  putU32(uid, 0, 0x10000 + id);
  return {text(name),
          text(family),
          id % 5 == 0 ? Bytes{} : text(phone),
          text(mail),
          id % 3 == 0 ? Bytes{} : timeValue(60 + id % 40, id % 12, 1 + id % 28, 0, 0, 0),
          Bytes{static_cast<uint8_t>(id & 0x0F)},
          Bytes{static_cast<uint8_t>(id % 7)},
          Bytes{static_cast<uint8_t>(id % 4), 0},
          timeValue(103, (id / 30) % 12, 1 + id % 28, id % 24, id % 60, id % 60),
          uid};
}

// A sound address book of `cards` IDs; every 50th ID deleted (a garbage
// card where it stood), offset cards as the IDs need them.
BuiltBox addressBook(unsigned cards) {
  BoxBuilder b = addressFields();
  for (unsigned id = 1; id <= cards; ++id) {
    if (id % 50 == 0) {
      b.garbage(40);
      continue;
    }
    b.card(static_cast<uint16_t>(id), addressValues(id));
    if (id == 480 || id == 620) b.offsetCard();
  }
  b.indexCard({{"NAME", "kqadrs_name.idx"}, {"KANA", "kqadrs_kana.idx"}});
  b.terminator();
  return b.build();
}

bool save(const std::string& dir, const char* name, const Bytes& bytes) {
  const std::string path = dir + "/" + name;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) {
    std::perror(path.c_str());
    return false;
  }
  const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_samples OUTDIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  bool ok = true;

  // Sound: nothing to report but listings and summaries.
  const BuiltBox sound = addressBook(700);
  ok &= save(dir, "KQADRS.BOX", sound.bytes);

  // Header damage: a wrong signature byte, an unusual table position (the
  // table is still read at its fixed place) and stale totals.
  {
    Bytes b = sound.bytes;
    b[3] = 0x30;
    putU32(b, 16, 0x50);
    putU32(b, 48, 0);
    putU16(b, 52, 702);
    b[54] = 0x33;
    ok &= save(dir, "BADHEAD.BOX", b);
  }

  // Item info damage: an unknown data ID and a table longer than declared.
  {
    Bytes b = sound.bytes;
    b[0x848 + 1 + 2] = 19;  // record 0's data ID
    putU32(b, 12, sound.itemInfoSize - 8);
    ok &= save(dir, "BADITEMS.BOX", b);
  }

  return ok ? 0 : 1;
}
