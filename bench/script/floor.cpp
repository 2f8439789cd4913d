// What the machine costs: virtual calls with arguments that lie there already. The second row also
// takes a reader-writer lock for writing again after each call, as an engine must that several
// threads use and that does not hold its lock while a host's function runs. The third one does all
// that this engine promises for a call: it asks the function for its name, and hands it an array
// and texts that are made for the call and freed behind it.
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include "bench/script/caller.h"

namespace fwbase::bench {

namespace {

struct Argument {
  std::int64_t number;
  const char* text;
};

class Function {
 public:
  explicit Function(int number) : m_name(function_name(number)) {}
  virtual ~Function() = default;
  virtual const char* name() { return m_name.c_str(); }
  virtual int call(const Argument* arguments, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      keep(arguments[i]);
    }
    return 0;
  }

 private:
  std::string m_name;
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
      m_functions.push_back(std::make_unique<Function>(i));
    }
    for (int i = 0; i < kCalls; ++i) {
      const auto function = static_cast<std::size_t>(called_function(i, registered));
      m_calls.push_back({m_functions[function].get(), m_functions[function]->name(),
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

 protected:
  struct Call {
    Function* function;
    std::string name;
    std::vector<Argument> arguments;
  };

  Lock m_lock;
  std::vector<std::unique_ptr<Function>> m_functions;
  std::vector<Call> m_calls;
};

class PromisedCalls : public RecordedCalls<WriteLock> {
 public:
  PromisedCalls(Arguments arguments, int registered)
      : RecordedCalls(arguments, registered),
        m_has_text(arguments == Arguments::kText || arguments == Arguments::kTextVariable) {}

  void run() override {
    m_lock.take();
    for (const Call& call : m_calls) {
      const std::size_t count = call.arguments.size();
      const std::unique_ptr<Argument[]> arguments(new (std::nothrow) Argument[count]);
      std::copy_n(call.arguments.data(), count, arguments.get());
      const std::unique_ptr<char[]> text(m_has_text ? copy_of(BENCH_TEXT) : nullptr);
      if (m_has_text) {
        arguments[0].text = text.get();
      }
      keep(std::strcmp(call.function->name(), call.name.c_str()));
      m_lock.give();
      keep(call.function->call(arguments.get(), count));
      m_lock.take();
    }
    m_lock.give();
  }

 private:
  static char* copy_of(const std::string_view text) {
    char* const copy = new (std::nothrow) char[text.size() + 1];
    std::copy_n(text.data(), text.size() + 1, copy);
    return copy;
  }

  const bool m_has_text;
};

template <typename Lock>
std::unique_ptr<Caller> make(Arguments arguments, int registered) {
  return std::make_unique<RecordedCalls<Lock>>(arguments, registered);
}

const RegisterCaller bare("virtual call", Role::kFloor, make<NoLock>);
const RegisterCaller locked("virtual call, lock given back", Role::kOther, make<WriteLock>);
const RegisterCaller promised("virtual call, lock, name, copies", Role::kOther,
                              [](Arguments arguments, int registered) {
                                return std::make_unique<PromisedCalls>(arguments, registered);
                              });

}  // namespace

}  // namespace fwbase::bench
