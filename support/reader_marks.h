// Where threads mark which locks they read: one cache line per thread.
//
// A read that only marks itself stores to no line that another thread stores to, so reads of many
// threads do not slow each other down. A writer looks at the marks of all threads.
#ifndef SUPPORT_READER_MARKS_H
#define SUPPORT_READER_MARKS_H

#include <array>
#include <atomic>
#include <cstddef>

namespace support {

/// The marks of one thread. Only that thread sets and removes them, the last one first.
class alignas(64) ReaderMarks {
 public:
  using Mark = std::atomic<const void*>;

  /// The marks of the calling thread, made at its first call; null when there is no memory for
  /// them.
  static ReaderMarks* of_thread() {
    ReaderMarks* const marks = t_marks;
    return marks != nullptr ? marks : claim();
  }

  static ReaderMarks* of_thread_if_any() { return t_marks; }

  /// Waits until no thread has a mark for this lock.
  static void wait_until_gone(const void* lock);

  /// In a forked child, which has no other threads: removes their marks.
  static void remove_those_of_others();

  bool contain(const void* lock) const;

  /// Sets a mark for a lock. Null when the thread holds more locks at a time than it has marks.
  Mark* set(const void* lock) {
    if (m_count == m_marks.size()) {
      return nullptr;
    }
    Mark& mark = m_marks[m_count++];
    // Other threads must see the mark before this thread looks at the lock, since a writer changes
    // the lock before it looks at the marks. Where the system can, the writer enforces this order.
    if (s_writers_fence) {
      mark.store(lock, std::memory_order_release);  // the last removal stays before it
      std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
      mark.exchange(lock);
    }
    return &mark;
  }
  void remove_last() { m_marks[--m_count].store(nullptr, std::memory_order_release); }

 private:
  class ThreadEnd;

  static void fence_all_threads();
  static ReaderMarks* claim();
  static ReaderMarks* claim_unused();
  static void give_back(void* marks);

  [[gnu::tls_model("initial-exec")]] static thread_local constinit ReaderMarks* t_marks;
  static std::atomic<ReaderMarks*> s_first;
  static const ThreadEnd s_thread_end;
  static const bool s_writers_fence;

  std::array<Mark, 5> m_marks{};
  ReaderMarks* m_next = nullptr;  // in a list that never loses one
  std::size_t m_count = 0;
  std::atomic<bool> m_used{true};
};

}  // namespace support

#endif
