#include "session.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <fwbase/module.h>
#include <fwbase/values.h>

#include "server.h"

namespace session_server {

using fwbase::IDataBlock;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IScript;

namespace {

/// The longest line that is answered, in bytes, without its line end.
constexpr unsigned int kMaxLine = 4096;

/// One line, its line end included.
constexpr unsigned int kInputSize = kMaxLine + 2;

/// Room for the answers to several lines. The largest block that the factory does not warn about.
constexpr unsigned int kOutputSize = 10240;

/// A line is answered when there is room for an answer of this length: the line itself, as the
/// longest command sends it back, and the text that the script adds.
constexpr unsigned int kAnswerSize = kMaxLine + 128;

/// After this many lines of one session, it is the next session's turn.
constexpr int kLinesPerTurn = 16;

/// How many bytes are read at once from a client whose session is over.
constexpr std::size_t kDiscardSize = 16384;

constexpr const char* kTooLong = "line is longer than 4096 bytes";
constexpr const char* kZeroByte = "line contains a zero byte";

bool try_again() { return errno == EAGAIN || errno == EWOULDBLOCK; }

/// Repeats a socket function while signals interrupt it.
template <class Call>
ssize_t uninterrupted(Call call) {
  ssize_t result;
  do {
    result = call();
  } while (result == -1 && errno == EINTR);
  return result;
}

}  // namespace

// --- Life ---

Session::Session(bool& usable)
    : m_input(make_block(kInputSize)),
      m_output(make_block(kOutputSize)),
      m_ticket(reinterpret_cast<const char*>(this)) {
  usable = m_input != nullptr && m_output != nullptr && m_ticket.data_block() != nullptr;
}

Session::Block Session::make_block(unsigned int size) {
  IDataBlock* block = nullptr;
  const ec::EC result = IFWBase::instance()->db_ft()->create(block, size);
  return Block(ec::succeeded(result) ? block : nullptr);
}

ec::EC Session::init(void* connection) {
  const Connection& given = *static_cast<const Connection*>(connection);
  m_server = given.server;
  m_handle = given.handle;
  m_number = given.number;
  m_stage = Stage::kNew;
  m_last_line = std::chrono::steady_clock::now();
  m_lines_left = m_skipping = m_quitting = m_expired = m_input_ended = m_failed = false;
  values = 0;
  clear(*m_input);
  clear(*m_output);
  IGlobalEnv* environment = nullptr;
  return IFWBase::instance()->create_global_env(environment, env());
}

// A later session may have this address: it must begin without the values of this one.
void Session::release() {
  IFWBase::instance()->destroy_global_env(env());
  static_cast<void>(fwbase::drop_environment(env()));  // it may have set no variable
  ::close(m_handle);
  m_handle = ACE_INVALID_HANDLE;
  reactor(nullptr);  // it may be gone when this object is reused or destroyed
}

IMM::IBase* SessionPool::create() {
  if (!m_free.empty()) {
    Session* const session = m_free.back().release();
    m_free.pop_back();
    return session;
  }
  bool usable = false;
  std::unique_ptr<Session> session(new (std::nothrow) Session(usable));
  return session != nullptr && usable ? session.release() : nullptr;
}

void SessionPool::destroy(IMM::IBase* session) {
  m_free.emplace_back(static_cast<Session*>(session));
}

// --- Events, in the reactor's thread ---

int Session::handle_input(ACE_HANDLE) {
  m_server->ready(*this);
  return 0;
}

int Session::handle_output(ACE_HANDLE) {
  m_server->ready(*this);
  return 0;
}

int Session::handle_close(ACE_HANDLE, ACE_Reactor_Mask) {
  m_server->ready(*this);
  return 0;
}

// --- Work, in the thread of a worker ---

Session::Wait Session::work() {
  switch (m_stage) {
    case Stage::kNew:
      m_stage = Stage::kServing;
      run("open");
      return serve();
    case Stage::kServing:
      return serve();
    case Stage::kFlushing:
      return flush();
    case Stage::kLingering:
      return linger();
  }
  return Wait::kNothing;
}

// The server does not read from a client that does not take its replies, so the data kept for a
// client never exceeds the two blocks.
Session::Wait Session::serve() {
  const bool reading = !m_input_ended && !m_expired && !m_server->stopping();
  if (!m_failed && !m_lines_left && reading) {
    receive();
  }
  m_lines_left = !m_failed && !m_quitting && answer_lines();
  send();
  if (!m_failed && m_output->data_len() != 0) {
    return Wait::kOutput;
  }
  if (!m_failed && !m_quitting) {
    if (m_lines_left) {
      return Wait::kTurn;
    }
    if (reading && !m_input_ended) {
      return Wait::kInput;
    }
  }
  run("close");
  m_stage = Stage::kFlushing;
  return flush();
}

Session::Wait Session::flush() {
  send();
  if (m_failed) {
    return Wait::kNothing;
  }
  if (m_output->data_len() != 0) {
    return Wait::kOutput;
  }
  ::shutdown(m_handle, SHUT_WR);
  m_stage = Stage::kLingering;
  return linger();
}

// Closing a connection with unread input resets it, and the client may lose replies on their way.
// So the server reads everything, and the client closes first.
Session::Wait Session::linger() {
  char discarded[kDiscardSize];
  while (!m_failed && !m_input_ended) {
    const ssize_t count =
        uninterrupted([&] { return ::recv(m_handle, discarded, sizeof discarded, 0); });
    if (count == -1 && try_again()) {
      return Wait::kPeerClose;
    }
    m_input_ended = count <= 0;
  }
  return Wait::kNothing;
}

// --- Input ---

void Session::receive() {
  move_to_front(*m_input);
  const std::size_t room = m_input->buffer_len() - m_input->data_len();
  const ssize_t count = uninterrupted([&] { return ::recv(m_handle, m_input->wr_ptr(), room, 0); });
  if (count > 0) {
    m_input->wr_ptr(static_cast<int>(count));
  } else if (count == 0) {
    m_input_ended = true;  // a line without its end is not a line
  } else if (!try_again()) {
    m_failed = true;  // the client is gone, which needs no record
  }
}

// True when lines may be left: the turn is over, or the next answer has no room.
bool Session::answer_lines() {
  for (int count = 0; count < kLinesPerTurn && room_for_answer(); ++count) {
    std::string line;
    const char* refusal = nullptr;
    const Line kind = next_line(line, refusal);
    if (kind == Line::kNone) {
      return false;
    }
    answer(kind, line, refusal);
    if (m_failed || m_quitting) {
      return false;
    }
  }
  return true;
}

Session::Line Session::next_line(std::string& line, const char*& refusal) {
  const char* const begin = m_input->rd_ptr();
  const std::size_t size = m_input->data_len();
  const void* const end = std::memchr(begin, '\n', size);
  if (end == nullptr) {
    if (!m_skipping && size < kInputSize) {
      return Line::kNone;
    }
    const bool refused = !m_skipping;
    m_skipping = true;
    clear(*m_input);
    refusal = kTooLong;
    return refused ? Line::kRefused : Line::kNone;
  }
  line.assign(begin, static_cast<const char*>(end));
  m_input->rd_ptr(static_cast<int>(line.size()) + 1);
  if (m_skipping) {
    m_skipping = false;  // this was the rest of it
    return next_line(line, refusal);
  }
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();  // as telnet ends lines
  }
  if (line.size() > kMaxLine) {
    refusal = kTooLong;
  } else if (line.find('\0') != std::string::npos) {
    refusal = kZeroByte;  // texts of the script would end there
  }
  return refusal == nullptr ? Line::kComplete : Line::kRefused;
}

