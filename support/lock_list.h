// The list of all locks that a forked child goes on using: in which order threads take them, and
// what becomes of them when the process forks.
//
// A lock joins when it is made, with its rank, and leaves when it is destroyed. The handlers of
// fork() walk the list: nobody else has to know of a new lock.
#ifndef SUPPORT_LOCK_LIST_H
#define SUPPORT_LOCK_LIST_H

#include <ctime>
#include <functional>
#include <utility>

namespace support {

/// The order of locking: a thread that holds a lock takes others only if they stand behind it.
enum class LockRank {
  kModules,          ///< of the module manager: modules use everything else while it is held
  kScript,           ///< of the script engine
  kFacade,           ///< of the facade, which releases environments while it is held
  kEnvironment,      ///< of an environment that has a parent, which it asks while it is held
  kRootEnvironment,  ///< of one that has none
  kLogLifecycle,     ///< from here on those of the run log, to which all others write
  kLogGate,
  kLogOutput,
  kLogQueue,
  kLocalTime,
  kLast = kLocalTime
};

/// What the owner of a lock does in a forked child with the things that the lock guards. The lock
/// has been made anew. `whole` says that no other thread was changing them.
using InChild = std::function<void(bool whole)>;

/// A lock as the list sees it. It joins at the end of its constructor and leaves at the beginning
/// of its destructor: it is in the list only while it is whole.
class ListedLock {
 public:
  ListedLock(const ListedLock&) = delete;
  ListedLock& operator=(const ListedLock&) = delete;

  /// Registers the handlers of fork(), once; without memory for that the next call tries again.
  /// They call `prepare` first, in the thread that forks and without a lock.
  static void watch_forks(void (*prepare)());

  // What fork() does with the lock, in the thread that forks.

  /// Takes it: no other thread changes what it guards while the process is copied. False where one
  /// keeps it beyond the deadline (CLOCK_REALTIME).
  virtual bool take(const timespec& deadline) = 0;

  /// In the parent, when it was taken.
  virtual void give_back() = 0;

  /// In the child, in which it is free then, or held for writing by the thread that forked, as it
  /// was before. A hold of that thread for reading may be lost: no host code that may fork runs
  /// under one.
  virtual void make_anew(bool taken) = 0;

 protected:
  ListedLock(LockRank rank, InChild in_child) : m_rank(rank), m_in_child(std::move(in_child)) {}
  ~ListedLock() = default;

  void join();
  void leave();

 private:
  static void before_fork();
  static void after_fork(bool in_child);

  const LockRank m_rank;
  const InChild m_in_child;
  bool m_taken = false;
  ListedLock* m_next = nullptr;
  ListedLock** m_link = nullptr;  // what points to this one
};

}  // namespace support

#endif
