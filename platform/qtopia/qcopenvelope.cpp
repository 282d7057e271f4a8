#include <qpe/qcopenvelope.h>

#include <QProcess>
#include <QStandardPaths>
#include <QString>

#include <cstdio>

QCopEnvelope::QCopEnvelope(const QByteArray& channel, const QByteArray& message)
    : channel_(channel), message_(message) {}

QCopEnvelope::~QCopEnvelope() {
  const QString qcop = QStandardPaths::findExecutable(QStringLiteral("qcop"));
  if (!qcop.isEmpty() &&
      QProcess::startDetached(qcop, {QString::fromLatin1(channel_), QString::fromLatin1(message_)})) {
    return;
  }
  std::fprintf(stderr, "vorn: no qcop program to send %s on %s\n", message_.constData(),
               channel_.constData());
}
