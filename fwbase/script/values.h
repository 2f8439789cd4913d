// The script's variables: the global ones, and those of each environment.
#ifndef FWBASE_SCRIPT_VALUES_H
#define FWBASE_SCRIPT_VALUES_H

#include <tsl/robin_map.h>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fwbase/script/program.h"
#include "support/name_hash.h"

namespace fwbase::script {

/// A variable's value. Data is copied in and out, as IScript describes it.
struct Value {
  IScript::VType type = IScript::VT_INT;
  std::int32_t number = 0;  ///< of a VT_INT
  std::string text;         ///< of a VT_STRING
  bool is_of_file = false;  ///< brought by a loaded file, whoever has set it since
};

/// The value that a file gives a variable.
inline Value value_of(const Variable& variable) {
  return {variable.type, variable.number, std::string(variable.text), true};
}

/// The result of reading a variable.
enum class Access {
  kOk,
  kNoTable,  ///< the environment has no variables
  kNotFound,
  kOtherType,
  kNoValue  ///< the type is neither VT_INT nor VT_STRING: there is nothing to read
};

/// Lies in one piece of memory, with the hashes of the names: a look-up touches little of it.
using NamedValues = tsl::robin_map<std::string, Value, support::NameHash, std::equal_to<>,
                                   std::allocator<std::pair<std::string, Value>>, true>;

/// Variables by name. Not synchronised.
class ValueTable {
 public:
  /// Creates a variable, or replaces its value and its type. A variable that is neither VT_INT nor
  /// VT_STRING has no value. Returns the type that the variable had before, VT_INT for a new one.
  /// Throws std::bad_alloc; then nothing has changed.
  IScript::VType set(std::string_view name, IScript::VType type, const void* data);

  /// Creates or replaces a variable that a file brings. Throws std::bad_alloc; then nothing has
  /// changed.
  void bring(std::string_view name, Value value);

  /// Replaces the variables of all files by the variables of one file. A variable keeps its value
  /// if its type stays the same. Variables that no file has brought stay. Afterwards `brought` has
  /// the old table. Throws std::bad_alloc; then this table has not changed.
  void replace_brought(NamedValues& brought);

  /// Reads a variable into the caller's int or string, which stays as it is on failure.
  Access get(std::string_view name, IScript::VType type, void* out) const;

  /// The value of a variable; null when there is no such variable. Valid until the table changes.
  const Value* find(std::string_view name) const;

  /// Removes a variable. False when there is none.
  bool remove(std::string_view name);

  /// The types of the variables without a value, in the order of their names' bytes.
  std::vector<IScript::VType> unknown_types() const;

  /// All variables, in the order of their names' bytes. Valid until the table changes.
  std::vector<const std::pair<std::string, Value>*> sorted() const;

 private:
  NamedValues m_values;
};

/// The tables of a script engine. Not synchronised.
class Values {
 public:
  ValueTable& global() { return m_global; }
  const ValueTable& global() const { return m_global; }

  /// ValueTable::set() in an environment, whose table is made by the first write.
  IScript::VType set(std::string_view name, IScript::VType type, const void* data, void* env);

  /// Takes an environment's table out; nothing when it has none.
  std::optional<ValueTable> take(void* env);

  /// ValueTable::get() in an environment, never in the global table.
  Access get(std::string_view name, IScript::VType type, void* out, void* env) const;

  /// The variables of an environment; null when it has none.
  const ValueTable* of(void* env) const;

  /// The types of all variables without a value: the global ones, then those of each environment,
  /// in the order of their addresses.
  std::vector<IScript::VType> unknown_types() const;

 private:
  ValueTable m_global;
  tsl::robin_map<void*, ValueTable, support::AddressHash> m_environments;
};

}  // namespace fwbase::script

#endif
