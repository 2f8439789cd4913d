// The state of the log, in one word: a thread reads it once and knows where its record goes.
#ifndef FWBASE_RUNLOG_LOG_STATE_H
#define FWBASE_RUNLOG_LOG_STATE_H

#include <atomic>
#include <cstdint>
#include <type_traits>

namespace fwbase {

/// The state at one moment. The levels are not a part of it: call sites look at ms_type_sign.
struct LogState {
  std::uint32_t details : 28 = 0;  ///< INFO_ bits
  bool has_output : 1 = false;     ///< a file or standard output is open
  bool asynch : 1 = false;         ///< queued mode is chosen
  bool direct_only : 1 = false;    ///< no thread serves the queue, whatever mode is chosen
  bool standstill : 1 = false;     ///< threads with a record wait

  bool queued() const { return asynch && !direct_only; }
};
static_assert(std::has_unique_object_representations_v<LogState>);

/// The state that all threads see. Any thread.
class PublishedState {
 public:
  LogState read() const { return m_word; }

  /// Waits until the log does not stand still any more.
  void wait_for_service() const {
    for (LogState state = m_word; state.standstill; state = m_word) {
      m_word.wait(state);
    }
  }

  /// Replaces the state by what `change` makes of it, in one step.
  template <typename Change>
  void change(Change change) {
    LogState before = m_word;
    LogState after;
    do {
      after = before;
      change(after);
    } while (!m_word.compare_exchange_weak(before, after));
    if (before.standstill && !after.standstill) {
      m_word.notify_all();
    }
  }

 private:
  std::atomic<LogState> m_word{LogState{}};
  static_assert(decltype(m_word)::is_always_lock_free);
};

}  // namespace fwbase

#endif
