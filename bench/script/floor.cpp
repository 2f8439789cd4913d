// What the machine costs: virtual calls with arguments that lie there already. The second row also
// takes a reader-writer lock for writing again after each call, as an engine must that several
// threads use and that does not hold its lock while a host's function runs.
#include <pthread.h>

#include <cstdint>

#include "bench/script/caller.h"

namespace fwbase::bench {

namespace {

struct Argument {
  std::int64_t number;
  const char* text;
};

class Function {
 public:
  virtual ~Function() = default;
  virtual int call(const Argument* arguments, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      keep(arguments[i]);
    }
    return 0;
  }
};

class NoLock {
 public:
  void take() {}
  void give() {}
};

class WriteLock {
 public:
  void take() { ::pthread_rwlock_wrlock(&m_lock); }
  void give() { ::pthread_rwlock_unlock(&m_lock); }

 private:
  pthread_rwlock_t m_lock = PTHREAD_RWLOCK_INITIALIZER;
};

template <typename Lock>
class RecordedCalls : public Caller {
 public:
  RecordedCalls(Arguments arguments, int registered) {
    const std::size_t count = arguments == Arguments::kNone      ? 0
                              : arguments == Arguments::kTwoInts ? 2
                                                                 : 1;
    for (int i = 0; i < registered; ++i) {
      m_functions.push_back(std::make_unique<Function>());
    }
    for (int i = 0; i < kCalls; ++i) {
      const auto function = static_cast<std::size_t>(called_function(i, registered));
      m_calls.push_back({m_functions[function].get(),
                         std::vector<Argument>(count, {BENCH_FIRST_INT, BENCH_TEXT})});
    }
  }

  void run() override {
    m_lock.take();
    for (const Call& call : m_calls) {
      m_lock.give();
      keep(call.function->call(call.arguments.data(), call.arguments.size()));
      m_lock.take();
    }
    m_lock.give();
  }

 private:
  struct Call {
    Function* function;
    std::vector<Argument> arguments;
  };

  Lock m_lock;
  std::vector<std::unique_ptr<Function>> m_functions;
  std::vector<Call> m_calls;
};

template <typename Lock>
std::unique_ptr<Caller> make(Arguments arguments, int registered) {
  return std::make_unique<RecordedCalls<Lock>>(arguments, registered);
}

const RegisterCaller bare("virtual call", Role::kFloor, make<NoLock>);
const RegisterCaller locked("virtual call, lock given back", Role::kOther, make<WriteLock>);

}  // namespace

}  // namespace fwbase::bench
