#include "workers.h"

#include <exception>

#include <fwbase/module.h>

#include "server.h"

namespace session_server {

void Workers::stop() {
  msg_queue()->deactivate();
  wait();
  // Tickets that are left belong to their sessions, but the queue would free them.
  msg_queue()->activate();
  for (ACE_Message_Block* ticket = nullptr; !msg_queue()->is_empty();) {
    getq(ticket);
  }
  msg_queue()->deactivate();
}

int Workers::svc() {
  ACE_Message_Block* ticket = nullptr;
  while (getq(ticket) != -1) {
    Session& session = *Session::of_ticket(ticket);
    const Session::Wait wait = work(session);
    if (wait == Session::Wait::kTurn) {
      take(session);  // after those that have waited meanwhile
    } else {
      m_server.give_back(session, wait);
    }
  }
  return 0;
}

// An exception, such as that of a script function without memory, ends only its own session.
Session::Wait Workers::work(Session& session) {
  try {
    return session.work();
  } catch (const std::exception& error) {
    FWBASE_LOG_AT(&session, ERROR, "session %llu dropped: exception: %s", session.number(),
                  error.what());
  } catch (...) {
    FWBASE_LOG_AT(&session, ERROR, "session %llu dropped: exception", session.number());
  }
  return Session::Wait::kNothing;
}

}  // namespace session_server