void Session::answer(Line kind, const std::string& line, const char* refusal) {
  m_last_line = std::chrono::steady_clock::now();
  const bool refused = kind == Line::kRefused;
  const std::string value = refused ? std::string(refusal) : line;
  const ec::EC result = IFWBase::instance()->script()->set_value_env(
      refused ? "reason" : "line", IScript::VT_STRING, &value, env());
  if (ec::failed(result)) {
    fail("no memory for a line");
    return;
  }
  run(refused ? "refuse" : "line");
}

void Session::run(const char* section) {
  const ec::EC result = IFWBase::instance()->script()->exec_scommad(section, env());
  if (ec::failed(result)) {
    FWBASE_LOG(WARN, "session %llu dropped: section '%s' ended with %s (0x%08x)", m_number, section,
               ec::name(result), result);
    m_failed = true;
  }
}

void Session::fail(const char* what) {
  FWBASE_LOG(WARN, "session %llu dropped: %s", m_number, what);
  m_failed = true;
}

// --- Output ---

bool Session::reply(const std::string& line) {
  move_to_front(*m_output);
  if (m_output->buffer_len() - m_output->data_len() < line.size() + 1) {
    return false;
  }
  m_output->copy(line.data(), static_cast<unsigned int>(line.size()));
  m_output->copy("\n", 1);
  return true;
}

bool Session::room_for_answer() {
  return m_output->buffer_len() - m_output->data_len() >= kAnswerSize;
}

void Session::send() {
  while (!m_failed && m_output->data_len() != 0) {
    // MSG_NOSIGNAL: a client that is gone must not end the server with SIGPIPE.
    const ssize_t count = uninterrupted(
        [&] { return ::send(m_handle, m_output->rd_ptr(), m_output->data_len(), MSG_NOSIGNAL); });
    if (count >= 0) {
      m_output->rd_ptr(static_cast<int>(count));
    } else if (try_again()) {
      return;
    } else {
      m_failed = true;
    }
  }
}

// --- Blocks ---

void Session::clear(IDataBlock& block) {
  block.rd_ptr(static_cast<int>(block.data_len()));
  move_to_front(block);
}

/// Moves the data of a block to its start, so that all free space comes after the data.
void Session::move_to_front(IDataBlock& block) {
  char* const front = static_cast<ACE_Message_Block*>(block.real())->base();
  const std::ptrdiff_t distance = block.rd_ptr() - front;
  if (distance != 0) {
    std::memmove(front, block.rd_ptr(), block.data_len());
    block.rd_ptr(-static_cast<int>(distance));
    block.wr_ptr(-static_cast<int>(distance));
  }
}

}  // namespace session_server
