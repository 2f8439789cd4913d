// Global environments, one with a parent, beside a model of maps.
//
// Input: a program, a byte for each operation and its arguments behind it.
#include <cstdint>
#include <map>
#include <string>

#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"
#include "fwbase/global_env/global_env.h"

namespace {

using fwbase::CGlobalEnvImpl;
using fwbase::IGlobalEnv;
using fwbase::fuzz::Input;

// Counts the copies that live, so that none is lost and none is released twice.
class Object : public IGlobalEnv::IObject {
 public:
  Object(int number, bool can_be_copied) : m_number(number), m_can_be_copied(can_be_copied) {
    ++live;
  }
  ~Object() override { --live; }

  IObject* clone() const override { return m_can_be_copied ? new Object(m_number, true) : nullptr; }
  void release() override { delete this; }

  int number() const { return m_number; }

  static int live;

 private:
  const int m_number;
  const bool m_can_be_copied;
};

int Object::live = 0;

struct Tables {
  std::map<std::string, std::string> strings;
  std::map<std::string, void*> addresses;
  std::map<std::string, int> objects;
};

template <typename Table>
const typename Table::mapped_type* find_in(const Table& table, const char* name) {
  const auto found = name != nullptr ? table.find(name) : table.end();
  return found != table.end() ? &found->second : nullptr;
}

// In the table of a child, else in that of its parent.
template <typename Table>
const typename Table::mapped_type* find_in(const Table& own, const Table* parents,
                                           const char* name) {
  const auto* const found = find_in(own, name);
  return found != nullptr || parents == nullptr ? found : find_in(*parents, name);
}

class EnvRun {
 public:
  ~EnvRun() {
    m_child.release();
    m_parent.release();
    FUZZ_CHECK(Object::live == 0);
  }

  void step(Input& input) {
    const bool is_child = input.flag();
    IGlobalEnv& env = is_child ? m_child : m_parent;
    Tables& tables = is_child ? m_child_tables : m_parent_tables;
    const std::string buffer = input.bytes(input.below(4)).c_str();
    const char* const name = input.below(16) == 0 ? nullptr : buffer.c_str();
    switch (input.below(4)) {
      case 0:
        change_string(input, env, tables.strings, name);
        break;
      case 1:
        change_address(input, env, tables.addresses, name);
        break;
      case 2:
        change_object(input, env, tables.objects, name);
        break;
      default:
        if (input.below(8) == 0) release(env, tables);
    }
    check(env, tables, is_child ? &m_parent_tables : nullptr, name);
    FUZZ_CHECK(Object::live ==
               static_cast<int>(m_child_tables.objects.size() + m_parent_tables.objects.size()));
  }

 private:
  // What an insertion or a change of an entry must give.
  template <typename Table>
  static ec::EC expected(const Table& table, const char* name, bool has_value, bool insertion,
                         ec::EC exists, ec::EC not_found) {
    if (name == nullptr || !has_value) return ec::GENV_BAD_PARAM;
    const bool found = table.count(name) != 0;
    return found == !insertion ? ec::GENV_OK : insertion ? exists : not_found;
  }

  static void change_string(Input& input, IGlobalEnv& env,
                            std::map<std::string, std::string>& table, const char* name) {
    const unsigned int way = input.below(5);
    const std::string text = std::string(input.text().c_str());
    const char* const value = input.below(16) == 0 ? nullptr : text.c_str();
    if (way == 4) {
      env.rm_str(name);
      if (name != nullptr) table.erase(name);
      return;
    }
    const ec::EC code = expected(table, name, value != nullptr, way == 0, ec::GENV_STR_EXISTS,
                                 ec::GENV_STR_NOT_FOUND);
    FUZZ_CHECK(code == (way == 0   ? env.insert_str(name, value)
                        : way == 1 ? env.mod_str(name, value)
                                   : env.ex_str(name, value, way == 2)));
    if (ec::failed(code)) return;
    std::string& stored = table[name];
    stored = way == 2 ? stored + text : way == 3 ? text + stored : text;
  }

