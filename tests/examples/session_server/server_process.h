// A session server that runs, and clients for it.
#ifndef FWBASE_TESTS_EXAMPLES_SESSION_SERVER_SERVER_PROCESS_H
#define FWBASE_TESTS_EXAMPLES_SESSION_SERVER_SERVER_PROCESS_H

#include <chrono>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/types.h>

#include "tests/harness/temp_dir.h"

namespace fwbase::test {

/// The script of the example, as it stands there.
std::string server_script();

/// Runs the server in a directory of its own until stop(), or until the test ends. Throws
/// std::runtime_error when it does not come up. `descriptors` is the limit that it has for them.
class ServerProcess {
 public:
  explicit ServerProcess(const std::vector<std::string>& options = {},
                         const std::string& script = server_script(),
                         rlim_t descriptors = RLIM_INFINITY);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  int port() const { return m_port; }
  pid_t pid() const { return m_pid; }

  /// Starts it again with the script as it is, after stop().
  void start();
  /// Sends SIGTERM and waits. The exit status; 128 and the signal's number when a signal ended it.
  int stop();
  int wait();

  /// Writes another script to its file and sends SIGHUP.
  void reload(const std::string& script);

  /// A counter as the script has it.
  std::string counter(const std::string& name) const;
  std::string log() const { return read_file(m_directory.path("server.log")); }

 private:
  const TempDir m_directory;
  std::vector<std::string> m_arguments;
  const rlim_t m_descriptors;
  pid_t m_pid = -1;
  int m_output = -1;
  int m_port = 0;
};

/// A connection to a server; blocking. Throws std::runtime_error when it cannot connect.
class TestClient {
 public:
  explicit TestClient(const ServerProcess& server);
  ~TestClient() { close(); }
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;

  /// False when the connection is broken.
  bool send(const std::string& bytes);
  /// The next line without its end; "(closed)" at the end of the connection, "(reset)" when it was
  /// reset.
  std::string line();
  /// True when the server ends the connection before this time is over, with nothing left to read.
  bool ends_within(std::chrono::milliseconds time);
  /// Sends a line and gives the next one.
  std::string ask(const std::string& text);
  /// Says that nothing more will be sent.
  void end_output();
  void close();
  /// Closes so that the server meets a reset.
  void vanish();

 private:
  int m_handle;
  std::string m_read;
};

}  // namespace fwbase::test

#endif
