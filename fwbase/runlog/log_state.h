// The state of the log, in one word.
//
// Who has a record reads that word once and knows what to do with it. A standstill of the log, at
// its start and its end, begins another round; a record that comes with the state of an earlier
// round is refused, and its thread reads the word again.
#ifndef FWBASE_RUNLOG_LOG_STATE_H
#define FWBASE_RUNLOG_LOG_STATE_H

#include <atomic>
#include <cstdint>
#include <type_traits>

namespace fwbase {

/// How the log serves at one moment. The levels are no part of it: call sites look at ms_type_sign.
struct alignas(8) LogState {
  std::uint32_t round = 0;
  std::uint32_t direct_writers : 24 = 0;  ///< threads that are writing a record themselves
  std::uint32_t details : 4 = 0;          ///< INFO_ bits
  bool has_output : 1 = false;            ///< records go somewhere
  bool asynch : 1 = false;                ///< queued mode is chosen
  bool direct_only : 1 = false;           ///< whatever is chosen: nobody serves the queue any more
  bool standstill : 1 = false;            ///< who has a record waits

  bool queued() const { return asynch && !direct_only; }
};
static_assert(std::has_unique_object_representations_v<LogState>);

/// The state that all threads see. Any thread, but only one at a time makes a standstill.
class PublishedState {
 public:
  LogState read() const { return m_word; }

  /// The state, when the log does not stand still any more.
  LogState when_in_service() const {
    return when([](const LogState& state) { return !state.standstill; });
  }

  /// Replaces the state by what `change` makes of it, in one step; gives the new one.
  template <typename Change>
  LogState change(Change change) {
    LogState before = m_word;
    LogState after;
    do {
      after = before;
      change(after);
    } while (!m_word.compare_exchange_weak(before, after));
    return after;
  }

  /// Threads with new records wait from then on; those that are writing one directly are waited
  /// for. Gives the state, with the new round.
  LogState begin_standstill() {
    change([](LogState& state) {
      state.standstill = true;
      ++state.round;
    });
    return when([](const LogState& state) { return state.direct_writers == 0; });
  }
  void end_standstill() {
    change([](LogState& state) { state.standstill = false; });
    m_word.notify_all();
  }

  class DirectWrite;

 private:
  template <typename Condition>
  LogState when(Condition condition) const {
    LogState state = m_word;
    while (!condition(state)) {
      m_word.wait(state);
      state = m_word;
    }
    return state;
  }

  std::atomic<LogState> m_word{LogState{}};
  static_assert(decltype(m_word)::is_always_lock_free);
};

/// Around the writing of a record by the thread that has it. It does not begin where the state that
/// the thread has seen is of an earlier round.
class PublishedState::DirectWrite {
 public:
  DirectWrite(PublishedState& published, const LogState& seen) : m_published(published) {
    m_published.change([&](LogState& state) {
      m_begun = state.round == seen.round;
      if (m_begun) {
        ++state.direct_writers;
      }
    });
  }
  ~DirectWrite() {
    if (m_begun) {
      const LogState state = m_published.change([](LogState& now) { --now.direct_writers; });
      if (state.standstill && state.direct_writers == 0) {
        m_published.m_word.notify_all();
      }
    }
  }
  DirectWrite(const DirectWrite&) = delete;
  DirectWrite& operator=(const DirectWrite&) = delete;

  bool begun() const { return m_begun; }

 private:
  PublishedState& m_published;
  bool m_begun = false;
};

}  // namespace fwbase

#endif
