// Running a section: its calls in order, each with the arguments of this run's environment.
//
// A run holds the program that it began with, and no lock. Meanwhile other runs may go on,
// variables may change, files may be loaded, and the host may even release the engine. So the run
// looks up variables and functions anew for each call.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "fwbase/runlog/runlog.h"
#include "fwbase/script/loaded_program.h"

namespace fwbase {

using script::Fun;
using script::Program;
using script::Reference;
using script::Section;
using script::Value;
using script::ValueTable;
using script::XmlFuncRule;
using support::ReadGuard;

namespace {

constexpr std::int32_t kSucceeded = 1;
constexpr std::int32_t kFailed = 2;

/// Notes how a call ended. A call has failed unless it is noted as successful, since it may throw.
class Outcome {
 public:
  explicit Outcome(std::atomic<std::int32_t>& state) : m_state(state) {}
  ~Outcome() {
    if (m_state.load(std::memory_order_relaxed) != m_result) {
      m_state.store(m_result, std::memory_order_relaxed);
    }
  }
  Outcome(const Outcome&) = delete;
  Outcome& operator=(const Outcome&) = delete;

  void succeeded() { m_result = kSucceeded; }

 private:
  std::atomic<std::int32_t>& m_state;
  std::int32_t m_result = kFailed;
};

// A host's object may have lost its name.
bool is_named(IScript::ISyntax& function, const char* name) {
  const char* const own = function.name();
  return own != nullptr && std::strcmp(own, name) == 0;
}

}  // namespace

/// One run: its environment, and memory for arguments that are values of variables. All calls of
/// the run use that memory in turn.
class CScript::Run {
 public:
  Run(const CScript& engine, void* env) : m_engine(engine), m_env(env), m_outer(innermost) {
    innermost = this;
  }
  ~Run() { innermost = m_outer; }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// The environment of the innermost run of an engine on this thread.
  static void* environment(const CScript& engine) {
    const Run* run = innermost;
    while (run != nullptr && &run->m_engine != &engine) {
      run = run->m_outer;
    }
    return run != nullptr ? run->m_env : nullptr;
  }

  /// The arguments of a call, good until the next. Throws std::bad_alloc.
  const VValue* arguments(const Program& program, const Fun& call) {
    const VValue* const ready = program.arguments.data() + call.first_argument;
    return call.reference_count == 0 ? ready : filled_in(program, call, ready);
  }

 private:
  static constexpr std::size_t kUsualArguments = 256;

  const VValue* filled_in(const Program& program, const Fun& call, const VValue* ready) {
    const std::size_t count = program.called[call.function]->params.size();
    VValue* const slots = room_for(count);
    std::copy_n(ready, count, slots);
    const Reference* const first = program.references.data() + call.first_reference;
    const Reference* const last = first + call.reference_count;
    m_texts.clear();
    {
      const ReadGuard guard(m_engine.m_lock);
      const ValueTable* const table = m_engine.m_values.of(m_env);
      for (const Reference* one = first; one != last; ++one) {
        read(table, *one, slots[one->argument]);
      }
    }
    for (const Reference* one = first; one != last; ++one) {
      if (one->type == VT_STRING) {
        place_text(slots[one->argument]);
      }
    }
    return slots;
  }

  VValue* room_for(std::size_t count) {
    if (count <= m_slots.size()) {
      return m_slots.data();
    }
    m_more_slots.resize(count);
    return m_more_slots.data();
  }

  // A variable that cannot be read is logged; its argument is 0 or empty and the call is made. A
  // text's slot holds its place among the texts until all of them are there.
  void read(const ValueTable* table, const Reference& reference, VValue& slot) {
    const Value* const value =
        table != nullptr ? table->find({reference.name, reference.name_size}) : nullptr;
    const bool is_readable = value != nullptr && value->type == reference.type;
    if (!is_readable) {
      using script::Access;
      m_engine.report(table == nullptr   ? Access::kNoTable
                      : value == nullptr ? Access::kNotFound
                                         : Access::kOtherType,
                      reference.name, reference.type, m_env);
    }
    if (reference.type == VT_STRING) {
      if (m_texts.size() > INT32_MAX) {
        throw std::bad_alloc();
      }
      slot.int_value = static_cast<std::int32_t>(m_texts.size());
      m_texts.append(is_readable ? value->text : std::string_view());
      m_texts.push_back('\0');
    } else if (is_readable) {
      slot.int_value = value->number;
    }
  }

