// Variables are in hash tables: one for the global variables, one for each environment that has
// any.
#include "fwbase/script/values.h"

#include <algorithm>
#include <map>
#include <utility>

namespace fwbase::script {

namespace {

Value made(IScript::VType type, const void* data) {
  Value value;
  value.type = type;
  if (type == IScript::VT_INT) {
    value.number = *static_cast<const std::int32_t*>(data);
  } else if (type == IScript::VT_STRING) {
    value.text = *static_cast<const std::string*>(data);
  }
  return value;
}

}  // namespace

IScript::VType ValueTable::set(std::string_view name, IScript::VType type, const void* data) {
  Value value = made(type, data);
  const auto found = m_values.find(name);
  if (found != m_values.end()) {
    value.is_of_file = found->second.is_of_file;
    std::swap(found.value(), value);
    return value.type;
  }
  m_values.emplace(name, std::move(value));
  return IScript::VT_INT;
}

void ValueTable::bring(std::string_view name, Value value) {
  value.is_of_file = true;
  const auto found = m_values.find(name);
  if (found != m_values.end()) {
    found.value() = std::move(value);
  } else {
    m_values.emplace(name, std::move(value));
  }
}

void ValueTable::replace_brought(NamedValues& brought) {
  for (const auto& [name, value] : m_values) {
    const auto found = brought.find(name);
    if (found == brought.end() && !value.is_of_file) {
      brought.emplace(name, value);
    } else if (found != brought.end() && found->second.type == value.type) {
      found.value() = value;
      found.value().is_of_file = true;
    }
  }
  m_values.swap(brought);
}

Access ValueTable::get(std::string_view name, IScript::VType type, void* out) const {
  const Value* const value = find(name);
  if (value == nullptr) {
    return Access::kNotFound;
  }
  if (value->type != type) {
    return Access::kOtherType;
  }
  if (type == IScript::VT_INT) {
    *static_cast<std::int32_t*>(out) = value->number;
  } else if (type == IScript::VT_STRING) {
    *static_cast<std::string*>(out) = value->text;
  } else {
    return Access::kNoValue;
  }
  return Access::kOk;
}

const Value* ValueTable::find(std::string_view name) const {
  const auto found = m_values.find(name);
  return found != m_values.end() ? &found->second : nullptr;
}

bool ValueTable::remove(std::string_view name) {
  const auto found = m_values.find(name);
  if (found == m_values.end()) {
    return false;
  }
  m_values.erase(found);
  return true;
}

std::vector<const std::pair<std::string, Value>*> ValueTable::sorted() const {
  std::vector<const std::pair<std::string, Value>*> all;
  all.reserve(m_values.size());
  for (const auto& variable : m_values) {
    all.push_back(&variable);
  }
  std::sort(all.begin(), all.end(), [](auto* a, auto* b) { return a->first < b->first; });
  return all;
}

// A new table is filled before it is published, so that a failure leaves no empty one.
IScript::VType Values::set(std::string_view name, IScript::VType type, const void* data,
                           void* env) {
  const auto found = m_environments.find(env);
  if (found != m_environments.end()) {
    return found.value().set(name, type, data);
  }
  ValueTable table;
  const IScript::VType before = table.set(name, type, data);
  m_environments.emplace(env, std::move(table));
  return before;
}

std::optional<ValueTable> Values::take(void* env) {
  const auto found = m_environments.find(env);
  if (found == m_environments.end()) {
    return std::nullopt;
  }
  std::optional<ValueTable> taken(std::move(found.value()));
  m_environments.erase(found);
  return taken;
}

Access Values::get(std::string_view name, IScript::VType type, void* out, void* env) const {
  const ValueTable* const table = of(env);
  return table != nullptr ? table->get(name, type, out) : Access::kNoTable;
}

const ValueTable* Values::of(void* env) const {
  const auto found = m_environments.find(env);
  return found != m_environments.end() ? &found->second : nullptr;
}

std::vector<IScript::VType> ValueTable::unknown_types() const {
  std::map<std::string_view, IScript::VType> unknown;
  for (const auto& [name, value] : m_values) {
    if (value.type != IScript::VT_INT && value.type != IScript::VT_STRING) {
      unknown.emplace(name, value.type);
    }
  }
  std::vector<IScript::VType> types;
  for (const auto& [name, type] : unknown) {
    types.push_back(type);
  }
  return types;
}

std::vector<IScript::VType> Values::unknown_types() const {
  std::map<void*, std::vector<IScript::VType>> unknown;
  for (const auto& [env, table] : m_environments) {
    if (auto of_table = table.unknown_types(); !of_table.empty()) {
      unknown.emplace(env, std::move(of_table));
    }
  }
  std::vector<IScript::VType> types = m_global.unknown_types();
  for (const auto& [env, of_table] : unknown) {
    types.insert(types.end(), of_table.begin(), of_table.end());
  }
  return types;
}

}  // namespace fwbase::script
