// Keeps the window busy while an action runs, so no second action can start:
// construction disables the working groups and lets the disabled state reach
// the screen; destruction enables them again.
#pragma once

class ActionHost;

class actionLock {
 public:
  explicit actionLock(ActionHost* host);
  ~actionLock();
  actionLock(const actionLock&) = delete;
  actionLock& operator=(const actionLock&) = delete;

 private:
  ActionHost* host_;
};
