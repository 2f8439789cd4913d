// Follows a log with fwlog while processes write it through many rotations: each record comes once,
// and those of one process come in their order.
//
// usage: rotations FWLOG RECORDS PROCESSES
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;

constexpr int kRecordsOfToken = 500;
// How far the writers may be ahead of the reader: about two files.
constexpr int kTokensAtStart = 40;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "rotations: %s\n", what.c_str());
  std::exit(1);
}

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe(ends) != 0) fail("no pipe");
    reading = ends[0];
    writing = ends[1];
  }
  int reading;
  int writing;
};

// The number, so many bytes that a file takes about 10,000 records, and lines within it.
std::string message_of(long number) {
  return std::to_string(number) + " " + std::string(400, 'x') + "\r\n second line\n third " +
         std::string(400, 'y') + "\n";
}

void write_records(const std::string& path, long records, int tokens) {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init()) || ec::failed(fw->runlog()->file(path.c_str()))) fail("no log");
  fw->runlog()->type(IRunLog::ERROR);
  fw->runlog()->info(IRunLog::INFO_PID);
  for (long number = 0; number < records; ++number) {
    char token = 0;
    if (number % kRecordsOfToken == 0 && read(tokens, &token, 1) != 1) fail("no token");
    fw->runlog()->write(IRunLog::ERROR, message_of(number).c_str(), "");
  }
}

// Holds the writing end of `alive` until it ends.
pid_t start_writer(const std::string& path, long records, const Pipe& tokens, const Pipe& alive) {
  const pid_t child = fork();
  if (child == 0) {
    close(tokens.writing);
    close(alive.reading);
    write_records(path, records, tokens.reading);
    _exit(0);
  }
  return child;
}

pid_t start_fwlog(const char* fwlog, const std::string& path, const Pipe& output) {
  const pid_t child = fork();
  if (child == 0) {
    dup2(output.writing, STDOUT_FILENO);
    close(output.reading);
    close(output.writing);
    execl(fwlog, fwlog, "--follow", "--output", "json", path.c_str(), nullptr);
    _exit(127);
  }
  return child;
}

long number_behind(const std::string& line, const char* name) {
  const std::size_t at = line.find(name);
  if (at == std::string::npos) fail("a line without " + std::string(name) + ": " + line);
  return std::strtol(line.c_str() + at + std::string(name).size(), nullptr, 10);
}

constexpr char kEnd[] = "[NULL ]: \r\n >end\n";  // behind the last record of the writers

// What came of each process: records are numbered from 0.
class Arrived {
 public:
  void take(const std::string& line) {
    if (line.ends_with("\"message\":\"end\"}")) {
      m_is_at_end = true;
      return;
    }
    if (m_is_at_end) fail("behind the end: " + line);
    const long pid = number_behind(line, "\"pid\":");
    const long number = number_behind(line, "\"message\":\"");
    if (line.find(std::string(400, 'y') + "\"}") == std::string::npos) fail("cut: " + line);
    long& next = m_next[pid];
    if (number != next) {
      fail("record " + std::to_string(number) + " of process " + std::to_string(pid) +
           " came instead of " + std::to_string(next) + ": " + line.substr(0, 200));
    }
    ++next;
    ++m_count;
  }
  long count() const { return m_count; }
  bool is_at_end() const { return m_is_at_end; }

 private:
  std::map<long, long> m_next;
  long m_count = 0;
  bool m_is_at_end = false;
};

// Takes what fwlog prints up to the end, which is written when the writers have ended: a record
// that is lost is not waited for.
Arrived follow(const std::string& path, const Pipe& output, const Pipe& tokens, const Pipe& alive) {
  Arrived arrived;
  std::string bytes;
  std::vector<char> block(1 << 16);
  pollfd waited[] = {{output.reading, POLLIN, 0}, {alive.reading, POLLIN, 0}};
  while (!arrived.is_at_end()) {
    if (poll(waited, 2, -1) < 0) fail("no poll");
    if (waited[1].revents != 0) {
      std::ofstream(path, std::ios::binary | std::ios::app) << kEnd;
      waited[1].fd = -1;
    }
    if (waited[0].revents == 0) continue;
    const ssize_t got = read(output.reading, block.data(), block.size());
    if (got <= 0) fail("fwlog ended after " + std::to_string(arrived.count()) + " records");
    bytes.append(block.data(), static_cast<std::size_t>(got));
    std::size_t begin = 0;
    for (std::size_t end; (end = bytes.find('\n', begin)) != std::string::npos; begin = end + 1) {
      arrived.take(bytes.substr(begin, end - begin));
      const bool is_token_due = !arrived.is_at_end() && arrived.count() % kRecordsOfToken == 0;
      if (is_token_due && write(tokens.writing, "", 1) != 1) fail("no token");
    }
    bytes.erase(0, begin);
  }
  return arrived;
}

int wait_for(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) fail("usage: rotations FWLOG RECORDS PROCESSES");
  const int processes = std::atoi(argv[3]);
  const long each = std::atol(argv[2]) / processes;
  const long records = each * processes;
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("host.log");

  const Pipe output;
  const pid_t fwlog = start_fwlog(argv[1], path, output);
  close(output.writing);
  const Pipe tokens;
  for (int i = 0; i < kTokensAtStart; ++i) {
    if (write(tokens.writing, "", 1) != 1) fail("no token");
  }
  std::vector<pid_t> writers;
  const Pipe alive;
  for (int i = 0; i < processes; ++i) {
    writers.push_back(start_writer(path, each, tokens, alive));
  }
  close(alive.writing);

  const Arrived arrived = follow(path, output, tokens, alive);
  if (arrived.count() != records) fail(std::to_string(arrived.count()) + " records came");
  for (const pid_t writer : writers) {
    if (wait_for(writer) != 0) fail("a writer failed");
  }
  kill(fwlog, SIGINT);
  char more = 0;
  if (read(output.reading, &more, 1) != 0) fail("more than was written");
  const int status = wait_for(fwlog);
  if (status != 0) fail("fwlog ended with status " + std::to_string(status));
  std::printf("%ld records of %d processes, each once and in order\n", records, processes);
  return 0;
}
