// An environment of the library: one per registry, with a key of its own.
#include "bench/environments/registry.h"
#include "bench/facade.h"
#include "bench/names.h"

namespace fwbase::bench {

namespace {

class Environment : public Registry {
 public:
  explicit Environment(bool with_parent) : m_with_parent(with_parent) {
    require(facade().create_global_env(m_environment, this));
    if (with_parent) {  // with nothing of a former one
      facade().global_env()->release();
      require(facade().global_env()->init());
    }
  }
  ~Environment() override { facade().destroy_global_env(this); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  void add(const char* name, const char* value) override {
    IGlobalEnv* const filled = m_with_parent ? facade().global_env() : m_environment;
    require(filled->insert_str(name, value));
  }

  void look_up(const std::vector<const char*>& names, std::size_t first, long count) override {
    in_turn(names, first, count, [this](const char* name) {
      const char* value = nullptr;
      m_environment->get_str(name, value);
      keep(value);
    });
  }

 private:
  static IFWBase& facade() { return *IFWBase::instance(); }

  const bool m_with_parent;
  IGlobalEnv* m_environment = nullptr;
};

}  // namespace

std::unique_ptr<Registry> make_environment(bool with_parent) {
  return std::make_unique<Environment>(with_parent);
}

}  // namespace fwbase::bench
