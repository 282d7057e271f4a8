// The window's analysis of a large box with "Noisy" on (every card a
// top-level item), from the press of Exec to the filled tree.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <cstdlib>

#include "address_book.h"
#include "vorn.h"

namespace {

void BM_WindowAnalyseNoisy(benchmark::State& state) {
  const auto cards = static_cast<unsigned>(state.range(0));
  QTemporaryDir home;
  QDir().mkpath(home.path() + "/Applications/bxd");
  const QString box = home.path() + "/Applications/bxd/KQADRS.BOX";
  if (!boxtest::writeFile(QFile::encodeName(box).toStdString(),
                          boxtest::bigAddressBook(cards, false).bytes)) {
    std::abort();
  }
  qputenv("HOME", home.path().toLocal8Bit());

  Vorn window;
  window.show();
  window.appliCombo->setCurrentIndex(1);
  window.anNoisy->setChecked(true);
  for (auto _ : state) {
    window.anButton->click();  // analyze() runs synchronously inside the click
    QApplication::processEvents();
  }
  state.counters["top_level_items"] = window.result->topLevelItemCount();
}

BENCHMARK(BM_WindowAnalyseNoisy)->Arg(8000)->Arg(65000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
