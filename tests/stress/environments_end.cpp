// environments_end COUNT: environments come and go, as sessions do. The process may have hardly
// more memory after COUNT of them than after the first 100,000.
#include <fwbase/fwbase.h>
#include <fwbase/values.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>

namespace {

constexpr long kFirst = 100000;
constexpr std::size_t kAtATime = 1000;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "environments_end: %s\n", what);
  std::exit(1);
}

void require(bool good, const char* what) {
  if (!good) {
    fail(what);
  }
}

long resident_bytes() {
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  long pages = 0;
  require(file != nullptr && std::fscanf(file, "%*s %ld", &pages) == 1, "no /proc/self/statm");
  std::fclose(file);
  return pages * sysconf(_SC_PAGESIZE);
}

/// Each environment has an address that none had before, as far as addresses last.
class Environments {
 public:
  void make(long number) {
    void* const env = reinterpret_cast<void*>(static_cast<std::uintptr_t>(number) * 64);
    require(ec::succeeded(fwbase::set_env(env, "number", static_cast<std::int32_t>(number))) &&
                ec::succeeded(fwbase::set_env(env, "text", std::string(number % 200, 'x'))),
            "a variable cannot be set");
    m_there.push_back(env);
    if (m_there.size() > kAtATime) {
      end_oldest();
    }
  }

  void end_all() {
    while (!m_there.empty()) {
      end_oldest();
    }
  }

 private:
  void end_oldest() {
    require(fwbase::drop_environment(m_there.front()) == ec::SCRIPT_OK, "it cannot be dropped");
    m_there.pop_front();
  }

  std::deque<void*> m_there;
};

}  // namespace

int main(int argc, char** argv) {
  const long count = argc == 2 ? std::atol(argv[1]) : 0;
  require(count > kFirst, "usage: environments_end COUNT, of more than 100,000");
  require(ec::succeeded(fwbase::IFWBase::instance()->init()), "init()");
  Environments environments;
  long number = 1;
  for (; number <= kFirst; ++number) {
    environments.make(number);
  }
  const long before = resident_bytes();
  const std::size_t heap_before = mallinfo2().uordblks;
  for (; number <= count; ++number) {
    environments.make(number);
  }
  const long after = resident_bytes();
  const std::size_t heap_after = mallinfo2().uordblks;
  environments.end_all();
  fwbase::IFWBase::instance()->release();
  std::printf("after %ld environments: %ld bytes resident, %zu allocated; after %ld: %ld, %zu\n",
              kFirst, before, heap_before, count, after, heap_after);
  require(after <= before + before / 100, "the memory has grown by more than 1 %");
  require(heap_after <= heap_before + heap_before / 100, "the heap has grown by more than 1 %");
  return 0;
}
