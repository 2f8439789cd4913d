// The reactor's part: connections come, wait and go; signals end the server.
#ifndef SESSION_SERVER_SERVER_H
#define SESSION_SERVER_SERVER_H

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <ace/Event_Handler.h>
#include <ace/Reactor.h>
#include <ace/SOCK_Acceptor.h>

#include <fwbase/fwbase.h>

#include "session.h"
#include "workers.h"

namespace session_server {

/// Serves sessions on the loopback interface until SIGTERM or SIGINT. SIGHUP reloads the script.
///
/// One thread runs the reactor. Only this thread registers and removes handlers, accepts, and
/// creates and destroys sessions. Workers do everything that concerns the lines of a session. A
/// session that is ready is removed from the reactor and passed to the workers. When a worker gives
/// a session back, the session is registered for the event that it waits for.
class Server : public ACE_Event_Handler {
 public:
  /// Descriptors that are not sessions: the log, the reactor's own, standard streams, inherited
  /// ones.
  static constexpr int kOtherHandles = 256;

  struct Settings {
    int port = 0;  ///< 0: the system chooses
    int threads = 2;
    int max_sessions = 2000;  ///< more clients wait in the listening socket's queue
    int idle_seconds = 300;   ///< how long a client may send no line
    int stall_seconds = 30;   ///< how long a client may leave its replies untaken
  };

  /// sessions   a factory that makes Session modules
  /// script     the file that was loaded
  Server(const Settings& settings, fwbase::IMM::IFactory& sessions, std::string script);
  ~Server() override;

  /// Listens, starts the workers, and handles SIGTERM, SIGINT and SIGHUP, which all threads must
  /// have blocked. Returns an empty string, or what failed.
  std::string start();

  /// The port that start() listens on.
  unsigned short port() const { return m_port; }

  /// Returns after a signal, when all lines that were read by then are answered and all sessions
  /// are closed. False, with the reason in the log and all sessions dropped, when the server can no
  /// longer wait for events.
  bool run();

  /// True from the signal on. Any thread.
  bool stopping() const { return m_stopping; }

  /// A session's handle is ready. The reactor's thread.
  void ready(Session& session);

  /// Returns a session to the reactor's thread. Any thread; the session is no longer the caller's.
  void give_back(Session& session, Session::Wait wait);

 private:
  using Clock = std::chrono::steady_clock;

  /// An open session, as the reactor's thread knows it.
  struct Waiting {
    Session::Wait wait = Session::Wait::kTurn;  ///< kTurn: it is with the workers
    Clock::time_point since;
  };
  using Sessions = std::unordered_map<Session*, Waiting>;

  // ACE_Event_Handler: a client or a signal; sessions given back; every second.
  int handle_input(ACE_HANDLE handle) override;
  int handle_exception(ACE_HANDLE) override;
  int handle_timeout(const ACE_Time_Value&, const void*) override;

  std::string listen();
  std::string take_signals();
  void take_signal();
  void reload() const;
  void accept_clients();
  bool accept_client();
  void stop_listening();
  void listen_again();
  void open(ACE_HANDLE connection);
  void close(Session& session);
  void take_back();
  void wait_for(Session& session, Session::Wait wait);
  void pass_on(Sessions::value_type& entry);
  bool handle_events();
  void stop();
  bool overdue(const Sessions::value_type& entry) const;
  void end_overdue(Sessions::value_type& entry);

  const Settings m_settings;
  fwbase::IMM::IFactory& m_factory;
  const std::string m_script;
  ACE_Reactor m_reactor;
  ACE_SOCK_Acceptor m_acceptor;
  unsigned short m_port = 0;
  bool m_listening = false;
  ACE_HANDLE m_signals = ACE_INVALID_HANDLE;
  std::atomic<bool> m_stopping{false};
  Clock::time_point m_stop_time;
  unsigned long long m_last_number = 0;
  Sessions m_sessions;
  Workers m_workers;

  std::mutex m_returned_mutex;
  std::vector<std::pair<Session*, Session::Wait>> m_returned;
};

}  // namespace session_server

#endif
