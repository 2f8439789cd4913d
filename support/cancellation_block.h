// Scopes in which a thread is not cancelled.
#ifndef SUPPORT_CANCELLATION_BLOCK_H
#define SUPPORT_CANCELLATION_BLOCK_H

#include <pthread.h>

namespace support {

/// While it lives, pthread_cancel() of this thread has to wait: what the scope does is done whole,
/// and no destructor is left by the unwinding, which ends the process. Leaves errno alone.
class CancellationBlock {
 public:
  CancellationBlock() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
  ~CancellationBlock() { pthread_setcancelstate(m_before, nullptr); }
  CancellationBlock(const CancellationBlock&) = delete;
  CancellationBlock& operator=(const CancellationBlock&) = delete;

 private:
  int m_before = PTHREAD_CANCEL_ENABLE;
};

}  // namespace support

#endif
