// The load program: opens all sessions, then sends lines in all of them at once, checks every
// reply, and reports how fast the replies came.
#include <signal.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "../command_line.h"
#include "../console.h"
#include "client.h"

namespace {

using session_server::Client;

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

constexpr const char* kUsage = R"(usage: session_load --port N [OPTION...]

Opens sessions at the session server on 127.0.0.1, sends lines in all of them at once and checks
every reply. Exit status 1 on any wrong reply.

  --sessions N         sessions at the same time (1000)
  --lines N            lines of each session (100)
  --pipeline N         lines that a session may send before their replies have come (1)
  --until-closed       wait until the server closes the sessions, at any time
  --terminate PID      send SIGTERM to this process ...
  --after N            ... when N replies have come (0)
  --timeout-seconds N  give up when nothing comes for so long (60)
  --help               this text
)";

void complain(const std::string& message) { session_server::complain("session_load", message); }

struct Options {
  int port = 0;
  int sessions = 1000;
  int lines = 100;
  int pipeline = 1;
  bool until_closed = false;
  int terminate = 0;
  int after = 0;
  int timeout_seconds = 60;
  bool help = false;
};

std::string parse(int argc, char** argv, Options& options) {
  session_server::CommandLine line;
  line.number("--port", options.port, 1, 65535);
  line.number("--sessions", options.sessions, 1, 100000);
  line.number("--lines", options.lines, 1, 1000000);
  line.number("--pipeline", options.pipeline, 1, 1000000);
  line.flag("--until-closed", options.until_closed);
  line.number("--terminate", options.terminate, 1, 0x7FFFFFFF);
  line.number("--after", options.after, 0, 0x7FFFFFFF);
  line.number("--timeout-seconds", options.timeout_seconds, 1, 3600);
  line.flag("--help", options.help);
  const std::string problem = line.parse(argc, argv);
  return problem.empty() && !options.help && options.port == 0 ? "option --port is missing"
                                                               : problem;
}

/// All clients, on one epoll descriptor.
class Load {
 public:
  explicit Load(const Options& options) : m_options(options), m_epoll(::epoll_create1(0)) {}
  ~Load() { ::close(m_epoll); }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  /// Throws std::runtime_error when anything other than a reply is wrong.
  void run();

  /// Prints figures; false when a reply was wrong or is missing.
  bool report() const;

 private:
  void connect();
  void wait_until(const std::function<bool(const Client&)>& done);
  void work(Client& client);
  void terminate_server();

  const Options m_options;
  const int m_epoll;
  std::vector<std::unique_ptr<Client>> m_clients;
  long m_replies = 0;
  bool m_terminated = false;
  double m_seconds = 0;
};

void Load::run() {
  connect();
  wait_until([](const Client& client) { return client.greeted(); });
  const Client::Clock::time_point start = Client::Clock::now();
  for (const auto& client : m_clients) {
    client->begin();
  }
  if (!m_options.until_closed) {
    wait_until([](const Client& client) { return client.answered_all(); });
  } else {
    wait_until([](const Client& client) { return client.closed(); });
  }
  m_seconds = std::chrono::duration<double>(Client::Clock::now() - start).count();
  if (!m_options.until_closed) {
    for (const auto& client : m_clients) {
      client->quit();
    }
    wait_until([](const Client& client) { return client.closed(); });
  }
}

void Load::connect() {
  for (int number = 1; number <= m_options.sessions; ++number) {
    m_clients.push_back(std::make_unique<Client>(number, m_options.lines, m_options.pipeline));
    Client& client = *m_clients.back();
    const std::string problem = client.connect(m_options.port);
    if (!problem.empty()) {
      throw std::runtime_error(problem);
    }
    epoll_event event = {};
    event.events = EPOLLIN | EPOLLOUT | EPOLLET;  // edges: a client works until it must wait
    event.data.ptr = &client;
    if (::epoll_ctl(m_epoll, EPOLL_CTL_ADD, client.handle(), &event) == -1) {
      throw std::runtime_error(std::string("epoll_ctl: ") + std::strerror(errno));
    }
  }
}

