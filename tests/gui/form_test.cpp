// The main window: its form as one table, its state after start, its two
// switches, its size on a desktop and its texts in two languages.
#include "graphical_start.h"
#include "gui_support.h"
#include "samples.h"

namespace {

// Where a widget sits in a layout: "row,column" in a grid, the position in
// a box, joined by "/" through nested layouts.
QString place(QLayout* layout, QWidget* widget) {
  for (int i = 0; i < layout->count(); ++i) {
    int row, column, rows, columns;
    auto* grid = qobject_cast<QGridLayout*>(layout);
    if (grid) grid->getItemPosition(i, &row, &column, &rows, &columns);
    const QString here = grid ? QString("%1,%2").arg(row).arg(column) : QString::number(i);
    QLayoutItem* item = layout->itemAt(i);
    const QString inner = item->layout() ? place(item->layout(), widget) : QString();
    if (item->widget() == widget || !inner.isEmpty()) return inner.isEmpty() ? here : here + "/" + inner;
  }
  return QString();
}

// clang-format off
const struct { const char *name, *className, *parent, *text, *place, *toolTip; } kForm[] = {
    {"gcGroup", "QGroupBox", "VornBase", "Garbage Collection", "1,0", ""},
    {"gcDeleteIndex", "QCheckBox", "gcGroup", "delete Index File", "0", "After collecting, also delete the box's index files (after a question)"},
    {"gcButton", "QPushButton", "gcGroup", "Exec", "2", "Collect the garbage of the selected box file, then restart"},
    {"fileGroup", "QGroupBox", "VornBase", "", "0,0", ""},
    {"appLabel", "QLabel", "fileGroup", "Application", "0", ""},
    {"appliCombo", "QComboBox", "fileGroup", "", "1", ""},
    {"storLabel", "QLabel", "fileGroup", "Storage", "2", ""},
    {"storageCombo", "QComboBox", "fileGroup", "", "3", ""},
    {"anOnlyChk", "QCheckBox", "fileGroup", "", "5", "Analyse only: hide garbage collection"},
    {"anGroup", "QGroupBox", "VornBase", "Analyze", "2,0", ""},
    {"progress", "QProgressBar", "anGroup", "", "1,0", ""},
    {"result", "QTreeView", "anGroup", "", "2,0", ""},
    {"anVerbose", "QCheckBox", "anGroup", "Verbose", "0,0/0", "List the box's structures as well as its problems"},
    {"anNoisy", "QCheckBox", "anGroup", "Noisy", "0,0/1", "List every card, also the cards without findings"},
    {"anDebug", "QCheckBox", "anGroup", "Debug", "0,0/2", "Write the analysis' debug lines and a copy of the findings to standard error"},
    {"chkBXD", "QCheckBox", "anGroup", "BXD", "0,0/3", "Run the box library's own check instead of the analysis"},
    {"anButton", "QPushButton", "anGroup", "Exec", "0,0/5", "Analyse the selected box file and list its findings"},
};
// clang-format on

}  // namespace

class FormTest : public QObject {
  Q_OBJECT

 private slots:
  void widgetsOfTheForm_data() { indexRows(kForm); }
  void widgetsOfTheForm() {
    QFETCH(int, i);
    VornBase form;
    auto* widget = form.findChild<QWidget*>(kForm[i].name);
    QVERIFY(widget);
    const QString text = widget->property(qobject_cast<QGroupBox*>(widget) ? "title" : "text").toString();
    QCOMPARE(
        QStringList({widget->metaObject()->className(), widget->parentWidget()->objectName(), text,
                     place(widget->parentWidget()->layout(), widget), widget->toolTip()}),
        QStringList({kForm[i].className, kForm[i].parent, kForm[i].text, kForm[i].place, kForm[i].toolTip}));
  }

  void formAloneIsBuiltButNotFilled() {
    VornBase form;
    QCOMPARE(form.windowTitle() + " " + QString::number(form.progress->maximum()), "Vorn2 300");
    QCOMPARE(form.size(), QSize(526, 274));  // the handheld's
    QCOMPARE(form.appliCombo->count() + form.storageCombo->count(), 0);
    QVERIFY(!form.appliCombo->isEditable() && !form.storageCombo->isEditable() &&
            form.result->allColumnsShowFocus());
    QStringList shown;
    for (int c = 0; c < form.result->model()->columnCount(); ++c)
      shown << (form.result->isColumnHidden(c)
                    ? "-"
                    : form.result->model()->headerData(c, Qt::Horizontal).toString());
    QCOMPARE(shown.join(' '), "Index ID Context - - - - -");
  }

