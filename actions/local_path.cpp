#include "local_path.h"

#include <sys/stat.h>

#include "record_values.h"

namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // U+DC80..U+DCFF: the bytes 0x80..0xFF

bool isEscape(char16_t c) { return c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF; }

}  // namespace

QByteArray localFileName(const QString& path) {
  QByteArray bytes;
  bytes.reserve(path.size());
  qsizetype run = 0;  // start of the text not yet converted
  for (qsizetype i = 0; i < path.size(); ++i) {
    const char16_t c = path[i].unicode();
    if (!isEscape(c)) continue;
    bytes += QStringView(path).mid(run, i - run).toUtf8();
    bytes += static_cast<char>(c - kEscapeBase);
    run = i + 1;
  }
  return bytes + QStringView(path).mid(run).toUtf8();
}

QString fromLocalFileName(const QByteArray& bytes) {
  QString path;
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.constData());
  const auto size = static_cast<size_t>(bytes.size());
  size_t run = 0;  // start of the valid UTF-8 not yet converted
  for (size_t i = 0; i < size;) {
    const size_t length = utf8SequenceLength(data + i, size - i);
    if (length != 0) {
      i += length;
      continue;
    }
    path += QString::fromUtf8(bytes.constData() + run, static_cast<qsizetype>(i - run));
    path += QChar(static_cast<char16_t>(kEscapeBase + data[i]));
    run = ++i;
  }
  return path + QString::fromUtf8(bytes.constData() + run, static_cast<qsizetype>(size - run));
}

QString shownFileName(const QString& path) {
  QString shown = path;
  for (QChar& c : shown)
    if (isEscape(c.unicode())) c = QChar::ReplacementCharacter;
  return shown;
}

bool localFileExists(const QString& path) {
  struct stat st;
  return stat(localFileName(path).constData(), &st) == 0;
}
