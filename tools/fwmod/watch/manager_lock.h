// Knows when the module manager's lock is held around code of the library.
#ifndef FWMOD_WATCH_MANAGER_LOCK_H
#define FWMOD_WATCH_MANAGER_LOCK_H

namespace fwmod {

/// Marks a scope of the calling thread in which a host's module manager holds its lock.
class ManagerLock {
 public:
  ManagerLock() { held() = true; }
  ~ManagerLock() { held() = false; }
  ManagerLock(const ManagerLock&) = delete;
  ManagerLock& operator=(const ManagerLock&) = delete;

  static bool is_held_by_this_thread() { return held(); }

 private:
  static bool& held() {
    thread_local bool is_held = false;
    return is_held;
  }
};

}  // namespace fwmod

#endif
