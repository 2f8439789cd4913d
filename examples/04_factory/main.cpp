// 04: a factory that lends modules from a pool, and modules that are found by number.
#include <fwbase/fwbase.h>
#include <fwbase/module.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

using fwbase::IFWBase;
using fwbase::IMM;

namespace {

// What the pool lends: a line to somewhere, expensive to set up.
class Line : public IMM::IBase {
 public:
  explicit Line(int number) : m_number(number) {}

  ec::EC init(void* arg) override {
    m_peer = static_cast<const char*>(arg);
    std::printf("line %d: to %s\n", m_number, m_peer.c_str());
    return ec::MM_OK;
  }

  // A module that a factory made does not delete itself: the factory takes it back after this.
  void release() override { std::printf("line %d: hangs up on %s\n", m_number, m_peer.c_str()); }

  int number() const { return m_number; }

 private:
  const int m_number;
  std::string m_peer;
};

// A factory is a module, too: the module manager creates and destroys it. Its operations are called
// under the manager's lock, one at a time, and need no lock of their own.
class LinePool : public IMM::IFactory {
 public:
  ec::EC init(void* arg) override {
    const int lines = *static_cast<const int*>(arg);
    for (int number = lines; number > 0; --number) {
      m_lines.push_back(std::make_unique<Line>(number));
      m_free.push_back(m_lines.back().get());
    }
    return ec::MM_OK;
  }

  void release() override {
    std::printf("pool: %zu of %zu lines are back\n", m_free.size(), m_lines.size());
    delete this;
  }

  // Null: there is none. The manager calls init() of what this gives.
  IMM::IBase* create() override {
    if (m_free.empty()) return nullptr;
    Line* const line = m_free.back();
    m_free.pop_back();
    return line;
  }

  // After the module's release(), or when its init() failed.
  void destroy(IMM::IBase* module) override { m_free.push_back(static_cast<Line*>(module)); }

 private:
  std::vector<std::unique_ptr<Line>> m_lines;
  std::vector<Line*> m_free;
};

}  // namespace

// A creation function with a name of its own. A library would export it; here the host passes it.
FWBASE_MODULE_AS(LinePool, create_line_pool)

int main() {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;
  IMM* const mm = fw->mm();

  // The manager only takes modules from factories that it knows.
  IMM::IBase* module = nullptr;
  int lines = 2;
  if (ec::failed(mm->create_module(module, &create_line_pool, &lines))) return 1;
  auto* const pool = static_cast<IMM::IFactory*>(module);

  // From the factory: create(), then init() with the argument.
  char ann[] = "Ann", bob[] = "Bob", eve[] = "Eve";
  IMM::IBase *to_ann = nullptr, *to_bob = nullptr, *to_eve = nullptr;
  mm->create_module(to_ann, pool, ann);
  mm->create_module(to_bob, pool, bob);
  const ec::EC refused = mm->create_module(to_eve, pool, eve);
  std::printf("line to Eve: %s: %s\n", ec::name(refused), ec::text(refused));

  // A destroyed module goes back to its factory, through release() and the factory's destroy(); so
  // the next module gets line 1.
  mm->destroy_module(to_ann);
  mm->create_module(to_eve, pool, eve);

  // Numbers for modules: chosen by the host, or handed out from 65,537 on.
  mm->create_mid(7, to_bob);
  const unsigned int eves = mm->auto_create_mid(to_eve);
  std::printf("7 is line %d, %u is line %d\n", static_cast<Line*>(mm->query_mid(7))->number(), eves,
              static_cast<Line*>(mm->query_mid(eves))->number());

  // A number stays when its module goes: take it back first, or it leads to nothing.
  mm->destroy_mid(7);
  mm->destroy_module(to_bob);
  std::printf("7 is %s\n", mm->query_mid(7) == nullptr ? "free" : "taken");

  // Hands the lines that are left back to the pool, then ends the pool.
  fw->release();
}
