#include "fwbase/script/call_arguments.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace fwbase::script {

namespace {

using VValue = IScript::VValue;

// In slots. Nearly every call needs less than the first; memory above the second is not kept.
constexpr std::size_t kLeast = 64;
constexpr std::size_t kMostKept = 512;

// Of the name for the result and all literal texts, in bytes.
std::size_t text_size(const Fun& call) {
  std::size_t size = call.ret.empty() ? 0 : call.ret.size() + 1;
  for (const Parament& param : call.params) {
    size += param.data.string_value ? param.data.string_value->size() + 1 : 0;
  }
  return size;
}

constexpr std::size_t slots_for(std::size_t bytes) {
  return (bytes + sizeof(VValue) - 1) / sizeof(VValue);
}

}  // namespace

bool CallArguments::begin(const Fun& call) {
  const std::size_t count = call.params.size();
  if (!reserve(2 * count + slots_for(text_size(call)))) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    m_memory[i].string_value = nullptr;  // that is all of the slot
  }
  m_variables = m_memory.get() + count;
  m_texts = reinterpret_cast<char*>(m_variables + count);
  m_ret = call.ret.empty() ? nullptr : append(call.ret);
  return true;
}

void CallArguments::end() {
  free_variables();
  if (m_capacity > kMostKept) {
    m_memory.reset();
    m_capacity = 0;
  }
}

bool CallArguments::set_variable(std::size_t i, const std::string& text) {
  char* const copy = new (std::nothrow) char[text.size() + 1];
  if (copy == nullptr) {
    return false;
  }
  std::memcpy(copy, text.c_str(), text.size() + 1);
  m_memory[i].string_value = copy;
  m_variables[m_variable_count++].string_value = copy;
  return true;
}

bool CallArguments::reserve(std::size_t slots) {
  if (m_memory && slots <= m_capacity) {
    return true;
  }
  m_memory.reset();  // first, so that there is room for the larger one
  m_capacity = std::max(slots, kLeast);
  m_memory.reset(new (std::nothrow) VValue[m_capacity]);
  return m_memory != nullptr;
}

void CallArguments::free_variables() {
  while (m_variable_count > 0) {
    delete[] m_variables[--m_variable_count].string_value;
  }
}

}  // namespace fwbase::script
