// The window's analysis of a large box with "Noisy" on (every card a
// top-level item), from the press of Exec until the tree is painted, and
// the memory the window takes for it; the records table and the map of
// the same box beside the form.
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
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "address_book.h"
#include "box_contents.h"
#include "findings_model.h"
#include "map_view.h"
#include "records_model.h"
#include "records_page.h"
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
    // The records and the map of the run before load once it has ended;
    // they are timed on their own below.
    QCoreApplication::processEvents();
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

// The records table and the map beside the form, from the press of Exec
// (the analysis, then the records, the map and the statistics loaded on
// the engine's thread) until the table is painted (records_ms) and then
// the map (the iteration's time), and the peak memory of the whole run,
// docks included.  Arg 1: the box has damage (duplicate IDs, wrong table
// entries) as make_bigbox --damage makes it.
void BM_WindowRecordsAndMap(benchmark::State& state) {
  const auto cards = static_cast<unsigned>(state.range(0));
  QTemporaryDir home;
  QDir().mkpath(home.path() + "/Applications/bxd");
  const QString box = home.path() + "/Applications/bxd/KQADRS.BOX";
  if (!boxtest::writeFile(QFile::encodeName(box).toStdString(),
                          boxtest::bigAddressBook(cards, state.range(1) != 0).bytes)) {
    std::abort();
  }
  qputenv("HOME", QFile::encodeName(home.path()));
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path() + "/.config");

  VornWindow window;
  window.resize(1280, 1024);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) std::abort();
  window.form->appliCombo->setCurrentIndex(1);
  double records = 0;
  long growth = 0;
  for (auto _ : state) {
    const BoxContents* before = window.contents();
    const long resident = statusKb("VmRSS:");
    resetPeak();
    QElapsedTimer clock;
    clock.start();
    window.form->anButton->click();  // the docks load once the action has ended
    while (window.contents() == before) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    window.recordsPage->table->viewport()->repaint();
    records += static_cast<double>(clock.nsecsElapsed()) / 1e6;
    window.mapView->repaint();
    state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
    growth = std::max(growth, statusKb("VmHWM:") - resident);
  }
  state.counters["records_ms"] = records / static_cast<double>(state.iterations());
  state.counters["peak_growth_mb"] = static_cast<double>(growth) / 1024;
  state.counters["rows"] = window.recordsPage->model->rowCount();
  state.counters["map_runs"] = static_cast<double>(window.mapView->runs().size());
  state.counters["map_segments"] = static_cast<double>(window.contents()->map.segments().size());
}

BENCHMARK(BM_WindowRecordsAndMap)
    ->Args({65000, 0})
    ->Args({65000, 1})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseManualTime();

// Sorting the 65,000 records by a text column and filtering them by a
// text, as a user does with the filled table.
void BM_RecordsSortAndFilter(benchmark::State& state) {
  QTemporaryDir home;
  const QString box = home.path() + "/KQADRS.BOX";
  if (!boxtest::writeFile(QFile::encodeName(box).toStdString(),
                          boxtest::bigAddressBook(65000, false).bytes)) {
    std::abort();
  }
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path() + "/.config");
  VornWindow window;
  window.resize(1280, 1024);
  window.show();
  if (!window.loadContents(box)) std::abort();
  RecordsModel& model = *window.recordsPage->model;
  for (auto _ : state) {
    QElapsedTimer clock;
    clock.start();
    if (state.range(0) == 0) {
      window.recordsPage->table->sortByColumn(RecordsModel::kFirstValueColumn, Qt::DescendingOrder);
    } else {
      model.setFilter(state.iterations() % 2 ? QStringLiteral("tanaka") : QStringLiteral("nakamura"));
    }
    window.recordsPage->table->viewport()->repaint();
    state.SetIterationTime(static_cast<double>(clock.nsecsElapsed()) / 1e9);
  }
  state.counters["rows"] = model.rowCount();
}

BENCHMARK(BM_RecordsSortAndFilter)
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
