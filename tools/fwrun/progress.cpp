// A thread of its own writes the line, so that it also shows a call that takes long.
#include "progress.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include "command_line/messages.h"
#include "command_line/text.h"

namespace fwrun {

namespace {

using Clock = std::chrono::steady_clock;

constexpr Clock::duration kQuiet = std::chrono::seconds(2);
constexpr Clock::duration kBetween = std::chrono::milliseconds(200);
constexpr char kClearLine[] = "\r\x1b[K";

void write_line(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stderr); }

// Signals go to the thread that runs the calls.
std::thread started_without_signals(void (*body)(void*), void* argument) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(body, argument);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace

Progress::Progress(const Section& section, const CallWatch& watch, Clock::time_point begin)
    : m_section(section), m_watch(watch), m_begin(begin) {
  if (isatty(STDERR_FILENO) != 0) {
    m_thread = started_without_signals(
        [](void* progress) { static_cast<Progress*>(progress)->show(); }, this);
  }
}

Progress::~Progress() {
  if (!m_thread.joinable()) {
    return;
  }
  {
    const support::MutexGuard guard(m_mutex);
    m_ends = true;
  }
  m_wakes.notify_one();
  m_thread.join();
}

bool Progress::ends_before(Clock::time_point time, support::MutexGuard& lock) {
  while (!m_ends && Clock::now() < time) {
    lock.wait_until(m_wakes, time);
  }
  return m_ends;
}

void Progress::show() {
  support::MutexGuard lock(m_mutex);
  if (ends_before(m_begin + kQuiet, lock)) {
    return;
  }
  do {
    const std::size_t succeeded = m_watch.succeeded();
    if (succeeded < m_section.calls.size()) {
      write_line(kClearLine + tools::in_users_language(
                                  {"fwrun: section '{1}', call {2} of {3}, {4}",
                                   "fwrun: 节“{1}”，第 {2}/{3} 个调用，{4}"},
                                  {tools::escaped(m_section.name), std::to_string(succeeded + 1),
                                   std::to_string(m_section.calls.size()),
                                   tools::escaped(m_section.calls[succeeded].function)}));
    }
  } while (!ends_before(Clock::now() + kBetween, lock));
  write_line(kClearLine);
}

}  // namespace fwrun
