// What a recorded call hands to its host function.
#ifndef FWBASE_SCRIPT_CALL_ARGUMENTS_H
#define FWBASE_SCRIPT_CALL_ARGUMENTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <fwbase/iscript.h>

#include "fwbase/script/script_types.h"

namespace fwbase::script {

/// The arguments of a run's calls, one call after the other: the slots, the texts that they point
/// to, and the name for the result, all copied.
///
/// One piece of memory holds them: the slots, then the addresses of the texts of variables, which
/// have pieces of their own, then the bytes of all other texts. A small one is kept for the next
/// call.
class CallArguments {
 public:
  CallArguments() = default;
  ~CallArguments() { free_variables(); }
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  /// Begins with a call: the name for the result is copied, and all slots are 0. False when memory
  /// ran out.
  bool begin(const Fun& call);

  /// Ends with it: slots and texts are gone.
  void end();

  void set_int(std::size_t i, std::int32_t value) { m_memory[i].int_value = value; }

  /// `text` is that of an argument of the call.
  void set_literal(std::size_t i, const std::string& text) {
    m_memory[i].string_value = append(text);
  }

  /// False when memory ran out.
  bool set_variable(std::size_t i, const std::string& text);

  const IScript::VValue* slots() const { return m_memory.get(); }
  const char* ret() const { return m_ret; }  // null for none

 private:
  bool reserve(std::size_t slots);
  const char* append(const std::string& text) {
    char* const copy = m_texts;
    std::memcpy(copy, text.c_str(), text.size() + 1);
    m_texts += text.size() + 1;
    return copy;
  }
  void free_variables();

  std::unique_ptr<IScript::VValue[]> m_memory;
  std::size_t m_capacity = 0;  // in slots, as all sizes here
  IScript::VValue* m_variables = nullptr;
  std::size_t m_variable_count = 0;
  char* m_texts = nullptr;  // where the next one goes
  const char* m_ret = nullptr;
};

}  // namespace fwbase::script

#endif