// A client that is done stays done, and one that has ended stays ended, so each is checked only
// until then.
void Load::wait_until(const std::function<bool(const Client&)>& done) {
  std::size_t first_waiting = 0;
  std::vector<epoll_event> events(256);
  for (;;) {
    while (first_waiting < m_clients.size() &&
           (done(*m_clients[first_waiting]) || m_clients[first_waiting]->closed())) {
      ++first_waiting;
    }
    if (first_waiting == m_clients.size()) {
      return;
    }
    const int count = ::epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()),
                                   m_options.timeout_seconds * 1000);
    if (count == 0) {
      throw std::runtime_error("nothing has come for " + std::to_string(m_options.timeout_seconds) +
                               " seconds");
    }
    for (int i = 0; i < count; ++i) {
      work(*static_cast<Client*>(events[static_cast<std::size_t>(i)].data.ptr));
    }
  }
}

void Load::work(Client& client) {
  const int before = client.replies();
  client.work();
  m_replies += client.replies() - before;
  if (m_options.terminate != 0 && !m_terminated && m_replies >= m_options.after) {
    terminate_server();
  }
}

void Load::terminate_server() {
  m_terminated = true;
  if (::kill(m_options.terminate, SIGTERM) == -1) {
    throw std::runtime_error("cannot terminate process " + std::to_string(m_options.terminate) +
                             ": " + std::strerror(errno));
  }
}

float percentile(const std::vector<float>& sorted, int percent) {
  if (sorted.empty()) {
    return 0;
  }
  const std::size_t place = sorted.size() * static_cast<std::size_t>(percent) / 100;
  return sorted[std::min(place, sorted.size() - 1)];
}

bool Load::report() const {
  std::vector<float> latencies;
  int wrong = 0;
  int unanswered = 0;
  int resets = 0;
  for (const auto& client : m_clients) {
    latencies.insert(latencies.end(), client->latencies().begin(), client->latencies().end());
    resets += client->reset() ? 1 : 0;
    unanswered += client->answered_all() || client->replies() > m_options.lines ? 0 : 1;
    if (!client->problem().empty() && ++wrong <= 5) {
      complain(client->problem());
    }
  }
  std::sort(latencies.begin(), latencies.end());
  std::printf("sessions %d\nreplies %ld\nlines/s %.0f\n", m_options.sessions, m_replies,
              static_cast<double>(m_replies) / m_seconds);
  std::printf("latency in ms: 50th percentile %.2f, 99th %.2f\n",
              static_cast<double>(percentile(latencies, 50)),
              static_cast<double>(percentile(latencies, 99)));
  if (wrong != 0) {
    complain("wrong replies in " + std::to_string(wrong) + " sessions");
  }
  if (resets != 0) {
    complain(std::to_string(resets) + " connections were reset");
  }
  if (m_options.until_closed) {
    return wrong == 0;
  }
  if (unanswered != 0) {
    complain(std::to_string(unanswered) + " sessions were closed early");
  }
  return wrong == 0 && unanswered == 0 && resets == 0;
}

/// Each session takes a descriptor; a few descriptors are open anyway. Returns an empty string, or
/// what is wrong.
std::string raise_descriptor_limit(int sessions) {
  const rlim_t needed = static_cast<rlim_t>(sessions) + 16;
  rlimit limit;
  if (::getrlimit(RLIMIT_NOFILE, &limit) == -1 || limit.rlim_cur >= needed) {
    return "";
  }
  if (limit.rlim_max < needed) {
    return std::to_string(sessions) + " sessions take " + std::to_string(needed) +
           " descriptors, but the limit (ulimit -Hn) is " + std::to_string(limit.rlim_max);
  }
  limit.rlim_cur = needed;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0
             ? ""
             : std::string("cannot raise the limit of descriptors: ") + std::strerror(errno);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const std::string problem = parse(argc, argv, options);
  if (!problem.empty()) {
    complain(problem + "; --help lists the options");
    return kBadUsage;
  }
  if (options.help) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  try {
    const std::string limit = raise_descriptor_limit(options.sessions);
    if (!limit.empty()) {
      throw std::runtime_error(limit);
    }
    Load load(options);
    load.run();
    return load.report() ? 0 : kFailed;
  } catch (const std::runtime_error& error) {
    complain(error.what());
    return kFailed;
  }
}
