// The command line's whole output for every golden box, compared with
// tests/data/NAME.out: the samples, the hostile files and the cases of
// golden_cases.cpp.  Each box is also kept as tests/data/NAME.box, and the
// committed box must be what the builder makes, so the two stay together.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "analysis_text.h"
#include "golden.h"
#include "golden_cases.h"

using namespace boxtest;

namespace boxtest {
void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.name; }
}  // namespace boxtest

namespace {

class GoldenOutput : public testing::TestWithParam<GoldenCase> {
 protected:
  // TIME values are judged in the process's time zone.
  static void SetUpTestSuite() {
    setenv("TZ", "UTC", 1);
    tzset();
  }
};

TEST_P(GoldenOutput, MatchesTheGoldenFile) {
  const GoldenCase& c = GetParam();
  const std::string box(c.bytes.begin(), c.bytes.end());
  if (regeneratingGoldenBoxes()) {
    ASSERT_TRUE(writeFile(goldenPath(c.name + ".box"), c.bytes));
  } else {
    EXPECT_TRUE(readGolden(c.name + ".box") == box) << c.name << ".box is not what the builder makes";
  }
  expectGolden(c.name + ".out", analysisText(c.bytes));
}

INSTANTIATE_TEST_SUITE_P(Boxes, GoldenOutput, testing::ValuesIn(goldenCases()),
                         [](const testing::TestParamInfo<GoldenCase>& info) { return info.param.name; });

}  // namespace
