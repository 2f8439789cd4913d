// Writing without signals.
#ifndef SUPPORT_WRITE_SIGNAL_BLOCK_H
#define SUPPORT_WRITE_SIGNAL_BLOCK_H

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <cerrno>

#include "support/cancellation_block.h"

namespace support {

/// While it lives, keeps the signals of a failed write (a pipe without a reader, a file beyond the
/// size limit) from this thread, so that the failure is a result and does not end the process.
/// Leaves errno alone.
class WriteSignalBlock {
 public:
  WriteSignalBlock() {
    sigset_t pending;
    sigpending(&pending);
    sigemptyset(&m_signals);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
      if (!sigismember(&pending, signal)) {
        sigaddset(&m_signals, signal);
      }
    }
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_before);
  }
  ~WriteSignalBlock() {
    const CancellationBlock no_cancellation;
    const int error = errno;
    const timespec at_once = {0, 0};
    while (sigtimedwait(&m_signals, nullptr, &at_once) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    errno = error;
  }
  WriteSignalBlock(const WriteSignalBlock&) = delete;
  WriteSignalBlock& operator=(const WriteSignalBlock&) = delete;

 private:
  sigset_t m_signals;  // those that were not pending before
  sigset_t m_before;
};

}  // namespace support

#endif
