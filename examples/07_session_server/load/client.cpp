#include "client.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace session_server {

namespace {

constexpr const char* kGreeting = "hello 0";

/// The four commands take turns.
constexpr int kSet = 2;
constexpr int kGet = 3;
constexpr int kEcho = 0;

}  // namespace

Client::Client(int number, int lines, int pipeline)
    : m_number(number), m_lines(lines), m_pipeline(pipeline) {
  m_latencies.reserve(static_cast<std::size_t>(lines));
}

Client::~Client() {
  if (m_handle != -1) {
    ::close(m_handle);
  }
}

std::string Client::connect(int port) {
  m_handle = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int on = 1;
  if (m_handle == -1 ||
      ::connect(m_handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1 ||
      ::setsockopt(m_handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == -1 ||
      ::fcntl(m_handle, F_SETFL, O_NONBLOCK) == -1) {
    return "cannot connect to 127.0.0.1:" + std::to_string(port) + ": " + std::strerror(errno);
  }
  return "";
}

// --- The dialogue ---

/// Different for every session of every load, so that a value of another session would show.
std::string Client::value(int number) const {
  return "v" + std::to_string(::getpid()) + '-' + std::to_string(m_number) + '-' +
         std::to_string(number);
}

std::string Client::line(int number) const {
  if (number > m_lines) {
    return "quit";
  }
  if (number == 1) {
    return "get mine";  // which nobody has set, not even the previous session
  }
  switch (number % 4) {
    case kSet:
      return "set mine " + value(number);
    case kGet:
      return "get mine";
    case kEcho:
      return "echo " + value(number) + "  says hello ";
    default:
      return "upper " + value(number);
  }
}

std::string Client::reply_to(int number) const {
  const std::string count = std::to_string(number);
  if (number > m_lines) {
    return "bye " + count;
  }
  if (number == 1) {
    return "error 1 no value called 'mine'";
  }
  switch (number % 4) {
    case kSet:
      return "ok " + count;
    case kGet:
      return "ok " + count + ' ' + value(number - 1);
    case kEcho:
      return "ok " + count + ' ' + value(number) + "  says hello ";
    default: {
      std::string upper = value(number);
      upper[0] = 'V';
      return "ok " + count + ' ' + upper;
    }
  }
}

// --- Sending ---

void Client::begin() {
  while (m_added < m_lines && m_added < m_pipeline) {
    add_line();
  }
  send();
}

void Client::quit() {
  add_line();
  send();
}

void Client::add_line() {
  ++m_added;
  m_out += line(m_added) + '\n';
  m_sent.push_back(Clock::now());
}

void Client::send() {
  while (wants_to_send()) {
    const ssize_t count = ::send(m_handle, m_out.data(), m_out.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      m_out.erase(0, static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR) {
      m_broken = true;  // replies may still be there to read
    }
  }
}

// --- Receiving ---

void Client::work() {
  receive();
  send();
}

void Client::receive() {
  char bytes[16384];
  while (!m_closed) {
    const ssize_t count = ::recv(m_handle, bytes, sizeof bytes, 0);
    if (count > 0) {
      m_in.append(bytes, static_cast<std::size_t>(count));
      std::size_t begin = 0;
      for (std::size_t end; (end = m_in.find('\n', begin)) != std::string::npos; begin = end + 1) {
        take(m_in.substr(begin, end - begin));
      }
      m_in.erase(0, begin);
      if (!m_problem.empty()) {
        m_in.clear();
        end();
      }
    } else if (count == -1 && errno == EAGAIN) {
      return;
    } else if (count == 0 || errno != EINTR) {
      m_reset = count == -1;
      end();
    }
  }
}

void Client::take(const std::string& reply) {
  const std::string expected = !m_greeted             ? std::string(kGreeting)
                               : m_answered < m_added ? reply_to(m_answered + 1)
                                                      : std::string("nothing");
  if (reply != expected) {
    if (m_problem.empty()) {  // the first problem says most
      m_problem = "session " + std::to_string(m_number) + " expects '" + expected + "', not '" +
                  reply + "'";
    }
    return;
  }
  if (!m_greeted) {
    m_greeted = true;
    return;
  }
  const std::chrono::duration<float, std::milli> latency = Clock::now() - m_sent.front();
  m_latencies.push_back(latency.count());
  m_sent.pop_front();
  ++m_answered;
  ++m_replies;
  if (m_added < m_lines) {
    add_line();
  }
}

void Client::end() {
  m_closed = true;
  ::close(m_handle);  // the server waits for this
  m_handle = -1;
  if (!m_in.empty() && m_problem.empty()) {
    m_problem =
        "session " + std::to_string(m_number) + " ends with the part of a reply '" + m_in + "'";
  }
}

}  // namespace session_server
