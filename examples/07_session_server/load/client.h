// One client of the load program: the lines that it sends, and the replies that must come back.
#ifndef SESSION_SERVER_CLIENT_H
#define SESSION_SERVER_CLIENT_H

#include <chrono>
#include <deque>
#include <string>
#include <vector>

namespace session_server {

/// A connection with a known dialogue: the greeting, `lines` lines with one reply each, and "quit"
/// when asked to. Every reply is compared with the expected one, so the order counts as well. All
/// clients set and get values of the same name, and no value occurs twice.
class Client {
 public:
  using Clock = std::chrono::steady_clock;

  Client(int number, int lines, int pipeline);
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Connects, and waits until the connection is made. Returns an empty string or what failed.
  std::string connect(int port);

  /// Lets the client send: `pipeline` lines at first, then one for each reply.
  void begin();
  /// Sends "quit", the last line.
  void quit();

  /// Reads what has arrived, and sends what is ready to send.
  void work();

  int handle() const { return m_handle; }
  bool greeted() const { return m_greeted; }
  bool answered_all() const { return m_answered == m_lines; }
  bool wants_to_send() const { return !m_closed && !m_broken && !m_out.empty(); }
  /// The server has closed the connection, or sent a wrong reply.
  bool closed() const { return m_closed; }
  /// A reset ended the connection: replies may have been lost.
  bool reset() const { return m_reset; }
  /// Replies to lines that came and were right, "quit" included.
  int replies() const { return m_replies; }
  const std::vector<float>& latencies() const { return m_latencies; }  ///< in milliseconds
  /// Empty, or what was wrong with a reply.
  const std::string& problem() const { return m_problem; }

 private:
  std::string line(int number) const;
  std::string reply_to(int number) const;
  std::string value(int number) const;
  void add_line();
  void receive();
  void take(const std::string& reply);
  void send();
  void end();

  const int m_number;
  const int m_lines;
  const int m_pipeline;
  int m_handle = -1;
  bool m_greeted = false;
  bool m_closed = false;
  bool m_broken = false;  ///< nothing more can be sent
  bool m_reset = false;
  int m_added = 0;
  int m_answered = 0;
  int m_replies = 0;
  std::deque<Clock::time_point> m_sent;
  std::string m_in;
  std::string m_out;
  std::vector<float> m_latencies;
  std::string m_problem;
};

}  // namespace session_server

#endif
