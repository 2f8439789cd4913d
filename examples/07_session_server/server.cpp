#include "server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include <ace/Dev_Poll_Reactor.h>
#include <ace/INET_Addr.h>
#include <ace/SOCK_Stream.h>
#include <ace/Time_Value.h>

#include <fwbase/module.h>
#include <fwbase/reload.h>

namespace session_server {

using fwbase::IFWBase;
using fwbase::IMM;

namespace {

constexpr int kBacklog = 4096;

/// How long a client may take to close its end when its session is over.
constexpr std::chrono::seconds kLinger(5);

/// How long clients may take for their replies when the server stops.
constexpr std::chrono::seconds kStopLimit(10);

constexpr ACE_Reactor_Mask kNoUpcall = ACE_Event_Handler::DONT_CALL;

std::string with_reason(const std::string& what) { return what + ": " + std::strerror(errno); }

}  // namespace

// The reactor uses epoll: reactors on select() end at 1,024 handles.
Server::Server(const Settings& settings, IMM::IFactory& sessions, std::string script)
    : m_settings(settings),
      m_factory(sessions),
      m_script(std::move(script)),
      m_reactor(
          new ACE_Dev_Poll_Reactor(static_cast<std::size_t>(settings.max_sessions + kOtherHandles)),
          true),
      m_workers(*this) {}

Server::~Server() {
  m_workers.stop();
  m_reactor.cancel_timer(this);
  stop_listening();
  m_acceptor.close();
  if (m_signals != ACE_INVALID_HANDLE) {
    m_reactor.remove_handler(m_signals, READ_MASK | kNoUpcall);
    ::close(m_signals);
  }
  reactor(nullptr);  // it is destroyed before the event handler in this object
}

std::string Server::start() {
  if (m_reactor.initialized() == 0) {
    return "cannot make a reactor for " + std::to_string(m_settings.max_sessions) + " sessions";
  }
  std::string problem = listen();
  if (problem.empty()) {
    problem = take_signals();
  }
  if (!problem.empty()) {
    return problem;
  }
  const ACE_Time_Value second(1);
  if (m_reactor.schedule_timer(this, nullptr, second, second) == -1) {
    return with_reason("cannot start a timer");
  }
  return m_workers.start(m_settings.threads) ? "" : with_reason("cannot start threads");
}

std::string Server::listen() {
  const ACE_INET_Addr address(static_cast<unsigned short>(m_settings.port), "127.0.0.1");
  if (m_acceptor.open(address, 1, PF_INET, kBacklog) == -1 ||
      m_acceptor.enable(ACE_NONBLOCK) == -1) {
    return with_reason("cannot listen on 127.0.0.1:" + std::to_string(m_settings.port));
  }
  ACE_INET_Addr own;
  m_acceptor.get_local_addr(own);
  m_port = own.get_port_number();
  listen_again();
  return m_listening ? "" : with_reason("cannot register the listening socket");
}

// Signals come through a descriptor, so they are handled like any other event, not in the middle of
// a function.
std::string Server::take_signals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGHUP);
  m_signals = ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
  if (m_signals == -1 || m_reactor.register_handler(m_signals, this, READ_MASK) == -1) {
    return with_reason("cannot take signals");
  }
  return "";
}

bool Server::run() {
  bool sound = true;
  while (sound && (!m_stopping || !m_sessions.empty())) {
    sound = handle_events();
  }
  m_stopping = true;
  m_workers.stop();
  while (!m_sessions.empty()) {  // after a failure only
    Session& session = *m_sessions.begin()->first;
    m_reactor.remove_handler(&session, ALL_EVENTS_MASK | kNoUpcall);
    close(session);
  }
  return sound;
}

bool Server::handle_events() {
  if (m_reactor.handle_events() != -1 || errno == EINTR) {
    return true;
  }
  FWBASE_LOG(ERROR, "cannot wait for events: %s", std::strerror(errno));
  return false;
}

int Server::handle_input(ACE_HANDLE handle) {
  if (handle == m_signals) {
    take_signal();
  } else {
    accept_clients();
  }
  return 0;
}

void Server::take_signal() {
  signalfd_siginfo signal;
  if (::read(m_signals, &signal, sizeof signal) != sizeof signal) {
    return;
  }
  if (signal.ssi_signo == SIGHUP) {
    reload();
  } else {
    stop();
  }
}

// Running sections finish as they began. Counters and sessions keep their values.
void Server::reload() const {
  std::vector<fwbase::Finding> findings;
  const ec::EC result = fwbase::reload_script(m_script.c_str(), &findings);
  for (const fwbase::Finding& one : findings) {
    FWBASE_LOG(WARN, "%s:%d:%d: %s: %s", m_script.c_str(), one.line, one.column,
               one.error ? "error" : "warning", one.message.c_str());
  }
  if (ec::succeeded(result)) {
    FWBASE_LOG(WARN, "the script %s takes effect", m_script.c_str());
  } else {
    FWBASE_LOG(WARN, "the script stays as it was: %s", ec::text(result));
  }
}

// --- Clients come ---

void Server::accept_clients() {
  while (m_listening && accept_client()) {
    if (m_sessions.size() >= static_cast<std::size_t>(m_settings.max_sessions)) {
      stop_listening();  // until a session ends
    }
  }
}

