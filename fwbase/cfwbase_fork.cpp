// What the facade does when the host forks: the child gets every component in a state in which no
// other thread was changing it, with free locks, and a run log that writes in the caller's thread.
#include <pthread.h>

#include <ctime>
#include <mutex>
#include <new>

#include "fwbase/cfwbase.h"
#include "support/cancellation_block.h"
#include "support/reader_marks.h"
#include "utility/text_codec.h"

namespace fwbase {

namespace {

constexpr std::time_t kPatience = 1;  // seconds

std::mutex forking;

// Not IFWBase::instance(): a program may have its own, which is found first.
CFWBase* watched = nullptr;

// A thread that is to be cancelled forks before that, and so does the child's copy of it.
void before_fork() {
  const support::CancellationBlock no_cancellation;
  utility::prepare_conversions();
  forking.lock();
  watched->before_fork();
}

void after_fork_in_parent() {
  watched->after_fork_in_parent();
  forking.unlock();
}

void after_fork_in_child() {
  const support::CancellationBlock no_cancellation;
  new (&forking) std::mutex;
  support::ReaderMarks::remove_those_of_others();
  watched->after_fork_in_child();
}

}  // namespace

void CFWBase::watch_forks() {
  const support::WriteGuard guard(m_lock);
  if (!m_watches_forks) {
    watched = this;
    m_watches_forks = ::pthread_atfork(&fwbase::before_fork, &fwbase::after_fork_in_parent,
                                       &fwbase::after_fork_in_child) == 0;
  }
}

// Modules and host functions call other components, and all write to the log: outer locks come
// first. A keyed environment asks its parent.
void CFWBase::before_fork() {
  timespec deadline;
  ::clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += kPatience;
  m_module.lock().before_fork(deadline);
  m_script_engine.lock().before_fork(deadline);
  m_has_fork_lock = m_lock.before_fork(deadline);
  for_each_env_lock([&](support::RwLock& lock) { lock.before_fork(deadline); });
  m_env.lock().before_fork(deadline);
  m_log.before_fork(deadline);
}

void CFWBase::after_fork_in_parent() {
  m_log.after_fork_in_parent();
  m_env.lock().after_fork_in_parent();
  for_each_env_lock([](support::RwLock& lock) { lock.after_fork_in_parent(); });
  m_lock.after_fork_in_parent();
  m_script_engine.lock().after_fork_in_parent();
  m_module.lock().after_fork_in_parent();
}

void CFWBase::after_fork_in_child() {
  m_log.after_fork_in_child();
  m_env.lock().after_fork_in_child();
  for_each_env_lock([](support::RwLock& lock) { lock.after_fork_in_child(); });
  m_lock.after_fork_in_child();
  m_script_engine.lock().after_fork_in_child();
  m_module.lock().after_fork_in_child();
}

// Keyed environments are out of reach while another thread keeps changing them.
template <typename Visit>
void CFWBase::for_each_env_lock(Visit visit) {
  if (m_has_fork_lock) {
    for (const auto& [key, env] : m_envs) {
      visit(env->lock());
    }
  }
}

}  // namespace fwbase
