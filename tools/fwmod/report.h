// What the library's process finds, in memory that it shares with fwmod.
#ifndef FWMOD_REPORT_H
#define FWMOD_REPORT_H

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fwbase/imm.h>

namespace fwmod {

/// How far the process has come; what it was doing when it ended.
enum class Step : int {
  kStarting,          ///< nothing of the library has run
  kLoading,           ///< its static constructors run
  kCreating,          ///< its creation function, then the module's init()
  kRunning,           ///< the threads that the module started
  kProductCreating,   ///< the factory's create(), then the product's init()
  kProductReleasing,  ///< the product's release(), then the factory's destroy()
  kReleasing,         ///< the module's release()
  kReleased,          ///< its threads come to their end; what it left behind is looked at
  kUnloading,         ///< its static destructors run
  kDone
};

/// The length of the longest part of `text` that fits and does not end within a character.
std::size_t fitting(std::string_view text, std::size_t room);

/// The first `Most` texts of any number, each cut when it is too long.
// cppcheck-suppress noConstructor  ; the memory it is made in is all zeros
template <std::size_t Most>
class Texts {
 public:
  /// False when it is not among the first.
  bool add(std::string_view text) {
    const unsigned int index = m_count++;
    if (index < Most) {
      Text& added = m_texts[index];
      text.copy(added.bytes, fitting(text, sizeof added.bytes - 1));
      added.is_set = 1;
    }
    return index < Most;
  }
  std::size_t count() const { return m_count; }
  std::vector<std::string> get() const {
    std::vector<std::string> texts;
    for (const Text& text : m_texts) {
      if (text.is_set != 0) {
        texts.emplace_back(text.bytes, strnlen(text.bytes, sizeof text.bytes));
      }
    }
    return texts;
  }

 private:
  struct Text {
    std::atomic<int> is_set;
    char bytes[2048];
  };
  std::atomic<unsigned int> m_count;
  std::array<Text, Most> m_texts;
};

/// Begins as zero bytes. A library that closes descriptors or writes to them does not reach it, and
/// what is in it survives the process. Nothing in it is trusted to end or to make sense.
struct Report {
  std::atomic<Step> step;
  // Set by the module manager between the creation and init(): they tell which of both ran.
  fwbase::IMM::IBase* module;
  fwbase::IMM::IBase* product;
  Texts<1> fault;
  Texts<256> left;   ///< what the module left behind
  Texts<16> logged;  ///< messages at ERROR
};

/// What ran when the process ended, such as "in init()". `function` is the creation function.
std::string place(const Report& report, const std::string& function);

/// How the library's process writes into the report. Any thread may; a copy of the process that the
/// library makes with fork() writes nothing.
class Findings {
 public:
  /// function   the name of the creation function
  Findings(Report& report, std::string function)
      : m_report(report), m_function(std::move(function)), m_process(getpid()) {}

  Report& report() { return m_report; }
  const std::string& function() const { return m_function; }

  void step(Step step);
  /// What runs now, such as "in init()".
  std::string place() const { return fwmod::place(m_report, m_function); }

  /// The library is faulty: ends the process. Of two threads the first has its say.
  [[noreturn]] void fault(const std::string& text);
  /// Inside of a catch block: what was thrown, or the end of the thread, is a fault.
  [[noreturn]] void exception();
  void left(const std::string& text);
  /// A message of the run log, in whatever encoding.
  void logged(const std::string& message);

 private:
  bool is_copy() const { return getpid() != m_process; }

  Report& m_report;
  const std::string m_function;
  const pid_t m_process;
};

/// Inside of a catch block: the exception's type and text, such as
/// `std::runtime_error: "no such host"`.
std::string current_exception_text();

/// A C++ name as it is written in sources; other names as they are.
std::string demangled(const char* name);

}  // namespace fwmod

#endif