  void place_text(VValue& slot) { slot.string_value = m_texts.data() + slot.int_value; }

  static thread_local const Run* innermost;

  const CScript& m_engine;
  void* const m_env;
  const Run* const m_outer;
  std::array<VValue, kUsualArguments> m_slots;
  std::vector<VValue> m_more_slots;
  std::string m_texts;
};

thread_local const CScript::Run* CScript::Run::innermost = nullptr;

ec::EC CScript::execute(void*) { return ec::SCRIPT_OK; }

ec::EC CScript::exec_scommad(const char* section, void* env) {
  if (section == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(section));
    return ec::SCRIPT_E_PARAM;
  }
  unsigned int releases = 0;
  const FoundSection found = find_section(section, releases);
  return found.section != nullptr ? exec_section(found, releases, env) : ec::SCRIPT_E_SECTION;
}

CScript::FoundSection CScript::find_section(const char* name, unsigned int& releases) const {
  const ReadGuard guard(m_lock);
  releases = m_releases;
  const auto found = m_sections.find(name);
  return found != m_sections.end() ? found->second : FoundSection();
}

ec::EC CScript::exec_section(const FoundSection& found, unsigned int releases, void* env) {
  LoadedProgram& loaded = *found.program;
  const Program& program = loaded.program;
  Run run(*this, env);
  ec::EC result = ec::SCRIPT_OK;
  for (std::uint32_t i = 0; i < found.section->call_count; ++i) {
    const std::uint32_t number = found.section->first_call + i;
    const Fun& call = program.calls[number];
    const VValue* arguments = nullptr;
    try {
      arguments = run.arguments(program, call);
    } catch (const std::bad_alloc&) {
      RUN_LOG(ERROR, "分配内存失败\n");
      return ec::SCRIPT_NO_MEMORY;
    }
    Outcome outcome(loaded.states[number]);
    ISyntax* const function =
        function_of(*program.called[call.function], loaded.bindings[call.function]);
    result = function != nullptr ? function->call(arguments, env, call.ret) : ec::SCRIPT_NO_FUNC;
    if (m_releases != releases) {
      return ec::SCRIPT_E_SECTION;
    }
    if (ec::failed(result)) {
      return result;
    }
    outcome.succeeded();
  }
  return result;
}

std::vector<int> CScript::states(const char* section) const {
  unsigned int releases = 0;
  const FoundSection found = find_section(section, releases);
  if (found.section == nullptr) {
    return {};
  }
  const std::atomic<std::int32_t>* const first =
      found.program->states.get() + found.section->first_call;
  return {first, first + found.section->call_count};
}

ec::EC CScript::Call_Fun(const char* name, const VValue* args, const char* ret) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(name));
    return ec::SCRIPT_E_PARAM;
  }
  ISyntax* function = nullptr;
  {
    const ReadGuard guard(m_lock);
    function = find_function(name);
  }
  return function != nullptr ? function->call(args, Run::environment(*this), ret)
                             : ec::SCRIPT_NO_FUNC;
}

IScript::ISyntax* CScript::find_function(const char* name) const {
  // The function that was registered last wins, so the search begins at the end.
  const auto found = std::find_if(m_syntaxes.rbegin(), m_syntaxes.rend(),
                                  [name](ISyntax* syntax) { return is_named(*syntax, name); });
  if (found == m_syntaxes.rend()) {
    RUN_LOG(ERROR, "不存在的脚本函数:(%s)", name);
    return nullptr;
  }
  return *found;
}

IScript::ISyntax* CScript::function_of(const XmlFuncRule& rule, Binding& binding) const {
  const char* const name = rule.name.c_str();
  if (binding.registrations.load(std::memory_order_acquire) == m_registrations) {
    ISyntax* const known = binding.function.load(std::memory_order_relaxed);
    if (is_named(*known, name)) {
      return known;
    }
  }
  const ReadGuard guard(m_lock);
  ISyntax* const found = find_function(name);
  if (found != nullptr) {
    binding.function.store(found, std::memory_order_relaxed);
  }
  binding.registrations.store(found != nullptr ? m_registrations.load() : 0,
                              std::memory_order_release);
  return found;
}

}  // namespace fwbase
