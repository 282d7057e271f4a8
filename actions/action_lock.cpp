#include "action_lock.h"

#include <QApplication>

#include "action_host.h"

actionLock::actionLock(ActionHost* host) : host_(host) {
  host_->setBusy(true);
  // Let the disabled state reach the screen before the long work starts.
  QApplication::sendPostedEvents();
}

actionLock::~actionLock() { host_->setBusy(false); }
