// Read access to the Qtopia configuration files.
//
// A configuration "NAME" in the user domain is the file
// $HOME/Settings/NAME.conf, in the handheld's INI form:
//
//   [Preload]
//   Apps = datebook,textedit
//
// Nothing here ever writes a configuration.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

class Config {
 public:
  enum Domain { File, User };

  // name is a configuration name (User) or a file path (File).  A file that
  // cannot be read leaves the configuration empty.
  explicit Config(const QString& name, Domain domain = User);

  void setGroup(const QString& group);
  QString readEntry(const QString& key, const QString& deflt = QString()) const;
  // The entry split at sep, empty parts dropped; an empty list when the
  // group or the key is missing.
  QStringList readListEntry(const QString& key, const QChar& sep) const;

 private:
  QMap<QString, QMap<QString, QString>> groups_;
  QString group_;
};
