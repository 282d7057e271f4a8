// A QCop message of the Qtopia environment, sent when the envelope is
// destroyed.  Here it is handed to the handheld's `qcop` program when that is
// on PATH; elsewhere one line on standard error names what was not sent.
// Nobody waits for an answer.
#pragma once

#include <QByteArray>

class QCopEnvelope {
 public:
  QCopEnvelope(const QByteArray& channel, const QByteArray& message);
  ~QCopEnvelope();
  QCopEnvelope(const QCopEnvelope&) = delete;
  QCopEnvelope& operator=(const QCopEnvelope&) = delete;

 private:
  QByteArray channel_;
  QByteArray message_;
};
