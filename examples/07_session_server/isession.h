// What a script function sees of the session that it runs for: all that the server and the module
// library know of each other.
#ifndef SESSION_SERVER_ISESSION_H
#define SESSION_SERVER_ISESSION_H

#include <string>

namespace session_server {

/// One connection. Its address, as ISession*, is the key of the session's global environment and
/// its script environment. So a script function gets it as `env`:
///
///   auto* session = static_cast<ISession*>(env);
///
/// Threads: a session is served by one thread at a time; its functions need no lock.
struct ISession {
  /// 1 for the first session of this run of the server.
  virtual unsigned long long number() const = 0;

  /// Sends a line to the client, which is added the line end. False when what the client has not
  /// taken yet leaves no room; nothing is sent then.
  virtual bool reply(const std::string& line) = 0;

  /// Ends the session after the present line; lines that the client sent behind it are not read.
  virtual void quit() = 0;

  /// How many values the session holds. For the module's use; 0 when the session begins.
  int values = 0;

 protected:
  ~ISession() = default;
};

}  // namespace session_server

#endif