  void stateAfterStart() {
    TempHome home;
    Vorn w;
    w.show();
    QCOMPARE(w.windowTitle(), "Vorn2 ver1.0");
    QStringList entries;
    for (int i = 0; i < w.appliCombo->count(); ++i) entries << w.appliCombo->itemText(i);
    QCOMPARE(entries.join(','),
             "Calendar,AddressBook,TodoList,TextEditor,EMail inbox,EMail outbox,Other Boxes,"
             "Open box file...");
    QCOMPARE(w.appliCombo->currentIndex() + w.storageCombo->currentIndex(), 0);
    QVERIFY(!w.storageCombo->isEnabled() && !w.progress->isVisible());
    for (QCheckBox* box : w.findChildren<QCheckBox*>()) QVERIFY(!box->isChecked() && box->isEnabled());
    QVERIFY(w.gcGroup->isVisible() && w.fileGroup->isVisible() && w.anGroup->isVisible());
  }

  void switchesHideAndDisable() {
    TempHome home;
    Vorn w;
    w.show();
    QString states;
    const auto clickAndNote = [&](QCheckBox* box) {
      QTest::mouseClick(box, Qt::LeftButton);
      for (QWidget* widget : QWidgetList{w.gcGroup, w.anGroup, w.anVerbose, w.anNoisy, w.anDebug})
        states += widget->isVisible() && widget->isEnabled() ? '+' : '-';
      states += ' ';
    };
    for (QCheckBox* box : {w.anOnlyChk, w.chkBXD, w.anOnlyChk, w.chkBXD}) clickAndNote(box);
    w.chkBXD->setChecked(true);  // by program, not clicked: the options stay
    QCOMPARE(states + QString(w.anVerbose->isEnabled() ? "+" : "-"), "-++++ -+--- ++--- +++++ +");
  }

  void desktopSizeShowsFullLists() {
    // Every sample with every listing and card, opened up, fits the columns;
    // fifteen rows show; a taller window lengthens the list alone.
    TempHome home;
    Vorn w;
    w.resize(w.sizeHint());
    w.show();
    w.appliCombo->setCurrentIndex(1);
    for (QCheckBox* box : {w.anVerbose, w.anNoisy}) box->setChecked(true);
    for (const boxtest::Sample& sample : boxtest::samples()) {
      home.put("KQADRS.BOX", sample.bytes);
      w.anButton->click();
      w.result->expandAll();
      QVERIFY2(w.result->header()->length() <= w.result->viewport()->width(), sample.name.c_str());
    }
    const int rowHeight = w.result->visualRect(w.result->model()->index(0, 0)).height();
    QVERIFY(rowHeight > 0 && w.result->viewport()->height() >= Vorn::kDesktopRows * rowHeight);
    const int listHeight = w.result->height();
    w.resize(w.width(), w.height() + 200);
    QApplication::sendPostedEvents();
    QCOMPARE(w.result->height(), listHeight + 200);
  }

  void textsFollowTheLocale_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("texts");
    const QString english = "Garbage Collection|Open box file...|&Yes|File error: Box file is not found.";
    QTest::newRow("Japanese") << "ja_JP"
                              << "ガベージコレクション|ボックスファイルを開く...|はい(&Y)|ファイルエラー: "
                                 "ボックスファイルが見つかりません。";
    for (const char* name : {"C", "en_US", "de_DE"}) QTest::newRow(name) << name << english;
  }
  void textsFollowTheLocale() {
    // The window's texts, Qt's own (dialog buttons) and an action's message.
    QFETCH(QString, locale);
    QFETCH(QString, texts);
    const WindowTranslations translations{QLocale(locale), "/nonexistent"};  // compiled-in
    QCOMPARE(translations.installed(), locale == "ja_JP");
    TempHome home;
    Vorn w;
    w.show();
    MessageBoxAnswerer ok;
    QTest::mouseClick(w.anButton, Qt::LeftButton);
    QCOMPARE(QStringList({w.gcGroup->title(), w.appliCombo->itemText(7),
                          QCoreApplication::translate("QPlatformTheme", "&Yes"),
                          ok.texts().value(0).section('\n', 0, 0)})
                 .join('|'),
             texts);
  }

  void installedTranslationComesFirst() {
    // A translation file where the program installs them is taken before
    // the compiled-in copy.
    QTemporaryDir dir;
    QFile ts(dir.path() + "/vorn_ja.ts");
    QVERIFY(ts.open(QIODevice::WriteOnly));
    ts.write(R"(<TS version="2.1" language="ja"><context><name>VornBase</name><message>
        <source>Garbage Collection</source><translation>installed</translation></message></context></TS>)");
    ts.close();
    QCOMPARE(QProcess::execute(VORN_LRELEASE, {"-silent", ts.fileName()}), 0);
    const WindowTranslations installed{QLocale("ja_JP"), dir.path()};
    QCOMPARE(VornBase().gcGroup->title(), "installed");
  }
};

QTEST_MAIN(FormTest)
#include "form_test.moc"
