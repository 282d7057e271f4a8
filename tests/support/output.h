// What the whole-output tests share: a small sound box, the run of vorn on
// built bytes, slices of its output, and steering of the salvage scan.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "box_builder.h"
#include "run_vorn.h"

namespace boxtest {

using Lines = std::vector<std::string>;

// One field, two cards, the reference index card and the terminator.
inline BuiltBox smallSoundBox() {
  return BoxBuilder()
      .field(1, "NAME", "Name")
      .card(1, {text("Ann")})
      .card(2, {text("Bob")})
      .indexCard({{"NAME", "n.idx"}})
      .terminator()
      .build();
}

// The lines vorn prints for the bytes.  The trace's first debug line holds
// the address of the mapping, which changes from run to run: it becomes PTR.
inline Lines analyse(const Bytes& bytes) {
  TempBox box(bytes);
  const RunResult r = runVorn({box.path()});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  Lines lines = splitLines(r.out);
  for (std::string& line : lines) {
    if (line.rfind("cardChain::trace () ", 0) == 0)
      line = "cardChain::trace () PTR" + line.substr(line.rfind(' '));
  }
  return lines;
}

// From the first line starting with `from` to the first later line starting
// with `to`, both included; to the end when `to` is empty.
inline Lines section(const Lines& all, const std::string& from, const std::string& to = "") {
  Lines out;
  for (const std::string& line : all) {
    if (out.empty() && line.rfind(from, 0) != 0) continue;
    out.push_back(line);
    if (out.size() > 1 && !to.empty() && line.rfind(to, 0) == 0) break;
  }
  return out;
}

// The same, without the closing line.
inline Lines sectionUntil(const Lines& all, const std::string& from, const std::string& until) {
  Lines out = section(all, from, until);
  if (out.size() > 1 && out.back().rfind(until, 0) == 0) out.pop_back();
  return out;
}

// A deleted card whose bytes 8..9 steer the salvage scan of the card behind
// it to the element `target`, so that a broken card becomes garbage cleanly.
inline Bytes steeringBody() { return {0, 0, 0, 0, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5, 0xA5}; }
inline void steer(BuiltBox& box, size_t deleted, size_t target) {
  setStatedAreaLength(box.bytes, box.offsets[deleted],
                      static_cast<uint16_t>(box.offsets[target] - box.offsets[deleted]));
}

}  // namespace boxtest