  static void change_address(Input& input, IGlobalEnv& env, std::map<std::string, void*>& table,
                             const char* name) {
    const unsigned int way = input.below(3);
    void* const value = reinterpret_cast<void*>(static_cast<std::uintptr_t>(input.byte()));
    if (way == 2) {
      env.rm_addr(name);
      if (name != nullptr) table.erase(name);
      return;
    }
    const ec::EC code =
        expected(table, name, true, way == 0, ec::GENV_ADDR_EXISTS, ec::GENV_ADDR_NOT_FOUND);
    FUZZ_CHECK(code == (way == 0 ? env.insert_addr(name, value) : env.mod_addr(name, value)));
    if (ec::succeeded(code)) table[name] = value;
  }

  // An object that cannot be copied is refused; where it was to replace one, that one is gone.
  static void change_object(Input& input, IGlobalEnv& env, std::map<std::string, int>& table,
                            const char* name) {
    const unsigned int way = input.below(3);
    const int number = static_cast<int>(input.byte());
    if (way == 2) {
      env.rm_obj(name);
      if (name != nullptr) table.erase(name);
      return;
    }
    const bool is_null = number % 16 == 0;
    const bool can_be_copied = number % 8 != 1;
    const Object object(number, can_be_copied);
    const Object* const value = is_null ? nullptr : &object;
    const ec::EC code =
        expected(table, name, !is_null, way == 0, ec::GENV_OBJ_EXISTS, ec::GENV_OBJ_NOT_FOUND);
    const bool copies = ec::succeeded(code);
    FUZZ_CHECK((way == 0 ? env.insert_obj(name, value) : env.mod_obj(name, value)) ==
               (copies && !can_be_copied ? ec::GENV_BAD_PARAM : code));
    if (!copies) return;
    if (can_be_copied) {
      table[name] = number;
    } else {
      table.erase(name);
    }
  }

  static void release(IGlobalEnv& env, Tables& tables) {
    env.release();
    tables = Tables();
  }

  static void check(IGlobalEnv& env, const Tables& own, const Tables* parents, const char* name) {
    const auto code = [name](const void* found, ec::EC not_found) {
      return name == nullptr ? ec::GENV_BAD_PARAM : found != nullptr ? ec::GENV_OK : not_found;
    };
    const auto* const text = find_in(own.strings, parents ? &parents->strings : nullptr, name);
    const char* chars = "untouched";
    FUZZ_CHECK(env.get_str(name, chars) == code(text, ec::GENV_STR_NOT_FOUND));
    FUZZ_CHECK(chars == (text != nullptr ? *text : std::string("untouched")));
    FUZZ_CHECK(env.get_str(name) == (text != nullptr ? *text : std::string()));

    const auto* const address =
        find_in(own.addresses, parents ? &parents->addresses : nullptr, name);
    void* pointer = &chars;
    FUZZ_CHECK(env.get_addr(name, pointer) == code(address, ec::GENV_ADDR_NOT_FOUND));
    FUZZ_CHECK(pointer == (address != nullptr ? *address : &chars));
    FUZZ_CHECK(env.get_addr(name) == (address != nullptr ? *address : nullptr));

    const auto* const number = find_in(own.objects, parents ? &parents->objects : nullptr, name);
    IGlobalEnv::IObject* copy = nullptr;
    FUZZ_CHECK(env.get_obj(name, &copy) == code(number, ec::GENV_OBJ_NOT_FOUND));
    FUZZ_CHECK((copy != nullptr) == (number != nullptr));
    if (copy != nullptr) {
      FUZZ_CHECK(static_cast<Object*>(copy)->number() == *number);
      copy->release();
    }
  }

  CGlobalEnvImpl m_parent{nullptr};
  CGlobalEnvImpl m_child{&m_parent};
  Tables m_parent_tables;
  Tables m_child_tables;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  EnvRun run;
  while (!input.at_end()) run.step(input);
  return 0;
}
