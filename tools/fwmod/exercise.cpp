// Plays the host of the module. Each call of the module manager is a step with requirements.
#include "exercise.h"

#include <map>
#include <set>

#include "command_line/result_code.h"
#include "command_line/text.h"
#include "process_state.h"

namespace fwmod {

namespace {

using fwbase::IMM;

// A class that was compiled without type information has none in its table.
bool has_type_information(const IMM::IBase* module) {
  const void* const* const vtable = static_cast<const void* const*>(vtable_of(module));
  return vtable != nullptr && vtable[-1] != nullptr;
}

class Exercise {
 public:
  Exercise(const Library& library, IMM& manager, void* argument, Findings& findings)
      : m_library(library), m_manager(manager), m_argument(argument), m_findings(findings) {}

  // Returns what exercise() does.
  bool run(RecordedFacade& facade) {
    create();
    wait_for_quiet_threads(m_threads);
    if (has_type_information(m_report.module)) {
      if (auto* const factory = dynamic_cast<IMM::IFactory*>(m_report.module)) {
        create_product(*factory);
        release(m_report.product, Step::kProductReleasing);
      }
    }
    release(m_report.module, Step::kReleasing);
    m_findings.step(Step::kReleased);
    wait_for_quiet_threads(m_threads);
    require_descriptors();
    const bool needs_code = facade.list(m_library.segments, m_released);
    return list_process_state() || needs_code;
  }

 private:
  // True when a thread still runs.
  bool list_process_state() const {
    bool any_thread = false;
    for (const auto& [number, name] : running_threads()) {
      if (!m_threads.contains(number)) {
        any_thread = true;
        m_findings.left("thread " + tools::quoted(tools::readable(name)) +
                        ": it still runs, in code that is unloaded; end and join it in release()");
      }
    }
    for (const auto& [number, target] : open_descriptors()) {
      if (!m_descriptors.contains(number)) {
        m_findings.left("descriptor " + std::to_string(number) + " (" + tools::readable(target) +
                        "): it is still open; close it in release()");
      }
    }
    return any_thread;
  }

  // Calls the module manager as a host does. An exception is a fault.
  template <typename Call>
  auto call(Step step, Call call) {
    m_findings.step(step);
    try {
      const ManagerLock lock;
      return call();
    } catch (...) {
      m_findings.exception();
    }
  }

  void create() {
    const std::string& function = m_findings.function();
    const ec::EC result = call(Step::kCreating, [&] {
      return m_manager.create_module(m_report.module, m_library.path.c_str(), function.c_str(),
                                     m_argument);
    });
    if (m_report.module == nullptr) {
      m_findings.fault(result == ec::MM_INIT_FAILED
                           ? function + "() gives null"
                           : "the module manager cannot create it: " + tools::described(result));
    }
    require_success(result, "init()");
    m_findings.step(Step::kRunning);
  }

  void create_product(IMM::IFactory& factory) {
    const ec::EC result = call(Step::kProductCreating, [&] {
      return m_manager.create_module(m_report.product, &factory, m_argument);
    });
    if (m_report.product == nullptr) {
      m_findings.fault("the factory's create() gives null");
    }
    require_success(result, "init() of the factory's module");
    wait_for_quiet_threads(m_threads);
  }

  void require_success(ec::EC result, const char* operation) {
    if (ec::failed(result)) {
      m_findings.fault(std::string(operation) + " fails: " + tools::described(result));
    }
  }

  void release(IMM::IBase* module, Step step) {
    m_released.insert(module);
    if (has_type_information(module)) {
      m_released.insert(dynamic_cast<const void*>(module));
    }
    if (!call(step, [&] { return m_manager.destroy_module(module); })) {
      m_findings.fault("destroys its module before the host does");
    }
  }

  // A module that closed descriptors of its host would cost it its files.
  void require_descriptors() {
    const std::map<int, std::string> now = open_descriptors();
    for (const auto& [number, target] : m_descriptors) {
      const auto found = now.find(number);
      if (found == now.end() || found->second != target) {
        m_findings.fault("closes descriptor " + std::to_string(number) + ", which is the host's");
      }
    }
  }

  const Library& m_library;
  IMM& m_manager;
  void* const m_argument;
  Findings& m_findings;
  Report& m_report = m_findings.report();
  const std::map<int, std::string> m_threads = running_threads();
  const std::map<int, std::string> m_descriptors = open_descriptors();
  std::set<const void*> m_released;
};

}  // namespace

bool exercise(const Library& library, IMM& manager, const std::optional<std::string>& argument,
              RecordedFacade& facade, Findings& findings) {
  void* const init_argument = argument ? const_cast<char*>(argument->c_str()) : nullptr;
  return Exercise(library, manager, init_argument, findings).run(facade);
}

}  // namespace fwmod
