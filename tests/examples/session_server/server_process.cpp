#include "tests/examples/session_server/server_process.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace fwbase::test {

std::string server_script() { return read_file(SESSION_SERVER_SCRIPT); }

ServerProcess::ServerProcess(const std::vector<std::string>& options, const std::string& script,
                             rlim_t descriptors)
    : m_arguments{SESSION_SERVER,
                  "--module",
                  SESSION_MODULE,
                  "--script",
                  m_directory.path("server.xml"),
                  "--log",
                  m_directory.path("server.log")},
      m_descriptors(descriptors) {
  m_arguments.insert(m_arguments.end(), options.begin(), options.end());
  write_file(m_directory.path("server.xml"), script);
  start();
}

ServerProcess::~ServerProcess() {
  if (m_pid != -1) {
    ::kill(m_pid, SIGKILL);
    wait();
  }
}

void ServerProcess::start() {
  int ends[2];
  if (::pipe(ends) == -1) {
    throw std::runtime_error("pipe failed");
  }
  std::vector<char*> arguments;
  for (std::string& argument : m_arguments) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  m_pid = ::fork();
  if (m_pid == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
    if (m_descriptors != RLIM_INFINITY) {
      const rlimit limit = {m_descriptors, m_descriptors};
      ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  ::close(ends[1]);
  m_output = ends[0];
  std::string line;
  for (char c; ::read(m_output, &c, 1) == 1 && c != '\n';) {
    line += c;
  }
  const std::string expected = "listening on 127.0.0.1:";
  if (line.compare(0, expected.size(), expected) != 0) {
    throw std::runtime_error("the server has not started: '" + line + "'");
  }
  m_port = std::stoi(line.substr(expected.size()));
}

int ServerProcess::stop() {
  ::kill(m_pid, SIGTERM);
  return wait();
}

int ServerProcess::wait() {
  int status = 0;
  ::waitpid(m_pid, &status, 0);
  ::close(m_output);
  m_pid = -1;
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void ServerProcess::reload(const std::string& script) {
  write_file(m_directory.path("server.xml"), script);
  ::kill(m_pid, SIGHUP);
}

std::string ServerProcess::counter(const std::string& name) const {
  const std::string script = read_file(m_directory.path("server.xml"));
  const std::string before = "name=\"" + name + "\" type=\"string\" value=\"";
  const std::size_t begin = script.find(before);
  return begin == std::string::npos
             ? "(missing)"
             : script.substr(begin + before.size(),
                             script.find('"', begin + before.size()) - begin - before.size());
}

TestClient::TestClient(const ServerProcess& server)
    : m_handle(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(server.port()));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(m_handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1) {
    ::close(m_handle);
    throw std::runtime_error("cannot connect");
  }
}

bool TestClient::send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::send(m_handle, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count == -1) {
      return false;
    }
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

std::string TestClient::line() {
  for (;;) {
    const std::size_t end = m_read.find('\n');
    if (end != std::string::npos) {
      const std::string found = m_read.substr(0, end);
      m_read.erase(0, end + 1);
      return found;
    }
    char bytes[4096];
    const ssize_t count = ::recv(m_handle, bytes, sizeof bytes, 0);
    if (count <= 0) {
      return count == 0 ? "(closed)" : "(reset)";
    }
    m_read.append(bytes, static_cast<std::size_t>(count));
  }
}

bool TestClient::ends_within(std::chrono::milliseconds time) {
  pollfd event = {m_handle, POLLIN, 0};
  char byte = 0;
  return ::poll(&event, 1, static_cast<int>(time.count())) == 1 &&
         ::recv(m_handle, &byte, 1, MSG_PEEK) <= 0;
}

std::string TestClient::ask(const std::string& text) {
  return send(text + "\n") ? line() : "(not sent)";
}

void TestClient::end_output() { ::shutdown(m_handle, SHUT_WR); }

void TestClient::close() {
  if (m_handle != -1) {
    ::close(m_handle);
    m_handle = -1;
  }
}

void TestClient::vanish() {
  const linger reset = {1, 0};
  ::setsockopt(m_handle, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  close();
}

}  // namespace fwbase::test
