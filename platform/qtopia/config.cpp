#include <qpe/config.h>

#include <QDir>
#include <QFile>
#include <QTextStream>

Config::Config(const QString& name, Domain domain) {
  QString path = name;
  if (domain == User) path = QDir::homePath() + QStringLiteral("/Settings/") + name + QStringLiteral(".conf");
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return;
  QTextStream in(&file);
  QString group;
  while (!in.atEnd()) {
    const QString line = in.readLine().trimmed();
    if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) continue;
    if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
      group = line.mid(1, line.size() - 2);
      continue;
    }
    const qsizetype eq = line.indexOf(QLatin1Char('='));
    if (eq <= 0) continue;
    groups_[group].insert(line.left(eq).trimmed(), line.mid(eq + 1).trimmed());
  }
}

void Config::setGroup(const QString& group) { group_ = group; }

QString Config::readEntry(const QString& key, const QString& deflt) const {
  const auto group = groups_.constFind(group_);
  if (group == groups_.constEnd()) return deflt;
  return group->value(key, deflt);
}

QStringList Config::readListEntry(const QString& key, const QChar& sep) const {
  return readEntry(key).split(sep, Qt::SkipEmptyParts);
}
