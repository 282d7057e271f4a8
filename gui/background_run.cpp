#include "background_run.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QProgressBar>
#include <QThread>
#include <QTimer>

#include <memory>

#include "result_reporter.h"

namespace {

// The thread of the last job; it may still run after its window gave it up.
std::unique_ptr<QThread> engineThread;

// How often the window looks at the job's progress and at the job before.
constexpr int kPollMilliseconds = 40;

}  // namespace

BackgroundRun::BackgroundRun(QObject* parent, QProgressBar* bar) : QObject(parent), bar_(bar) {}

BackgroundRun::~BackgroundRun() = default;

void BackgroundRun::setCancelButton(QAbstractButton* button) { cancelButton_ = button; }

bool BackgroundRun::engineBusy() { return engineThread && !engineThread->isFinished(); }

void BackgroundRun::waitForEngine() {
  if (engineThread) engineThread->wait();
  engineThread.reset();
}

bool BackgroundRun::run(std::function<void()> job, RunProgress* progress) {
  QEventLoop loop;
  loop_ = &loop;
  progress_ = progress;
  cancelled_ = false;
  if (progress) bar_->reset();
  emit runningChanged(true);
  qApp->installEventFilter(this);

  bool started = false;
  const auto start = [&] {
    if (engineThread) engineThread->wait();  // finished: only its end is left
    engineThread.reset(QThread::create(std::move(job)));
    connect(engineThread.get(), &QThread::finished, &loop, &QEventLoop::quit);
    engineThread->start();
    started = true;
  };
  QTimer poll;
  connect(&poll, &QTimer::timeout, this, [&] {
    if (!started && !engineBusy()) start();
    showProgress(progress);
  });
  poll.start(kPollMilliseconds);
  if (!engineBusy()) start();
  loop.exec();

  // Input that came while the job ended, and is still queued, goes too.
  loop_ = nullptr;
  QCoreApplication::processEvents();
  qApp->removeEventFilter(this);
  progress_ = nullptr;
  emit runningChanged(false);
  return !cancelled_;
}

void BackgroundRun::showProgress(const RunProgress* progress) {
  if (!progress || progress->calls < 3) return;
  bar_->show();
  bar_->setValue(progress->value);
}

void BackgroundRun::cancel() {
  if (!loop_) return;
  cancelled_ = true;
  if (progress_) progress_->cancelled = true;
  loop_->quit();
}

bool BackgroundRun::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::KeyPress:
      if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) cancel();
      return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove: {
      // The window gets the press first and hands it to the widget under it.
      QObject* target = watched;
      if (watched->isWindowType())
        target = QApplication::widgetAt(static_cast<QMouseEvent*>(event)->globalPosition().toPoint());
      return !cancelButton_ || target != cancelButton_;
    }
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::InputMethod:
      return true;
    default:
      return false;
  }
}
