// The stand-ins for the handheld's environment: the box library's check and
// the QCop message.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include "engine/findings.h"
#include "engine/reporter.h"
#include "platform/boxlib/boxlib.h"
#include "platform/qtopia/qcopenvelope.h"
#include "tests/support/output.h"

using namespace boxtest;

namespace {

int check(const Bytes& bytes, int level = 255) {
  TempBox box(bytes);
  return _BXDFileCheckLevel(box.path().c_str(), level);
}

TEST(BoxLibraryCheck, CodeSaysWhichPartsFailed) {
  const BuiltBox sound = smallSoundBox();
  EXPECT_EQ(check(sound.bytes), 0);

  Bytes totals = sound.bytes;
  putU16(totals, 52, 9);  // wrong total data size
  EXPECT_EQ(check(totals), BXD_CHECK_HEADER);

  Bytes items = sound.bytes;
  items[0x848 + 3] = 0;  // unknown data ID
  EXPECT_EQ(check(items), BXD_CHECK_ITEM_INFO);

  Bytes entries = sound.bytes;
  putU32(entries, 116 + 4, 0);  // card 2 without its offset entry
  EXPECT_EQ(check(entries), BXD_CHECK_OFFSET_TABLE);
  EXPECT_EQ(check(entries, BXD_CHECK_HEADER), 0);  // the level selects what is judged

  Bytes card = sound.bytes;
  putU16(card, sound.offsets[1] + 8, 7);  // wrong item length area: salvaged as garbage
  EXPECT_EQ(check(card) & BXD_CHECK_CARD_CHAIN, BXD_CHECK_CARD_CHAIN);

  EXPECT_EQ(check({}), BXD_CHECK_UNREADABLE);
  EXPECT_EQ(_BXDFileCheckLevel("/nonexistent/KQDATE.BOX", 255), BXD_CHECK_UNREADABLE);
}

TEST(BoxLibraryCheck, LeavesTheAnalysisStateAsItFoundIt) {
  struct Sink : Reporter {
    void message(const char*, va_list) override { ++calls; }
    void entry(int32_t, uint32_t, uint32_t, uint32_t, uint32_t, const char*, const char*, va_list) override {
      ++calls;
    }
    int calls = 0;
  } sink;
  resetReportState();
  currentReporter = &sink;
  debug = true;
  noisy = true;
  lastIndex = 42;
  Bytes broken = smallSoundBox().bytes;
  putU16(broken, 52, 9);
  EXPECT_NE(check(broken), 0);
  EXPECT_EQ(currentReporter, &sink);
  EXPECT_TRUE(debug && noisy && !verbose);
  EXPECT_EQ(lastIndex, 42);
  EXPECT_EQ(sink.calls, 0);
  resetReportState();
}

TEST(QCopMessage, HandedToTheQcopProgramOrNamedOnStandardError) {
  QTemporaryDir bin;
  const QString log = bin.path() + "/sent";
  QFile script(bin.path() + "/qcop");
  ASSERT_TRUE(script.open(QIODevice::WriteOnly));
  script.write(("#!/bin/sh\necho \"$1|$2\" > " + log + "\n").toLocal8Bit());
  script.close();
  chmod(script.fileName().toLocal8Bit().constData(), 0755);

  const QByteArray oldPath = qgetenv("PATH");
  qputenv("PATH", bin.path().toLocal8Bit() + ":" + oldPath);
  { QCopEnvelope envelope("QPE/System", "restart()"); }
  for (int i = 0; i < 200 && !QFile::exists(log); ++i) QThread::msleep(10);
  QFile sent(log);
  ASSERT_TRUE(sent.open(QIODevice::ReadOnly));
  EXPECT_EQ(sent.readAll(), QByteArray("QPE/System|restart()\n"));

  qputenv("PATH", "/nonexistent");
  testing::internal::CaptureStderr();
  { QCopEnvelope envelope("QPE/System", "restart()"); }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "vorn: no qcop program to send restart() on QPE/System\n");
  qputenv("PATH", oldPath);
}

}  // namespace
