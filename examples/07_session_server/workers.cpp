#include "workers.h"

#include "server.h"

namespace session_server {

void Workers::stop() {
  msg_queue()->deactivate();
  wait();
}

int Workers::svc() {
  ACE_Message_Block* ticket = nullptr;
  while (getq(ticket) != -1) {
    Session& session = *Session::of_ticket(ticket);
    const Session::Wait wait = session.work();
    if (wait == Session::Wait::kTurn) {
      take(session);  // behind those that have waited meanwhile
    } else {
      m_server.give_back(session, wait);
    }
  }
  return 0;
}

}  // namespace session_server
