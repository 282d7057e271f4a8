// Disables the form's three working groups while an action runs, so no
// second action can start; enables them again when the action returns.
#pragma once

class Vorn;

class actionLock {
 public:
  explicit actionLock(Vorn* widget);
  ~actionLock();
  actionLock(const actionLock&) = delete;
  actionLock& operator=(const actionLock&) = delete;

 private:
  Vorn* widget_;
};
