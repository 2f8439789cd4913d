// A script function's view of its session: all that the server and the module library know of each
// other.
#ifndef SESSION_SERVER_ISESSION_H
#define SESSION_SERVER_ISESSION_H

#include <string>

namespace session_server {

/// One connection. Its address, as ISession*, is the key of the session's global environment and
/// its script environment. So a script function gets the session as `env`:
///
///   auto* session = static_cast<ISession*>(env);
///
/// Threads: one thread at a time serves a session, so its functions need no lock.
struct ISession {
  /// 1 for the first session of this run of the server.
  virtual unsigned long long number() const = 0;

  /// Sends a line to the client and adds the line end. False when replies that the client has not
  /// taken yet leave no room; nothing is sent then.
  virtual bool reply(const std::string& line) = 0;

  /// Ends the session after the present line; lines that the client sent after it are not read.
  virtual void quit() = 0;

  /// How many values the session holds. For the module's use; 0 when the session begins.
  int values = 0;

 protected:
  ~ISession() = default;
};

}  // namespace session_server

#endif
