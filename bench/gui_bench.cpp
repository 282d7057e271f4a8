// The window's analysis of a large box with "Noisy" on (every card a
// top-level item), from the press of Exec until the tree is painted, and
// the memory the window takes for it.
//
//   build-bench/bench/gui_bench --benchmark_filter=65000
//
// peak_growth_mb: the window's peak resident memory during the run, less
// what it held before the press (the peak is reset first through
// /proc/self/clear_refs).  Compare it with the peak of the command line on
// the same box: /usr/bin/time -f %M vorn BOX.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "address_book.h"
#include "findings_model.h"
#include "vorn.h"
#include "vorn_window.h"

namespace {

// A field of /proc/self/status in kB ("VmRSS:", "VmHWM:").
long statusKb(const char* field) {
  FILE* status = std::fopen("/proc/self/status", "r");
  char line[256];
  long kb = -1;
  while (status && std::fgets(line, sizeof line, status)) {
    if (std::strncmp(line, field, std::strlen(field)) == 0) kb = std::atol(line + std::strlen(field));
  }
  if (status) std::fclose(status);
  return kb;
}

// The peak resident memory starts again from the present.
void resetPeak() {
  FILE* refs = std::fopen("/proc/self/clear_refs", "w");
  if (!refs) return;
  std::fputs("5", refs);
  std::fclose(refs);
}

void BM_WindowAnalyseNoisy(benchmark::State& state) {
  const auto cards = static_cast<unsigned>(state.range(0));
  QTemporaryDir home;
  QDir().mkpath(home.path() + "/Applications/bxd");
  const QString box = home.path() + "/Applications/bxd/KQADRS.BOX";
  if (!boxtest::writeFile(QFile::encodeName(box).toStdString(),
                          boxtest::bigAddressBook(cards, false).bytes)) {
    std::abort();
  }
  qputenv("HOME", QFile::encodeName(home.path()));
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path() + "/.config");

  VornWindow window;
  window.resize(1280, 1024);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) std::abort();
  window.form->appliCombo->setCurrentIndex(1);
  window.form->anNoisy->setChecked(true);
  long growth = 0;
  for (auto _ : state) {
    const long before = statusKb("VmRSS:");
    resetPeak();
    QElapsedTimer clock;
    clock.start();
    window.form->anButton->click();  // returns when the tree is in the list
    window.form->result->viewport()->repaint();
    state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
    growth = std::max(growth, statusKb("VmHWM:") - before);
  }
  state.counters["top_level_items"] = window.form->resultModel->rowCount();
  state.counters["peak_growth_mb"] = static_cast<double>(growth) / 1024;
  state.counters["rss_mb"] = static_cast<double>(statusKb("VmRSS:")) / 1024;
}

BENCHMARK(BM_WindowAnalyseNoisy)
    ->Arg(8000)
    ->Arg(65000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseManualTime();

// Sorting the 65,000 cards by a shown column and back, and opening every
// item, as a user does with the filled list.
void BM_WindowSortAndExpand(benchmark::State& state) {
  QTemporaryDir home;
  QDir().mkpath(home.path() + "/Applications/bxd");
  const QString box = home.path() + "/Applications/bxd/KQADRS.BOX";
  if (!boxtest::writeFile(QFile::encodeName(box).toStdString(), boxtest::bigAddressBook(65000, true).bytes)) {
    std::abort();
  }
  qputenv("HOME", QFile::encodeName(home.path()));
  VornWindow window;
  window.resize(1280, 1024);
  window.show();
  window.form->appliCombo->setCurrentIndex(1);
  window.form->anNoisy->setChecked(true);
  window.form->anButton->click();
  QTreeView* list = window.form->result;
  for (auto _ : state) {
    QElapsedTimer clock;
    clock.start();
    if (state.range(0) == 0) {
      list->sortByColumn(0, Qt::DescendingOrder);
      list->viewport()->repaint();
      list->sortByColumn(VornBase::kKeyColumn, Qt::AscendingOrder);
    } else {
      list->expandAll();
      list->viewport()->repaint();
      list->collapseAll();
    }
    list->viewport()->repaint();
    state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 2e9);  // one of the two
  }
}

BENCHMARK(BM_WindowSortAndExpand)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
