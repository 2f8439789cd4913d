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
    std::swap(found->second, value);
    return value.type;
  }
  m_values.emplace(name, std::move(value));
  return IScript::VT_INT;
}

void ValueTable::bring(std::string_view name, Value value) {
  value.is_of_file = true;
  const auto found = m_values.find(name);
  if (found != m_values.end()) {
    found->second = std::move(value);
  } else {
    m_values.emplace(name, std::move(value));
  }
}

// With room for all of them, moving them over takes no memory.
void ValueTable::replace_brought(NamedValues& brought) {
  m_values.reserve(m_values.size() + brought.size());
  std::erase_if(m_values, [&](const auto& variable) {
    return variable.second.is_of_file && !brought.contains(variable.first);
  });
  while (!brought.empty()) {
    auto variable = brought.extract(brought.begin());
    variable.mapped().is_of_file = true;
    const auto found = m_values.find(variable.key());
    if (found == m_values.end()) {
      m_values.insert(std::move(variable));
    } else if (found->second.type != variable.mapped().type) {
      found->second = std::move(variable.mapped());
    } else {
      found->second.is_of_file = true;
    }
  }
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

std::vector<const std::pair<const std::string, Value>*> ValueTable::sorted() const {
  std::vector<const std::pair<const std::string, Value>*> all;
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
    return found->second.set(name, type, data);
  }
  ValueTable table;
  const IScript::VType before = table.set(name, type, data);
  m_environments.emplace(env, std::move(table));
  return before;
}

std::optional<ValueTable> Values::take(void* env) {
  auto taken = m_environments.extract(env);
  return taken.empty() ? std::nullopt : std::optional(std::move(taken.mapped()));
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
