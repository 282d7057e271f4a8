// Turns the form's application and storage choices into one box file: its
// path (or a pattern of files beside it), its directory and the name of its
// storage medium.  In developer mode it also offers a menu of every box file
// in the main storage directory as the "Other Boxes" choice, and "Open box
// file..." for a box file anywhere, which becomes a choice of its own after
// that entry.  Paths hold any bytes (see local_path.h).
#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QComboBox;
class QMenu;
class QWidget;

// One application choice.
struct AppEntry {
  const char* label;       // the text shown
  const char* program;     // the owning Qtopia program, or null
  const char* boxBase;     // base name of its box file, or null
  char upperSuffix;        // file name suffixes are upper case
  char storageSelectable;  // the box may live on a memory card
};

class boxFileSelecter : public QObject {
  Q_OBJECT

 public:
  static constexpr int kRows = 7;
  static const AppEntry appTable[kRows];
  // The entry after the table's rows: a file dialog, not an application.
  static constexpr int kOpenFileRow = kRows;
  // The entry after it, once a box file has been opened from anywhere: that
  // file, which choosing again keeps.  The actions treat it as "Other Boxes".
  static constexpr int kOpenedRow = kRows + 1;

  // The file dialog of "Open box file...": returns the chosen file, or an
  // empty string when the user cancels.  Replaceable for tests.
  using OpenFileDialog = QString (*)(QWidget* parent, const QString& caption, const QString& directory,
                                     const QString& filter);
  static OpenFileDialog openFileDialog;

  // Fills both combo boxes, selects the first application and disables the
  // storage choice.
  boxFileSelecter(QObject* parent, QComboBox* appli, QComboBox* storage, const char* name = nullptr);
  ~boxFileSelecter() override;

  // The box directory of the storage medium chosen, when storageApplies,
  // else of the main storage.
  QString boxDir(bool storageApplies) const;
  // The box file of the current choice with suffix (".box", "*.idx", ...).
  QString boxFilePath(const char* suffix) const;
  // The translated name of the effective storage medium.
  QString storageName() const;
  // Whether the current application is on the launcher's preload list.
  bool isFastLoad() const;
  // The row of appTable the current choice stands for.
  int applicationRow() const;

  // Makes the box file at path, wherever it lies, the current choice: the
  // entry after "Open box file..." shows its name and every path is the
  // file itself.
  void chooseFile(const QString& path);
  // The file dialog of "Open box file...": true when a file was chosen;
  // when cancelled, the choice before it stays.
  bool openFromDialog();
  // Told of the file the dialog chose, after it became the choice.
  std::function<void(const QString& path)> fileOpened;

  QComboBox* appliCombo;
  QComboBox* storageCombo;
  QMenu* boxMenu = nullptr;  // built by activateAll(), kept for the selector's life

 public slots:
  void activateAll();

 protected slots:
  void apActivated(int index);

 private:
  const AppEntry& currentRow() const;
  QString chosenPath_;              // the file of the kOpenedRow entry, or empty
  int current_ = 0, previous_ = 0;  // of appliCombo
};
