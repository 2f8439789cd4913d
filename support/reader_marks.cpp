// The marks of all threads are a list. A thread that ends leaves its own to the next that begins.
#include "support/reader_marks.h"

#include <linux/membarrier.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <new>
#include <thread>

#include "support/cancellation_block.h"

namespace support {

thread_local constinit ReaderMarks* ReaderMarks::t_marks = nullptr;
std::atomic<ReaderMarks*> ReaderMarks::s_first{nullptr};

namespace {

// Makes every thread of the process pass a memory fence. The thread sanitizer does not know such
// fences.
bool membarrier([[maybe_unused]] int command) {
#ifdef __SANITIZE_THREAD__
  return false;
#else
  return ::syscall(SYS_membarrier, command, 0, 0) == 0;
#endif
}

void nap() {
  const int reason = errno;
  const CancellationBlock no_cancellation;  // a lock is taken, or it is not
  timespec rest = {0, 50000};
  while (::nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
  errno = reason;
}

// Readers are gone within nanoseconds, unless they run host code or write to a slow disk.
void pause(int round) {
  constexpr int kSpins = 64;
  constexpr int kYields = 16;
  if (round >= kSpins + kYields) {
    nap();
  } else if (round >= kSpins) {
    std::this_thread::yield();
  }
}

}  // namespace

const bool ReaderMarks::s_writers_fence = membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);

// Made while the library is loaded. If it were made later, a fork at that moment would leave the
// child with a key that is never finished.
class ReaderMarks::ThreadEnd {
 public:
  ThreadEnd() : m_made(::pthread_key_create(&m_key, give_back) == 0) {}

  /// Says whether these marks will be given back when the calling thread ends.
  bool gives_back(ReaderMarks* marks) const {
    return m_made && ::pthread_setspecific(m_key, marks) == 0;
  }

 private:
  pthread_key_t m_key = 0;
  const bool m_made;
};

const ReaderMarks::ThreadEnd ReaderMarks::s_thread_end;

bool ReaderMarks::contain(const void* lock) const {
  const auto end = m_marks.begin() + m_count;
  return std::find(m_marks.begin(), end, lock) != end;
}

// The system may forbid the call later, although it allowed it when the process began. Then a nap
// takes the place of the fence: it lasts longer than any processor holds a store back.
void ReaderMarks::fence_all_threads() {
  const int reason = errno;
  const bool is_fenced = !s_writers_fence || membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
  errno = reason;
  if (!is_fenced) {
    nap();
  }
}

void ReaderMarks::wait_until_gone(const void* lock) {
  fence_all_threads();
  for (const ReaderMarks* marks = s_first; marks != nullptr; marks = marks->m_next) {
    for (const Mark& mark : marks->m_marks) {
      for (int round = 0; mark == lock; ++round) {
        pause(round);
      }
    }
  }
}

ReaderMarks* ReaderMarks::claim() {
  const int reason = errno;
  ReaderMarks* const marks = claim_unused();
  if (marks != nullptr && s_thread_end.gives_back(marks)) {
    t_marks = marks;
  } else if (marks != nullptr) {
    marks->m_used = false;
  }
  errno = reason;
  return t_marks;
}

ReaderMarks* ReaderMarks::claim_unused() {
  for (ReaderMarks* marks = s_first; marks != nullptr; marks = marks->m_next) {
    if (!marks->m_used.exchange(true)) {
      return marks;
    }
  }
  auto* const made = new (std::nothrow) ReaderMarks;
  if (made != nullptr) {
    made->m_next = s_first;
    while (!s_first.compare_exchange_weak(made->m_next, made)) {
    }
  }
  return made;
}

// Runs when the thread ends. Another function that runs then may read again: the thread claims
// marks once more.
void ReaderMarks::give_back(void* marks) {
  t_marks = nullptr;
  static_cast<ReaderMarks*>(marks)->m_used = false;
}

void ReaderMarks::remove_those_of_others() {
  for (ReaderMarks* marks = s_first; marks != nullptr; marks = marks->m_next) {
    if (marks != t_marks) {
      std::fill(marks->m_marks.begin(), marks->m_marks.end(), nullptr);
      marks->m_count = 0;
      marks->m_used = false;
    }
  }
}

}  // namespace support
