#include "actions/action_lock.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>

#include "gui/vorn.h"

actionLock::actionLock(Vorn* widget) : widget_(widget) {
  widget_->gcGroup->setEnabled(false);
  widget_->anGroup->setEnabled(false);
  widget_->fileGroup->setEnabled(false);
  // Let the disabled state reach the screen before the long work starts.
  QApplication::sendPostedEvents();
}

actionLock::~actionLock() {
  widget_->gcGroup->setEnabled(true);
  widget_->anGroup->setEnabled(true);
  widget_->fileGroup->setEnabled(true);
  widget_->appliCombo->setFocus();
}
