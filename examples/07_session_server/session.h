// One connection: its incoming lines, the script that answers them, and its outgoing replies.
#ifndef SESSION_SERVER_SESSION_H
#define SESSION_SERVER_SESSION_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <ace/Event_Handler.h>
#include <ace/Message_Block.h>

#include <fwbase/fwbase.h>

#include "isession.h"

namespace session_server {

class Server;

/// A session has one owner at a time, so it needs no lock: either the reactor's thread, while the
/// session waits for its client, or the worker that has taken it from the queue. This also keeps
/// the lines of one session in order. Passing a session on (through the queue of the workers, and
/// with Server::give_back()) orders the accesses of the former owner before those of the next one.
///
/// A session is a module: the server creates it with the module manager, through a factory that
/// keeps the objects of ended sessions for later ones. The session's global environment and script
/// variables end with it, so a later session at its address finds nothing of them.
class Session final : public fwbase::IMM::IBase, public ISession, public ACE_Event_Handler {
 public:
  /// What the session needs next.
  enum class Wait {
    kTurn,       ///< a worker: lines are left
    kInput,      ///< something to read
    kOutput,     ///< that the client takes more of its replies
    kPeerClose,  ///< that the client closes its end; all is sent
    kNothing     ///< it is over
  };

  /// The argument of init().
  struct Connection {
    Server* server;
    ACE_HANDLE handle;  ///< the session's, when init() succeeds
    unsigned long long number;
  };

  explicit Session(bool& usable);

  // A module's life. init() makes the session's global environment. release() destroys it, drops
  // the session's script variables and closes the connection.
  ec::EC init(void* connection) override;
  void release() override;

  /// Continues as far as possible without waiting; a worker calls it.
  Wait work();

  /// When the client's last line was answered, or the session began. For the reactor's thread, as
  /// owner, like the next two operations.
  std::chrono::steady_clock::time_point last_line() const { return m_last_line; }

  /// Makes work() end the session as if its client had sent its last line.
  void end_input() { m_expired = true; }

  /// Makes work() end the session without sending anything more.
  void drop() { m_failed = true; }

  /// The key of the session's environments.
  void* env() { return static_cast<ISession*>(this); }

  /// The message that represents the session in the queue of the workers. The message has no size,
  /// so the queue never counts as full, and it is made once, so queueing needs no memory.
  ACE_Message_Block* ticket() { return &m_ticket; }
  static Session* of_ticket(const ACE_Message_Block* ticket) {
    return reinterpret_cast<Session*>(ticket->base());
  }

  // ISession, for script functions.
  unsigned long long number() const override { return m_number; }
  bool reply(const std::string& line) override;
  void quit() override { m_quitting = true; }

  // ACE_Event_Handler: the connection is ready, or broken. A worker finds out which.
  ACE_HANDLE get_handle() const override { return m_handle; }
  int handle_input(ACE_HANDLE) override;
  int handle_output(ACE_HANDLE) override;
  int handle_close(ACE_HANDLE, ACE_Reactor_Mask) override;

 private:
  enum class Stage { kNew, kServing, kFlushing, kLingering };
  enum class Line { kNone, kComplete, kRefused };

  Wait serve();
  Wait flush();
  Wait linger();
  void receive();
  bool answer_lines();
  Line next_line(std::string& line, const char*& refusal);
  void answer(Line kind, const std::string& line, const char* refusal);
  bool room_for_answer();
  void send();
  void run(const char* section);
  void fail(const char* what);

  Server* m_server = nullptr;
  ACE_HANDLE m_handle = ACE_INVALID_HANDLE;
  unsigned long long m_number = 0;
  std::chrono::steady_clock::time_point m_last_line;
  Stage m_stage = Stage::kNew;
  bool m_lines_left = false;   ///< a worker stopped before it had answered all
  bool m_skipping = false;     ///< inside a line that was refused for its length
  bool m_quitting = false;     ///< no more lines
  bool m_expired = false;      ///< nothing more is read
  bool m_input_ended = false;  ///< the client has closed its side
  bool m_failed = false;       ///< the connection is no longer usable

  struct Release {
    void operator()(fwbase::IDataBlock* block) const { block->release(); }
  };
  using Block = std::unique_ptr<fwbase::IDataBlock, Release>;
  static Block make_block(unsigned int size);
  static void clear(fwbase::IDataBlock& block);
  static void move_to_front(fwbase::IDataBlock& block);

  const Block m_input;   ///< text that was read and belongs to no complete line yet
  const Block m_output;  ///< replies that the client has not taken yet
  ACE_Message_Block m_ticket;
};

/// Makes sessions, and keeps ended sessions for reuse. The module manager calls it under its lock.
class SessionPool final : public fwbase::IMM::IFactory {
 public:
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
  fwbase::IMM::IBase* create() override;
  void destroy(fwbase::IMM::IBase* session) override;

 private:
  std::vector<std::unique_ptr<Session>> m_free;
};

}  // namespace session_server

#endif
