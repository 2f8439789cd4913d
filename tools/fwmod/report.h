// The findings of the library's process, in memory that it shares with fwmod.
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

/// What the process was doing when it ended.
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

/// The length of the longest part of `text` that fits and ends between characters.
std::size_t fitting(std::string_view text, std::size_t room);

/// Keeps the first `Most` texts, and cuts long ones.
// cppcheck-suppress noConstructor  ; the memory it is made in is all zeros
template <std::size_t Most>
class Texts {
 public:
  /// False when there are `Most` already.
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

/// Begins as zero bytes. It survives the process, and a library that closes descriptors or writes
/// to them does not reach it. Readers trust nothing in it.
struct Report {
  std::atomic<Step> step;
  // The module manager sets them between the creation and init().
  fwbase::IMM::IBase* module;
  fwbase::IMM::IBase* product;
  Texts<1> fault;
  Texts<256> left;   ///< what the module left behind
  Texts<16> logged;  ///< messages at ERROR
};

/// What ran when the process ended, such as "in init()". `function` is that of the creation.
std::string place(const Report& report, const std::string& function);

/// Writes into the report, in the library's process. Any thread may use it. In a child that the
/// library makes with fork() it does nothing.
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

  /// Reports a fault and ends the process. Of several faults the first counts.
  [[noreturn]] void fault(const std::string& text);
  /// In a catch block: reports the exception, or the end of the thread, as a fault.
  [[noreturn]] void exception();
  void left(const std::string& text);
  /// A message of the run log, in any encoding.
  void logged(const std::string& message);

 private:
  bool is_copy() const { return getpid() != m_process; }

  Report& m_report;
  const std::string m_function;
  const pid_t m_process;
};

/// In a catch block: the exception's type and text, such as
/// `std::runtime_error: "no such host"`.
std::string current_exception_text();

/// A C++ name as sources have it; other names as they are.
std::string demangled(const char* name);

}  // namespace fwmod

#endif
