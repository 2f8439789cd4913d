// slow_disk SECONDS: sixteen threads log through the queue as fast as they can while what they log
// into, a FIFO, is drained slowly. Then the reader goes on at full speed and the library is
// released: every record must have arrived, whole and in its thread's order, and the memory in use
// must have stayed within the bounds of the queue.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <malloc.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 16;
// The queue takes 16 KiB and a record of each thread, ACE 10 KiB for each thread. All records of a
// run would take more. The allocators of sanitizers report nothing here.
constexpr std::size_t kMemoryBound = 1024 * 1024;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "slow_disk: %s\n", what);
  std::_Exit(1);
}

void require(bool good, const char* what) {
  if (!good) {
    fail(what);
  }
}

std::size_t memory_in_use() { return ::mallinfo2().uordblks; }

// Reads the FIFO. Slowly means a few bytes at a time, and only while the FIFO is full.
class Reader {
 public:
  explicit Reader(const std::string& path) : m_descriptor(::open(path.c_str(), O_RDWR)) {
    require(m_descriptor >= 0, "cannot open the FIFO");
    m_size = ::fcntl(m_descriptor, F_SETPIPE_SZ, 16384);
    m_base = memory_in_use();
  }
  ~Reader() { ::close(m_descriptor); }

  void read_slowly(Clock::time_point until) {
    for (long reads = 0; Clock::now() < until; ++reads) {
      int waiting = 0;
      ::ioctl(m_descriptor, FIONREAD, &waiting);
      if (waiting < m_size / 2) {
        std::this_thread::yield();
        continue;
      }
      take(256);
      if (reads % 16 == 0) {
        m_peak = std::max(m_peak, memory_in_use());
      }
    }
  }

  // Up to the closing record.
  void read_to_the_end() {
    while (m_end.find("\nlog system release\n\n") == m_end.npos) {
      take(4096);
    }
    require(m_line.empty(), "the log ends within a line");
  }

  long records() const { return m_records; }
  std::size_t growth() const { return m_peak > m_base ? m_peak - m_base : 0; }

 private:
  void take(std::size_t bytes) {
    char buffer[4096];
    const ssize_t count = ::read(m_descriptor, buffer, bytes);
    require(count > 0, "cannot read the FIFO");
    m_end = (m_end + std::string(buffer, static_cast<std::size_t>(count)));
    m_end.erase(0, m_end.size() - std::min<std::size_t>(m_end.size(), 64));
    for (ssize_t i = 0; i < count; ++i) {
      m_line += buffer[i];
      if (buffer[i] == '\n') {
        take_line();
        m_line.clear();
      }
    }
  }

  // A record is the line "[WARN ]: \r\n" and a line " >thread number\n".
  void take_line() {
    if (m_line == "[WARN ]: \r\n" || m_line[0] != ' ') {
      return;
    }
    int thread = 0;
    long number = 0;
    char end = 0;
    if (std::sscanf(m_line.c_str(), " >%d %ld%c", &thread, &number, &end) != 3) {
      require(m_line == " >\n", "a torn record");
      return;
    }
    require(end == '\n' && thread >= 0 && thread < kThreads, "a torn record");
    long& next = m_next[static_cast<std::size_t>(thread)];
    require(number == next, "records are missing or out of order");
    ++next;
    ++m_records;
  }

  const int m_descriptor;
  int m_size = 0;
  std::size_t m_base = 0;
  std::size_t m_peak = 0;
  std::string m_line;
  std::string m_end;
  std::array<long, kThreads> m_next{};
  long m_records = 0;
};

}  // namespace

int main(int argc, char** argv) {
  require(argc == 2 && std::atoi(argv[1]) > 0, "usage: slow_disk SECONDS");
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("log");
  require(::mkfifo(path.c_str(), 0600) == 0, "cannot make a FIFO");
  IFWBase* const facade = IFWBase::instance();
  require(ec::succeeded(facade->init()), "init()");
  Reader reader(path);
  require(ec::succeeded(facade->runlog()->file(path.c_str())), "file()");
  facade->runlog()->asynch(true);

  std::atomic<bool> stop{false};
  std::atomic<long> written{0};
  std::atomic<long> slowly{0};
  const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  std::thread reading([&] {
    reader.read_slowly(end);
    slowly = written.load();
    stop = true;
    reader.read_to_the_end();
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      for (long number = 0; !stop; ++number) {
        const std::string message = std::to_string(i) + " " + std::to_string(number);
        facade->runlog()->write(IRunLog::WARN, message.c_str(), "");
        ++written;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  facade->release();
  reading.join();

  std::printf("%ld records, %ld of them slowly; %zu bytes in use at most\n", reader.records(),
              slowly.load(), reader.growth());
  require(reader.records() == written.load(), "records are missing");
  require(slowly > kThreads, "nothing was written while the disk was slow");
  require(reader.growth() < kMemoryBound, "memory was not bounded");
  return 0;
}
