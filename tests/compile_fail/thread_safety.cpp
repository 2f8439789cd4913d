// A thread that touches what a lock guards must hold the lock.
#include "support/mutex.h"
#include "support/rw_lock.h"

class Guarded {
 public:
  void count() {
#ifndef WITHOUT_MUTEX
    const support::MutexGuard guard(m_mutex);
#endif
    ++m_count;
  }

  void count_in_list() {
#ifndef WITHOUT_RANKED_MUTEX
    const support::MutexGuard guard(m_ranked);
#endif
    ++m_count_in_list;
  }

  int number() {
#ifndef WITHOUT_READ_LOCK
    const support::ReadGuard guard(m_lock);
#endif
    return m_number;
  }

  void number(int number) {
#ifdef WITHOUT_WRITE_LOCK
    const support::ReadGuard guard(m_lock);
#else
    const support::WriteGuard guard(m_lock);
#endif
    m_number = number;
  }

 private:
  support::Mutex m_mutex;
  support::RankedMutex m_ranked{support::LockRank::kLogQueue};
  support::RwLock m_lock{support::LockRank::kScript};
  int m_count FWBASE_GUARDED_BY(m_mutex) = 0;
  int m_count_in_list FWBASE_GUARDED_BY(m_ranked) = 0;
  int m_number FWBASE_GUARDED_BY(m_lock) = 0;
};

int main() {
  Guarded guarded;
  guarded.count();
  guarded.count_in_list();
  guarded.number(guarded.number());
}
