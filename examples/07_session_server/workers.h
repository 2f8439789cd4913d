// The threads that run the scripts.
#ifndef SESSION_SERVER_WORKERS_H
#define SESSION_SERVER_WORKERS_H

#include <ace/Task.h>

#include "session.h"

namespace session_server {

class Server;

/// A pool of threads with one queue of sessions. A session is in the queue once at most, because
/// queueing it gives it away.
class Workers : public ACE_Task<ACE_MT_SYNCH> {
 public:
  explicit Workers(Server& server) : m_server(server) {}

  bool start(int threads) { return activate(THR_NEW_LWP | THR_JOINABLE, threads) == 0; }

  /// Ends the threads; sessions in the queue get no more work. A second call does nothing.
  void stop();

  /// Passes a session to the next free thread.
  void take(Session& session) { putq(session.ticket()); }

 private:
  int svc() override;
  static Session::Wait work(Session& session);

  Server& m_server;
};

}  // namespace session_server

#endif