bool Server::accept_client() {
  ACE_SOCK_Stream client;
  if (m_acceptor.accept(client) == -1) {
    if (errno == EINTR || errno == ECONNABORTED) {
      return true;
    }
    if (errno != EWOULDBLOCK && errno != EAGAIN) {
      FWBASE_LOG(WARN, "cannot accept a client: %s", std::strerror(errno));
      stop_listening();  // until the next second: the client is still there
    }
    return false;
  }
  client.enable(ACE_NONBLOCK);
  int on = 1;  // a reply does not wait for the acknowledgement of the previous one
  client.set_option(IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  open(client.get_handle());
  return true;
}

void Server::listen_again() {
  if (!m_listening && !m_stopping &&
      m_sessions.size() < static_cast<std::size_t>(m_settings.max_sessions)) {
    m_listening = m_reactor.register_handler(m_acceptor.get_handle(), this, ACCEPT_MASK) != -1;
  }
}

void Server::stop_listening() {
  if (m_listening) {
    m_reactor.remove_handler(m_acceptor.get_handle(), ACCEPT_MASK | kNoUpcall);
    m_listening = false;
  }
}

void Server::open(ACE_HANDLE connection) {
  Session::Connection argument = {this, connection, ++m_last_number};
  IMM::IBase* module = nullptr;
  const ec::EC result = IFWBase::instance()->mm()->create_module(module, &m_factory, &argument);
  if (ec::failed(result)) {
    FWBASE_LOG(WARN, "session %llu cannot begin: %s", argument.number, ec::text(result));
    ::close(connection);
    return;
  }
  auto& session = *static_cast<Session*>(module);
  pass_on(*m_sessions.emplace(&session, Waiting()).first);
}

// --- Sessions wait ---

void Server::ready(Session& session) {
  m_reactor.remove_handler(&session, ALL_EVENTS_MASK | kNoUpcall);
  const auto entry = m_sessions.find(&session);
  if (entry != m_sessions.end() && entry->second.wait != Session::Wait::kTurn) {
    pass_on(*entry);
  }
}

void Server::pass_on(Sessions::value_type& entry) {
  entry.second.wait = Session::Wait::kTurn;
  m_workers.take(*entry.first);
}

void Server::give_back(Session& session, Session::Wait wait) {
  bool first = false;
  {
    const std::lock_guard<std::mutex> guard(m_returned_mutex);
    first = m_returned.empty();
    m_returned.emplace_back(&session, wait);
  }
  if (first) {
    m_reactor.notify(this, EXCEPT_MASK);  // wakes the reactor's thread, once for all of them
  }
}

int Server::handle_exception(ACE_HANDLE) {
  take_back();
  return 0;
}

void Server::take_back() {
  std::vector<std::pair<Session*, Session::Wait>> returned;
  {
    const std::lock_guard<std::mutex> guard(m_returned_mutex);
    returned.swap(m_returned);
  }
  for (const auto& [session, wait] : returned) {
    if (wait == Session::Wait::kNothing) {
      close(*session);
    } else {
      wait_for(*session, wait);
    }
  }
}

void Server::wait_for(Session& session, Session::Wait wait) {
  Sessions::value_type& entry = *m_sessions.find(&session);
  if (wait == Session::Wait::kInput && m_stopping) {
    pass_on(entry);  // it ends without reading more
    return;
  }
  entry.second.wait = wait;
  entry.second.since = Clock::now();
  const ACE_Reactor_Mask mask = wait == Session::Wait::kOutput ? WRITE_MASK : READ_MASK;
  if (m_reactor.register_handler(&session, mask) == -1) {
    FWBASE_LOG(WARN, "session %llu dropped: %s", session.number(), std::strerror(errno));
    session.drop();
    pass_on(entry);
  }
}

int Server::handle_timeout(const ACE_Time_Value&, const void*) {
  take_back();  // should a notification have failed
  for (Sessions::value_type& entry : m_sessions) {
    if (overdue(entry)) {
      end_overdue(entry);
    }
  }
  listen_again();
  return 0;
}

// A client that sends no line for too long makes room for others. A client that takes none of its
// replies for too long loses them; so does a client that does not close its end of a session that
// is over.
void Server::end_overdue(Sessions::value_type& entry) {
  Session& session = *entry.first;
  m_reactor.remove_handler(&session, ALL_EVENTS_MASK | kNoUpcall);
  if (entry.second.wait == Session::Wait::kInput) {
    FWBASE_LOG(WARN, "session %llu ended: its client has sent no line for %d s", session.number(),
               m_settings.idle_seconds);
    session.end_input();
  } else {
    if (entry.second.wait == Session::Wait::kOutput) {
      FWBASE_LOG(WARN, "session %llu dropped: its client does not read", session.number());
    }
    session.drop();
  }
  pass_on(entry);
}

bool Server::overdue(const Sessions::value_type& entry) const {
  const Clock::time_point now = Clock::now();
  const bool stop_limit = m_stopping && now - m_stop_time > kStopLimit;
  switch (entry.second.wait) {
    case Session::Wait::kInput:
      return now - entry.first->last_line() > std::chrono::seconds(m_settings.idle_seconds);
    case Session::Wait::kOutput:
      return stop_limit ||
             now - entry.second.since > std::chrono::seconds(m_settings.stall_seconds);
    case Session::Wait::kPeerClose:
      return stop_limit || now - entry.second.since > kLinger;
    default:
      return false;
  }
}

// --- Sessions go ---

void Server::close(Session& session) {
  m_sessions.erase(&session);
  IFWBase::instance()->mm()->destroy_module(&session);
  listen_again();
}

// Sessions that wait for input end now. Sessions with a worker or with output find out later.
void Server::stop() {
  if (m_stopping) {
    return;
  }
  m_stopping = true;
  m_stop_time = Clock::now();
  stop_listening();
  m_acceptor.close();
  for (Sessions::value_type& entry : m_sessions) {
    if (entry.second.wait == Session::Wait::kInput) {
      m_reactor.remove_handler(entry.first, ALL_EVENTS_MASK | kNoUpcall);
      pass_on(entry);
    }
  }
}

}  // namespace session_server
