// 05: an environment for each session, with the default one behind it, and script variables.
#include <fwbase/fwbase.h>
#include <fwbase/values.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

using fwbase::IFWBase;
using fwbase::IGlobalEnv;

namespace {

// An object that environments hold: they store and give copies, so no two threads share one.
class Basket : public IGlobalEnv::IObject {
 public:
  void put(const std::string& thing) { m_things += (m_things.empty() ? "" : ", ") + thing; }

  const char* describe() const override { return m_things.c_str(); }
  IObject* clone() const override { return new Basket(*this); }
  void release() override { delete this; }

 private:
  std::string m_things;
};

// The copy that get_obj() gives belongs to the caller, who ends it with release().
struct Release {
  void operator()(IGlobalEnv::IObject* object) const { object->release(); }
};
using Copy = std::unique_ptr<IGlobalEnv::IObject, Release>;

Copy basket_of(IGlobalEnv& env) {
  IGlobalEnv::IObject* copy = nullptr;
  env.get_obj("basket", &copy);  // leaves null where there is none
  return Copy(copy);
}

struct Session {
  const char* user;
};

// A request looks up its values in the environment of its session.
void show(const Session& session) {
  // The key of an environment is just an address; a key without an environment gives the default
  // one.
  IGlobalEnv* const env =
      IFWBase::instance()->global_env(const_cast<void*>(static_cast<const void*>(&session)));
  const Copy basket = basket_of(*env);
  std::printf("%s: currency %s, tax %s, basket: %s\n", session.user,
              env->get_str("currency").c_str(), env->get_str("tax").c_str(),
              basket ? basket->describe() : "none");
}

// A session's address is also the key of its script variables.
void show_visits(Session& session) {
  std::int32_t visits = 0;
  const ec::EC result = fwbase::get_env(&session, "visits", visits);
  std::printf("%s: visits %d (%s)\n", session.user, visits, ec::name(result));
}

}  // namespace

int main() {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;

  // For everybody: the default environment.
  fw->global_env()->insert_str("currency", "EUR");
  fw->global_env()->insert_str("tax", "20 %");

  Session ann{"Ann"}, bob{"Bob"}, eve{"Eve"};
  IGlobalEnv *anns = nullptr, *bobs = nullptr;
  if (ec::failed(fw->create_global_env(anns, &ann))) return 1;
  if (ec::failed(fw->create_global_env(bobs, &bob))) return 1;

  // A session may have a name that the default environment also has: it hides the default one's
  // value.
  anns->insert_str("currency", "USD");

  // A name that only the default environment has is found, but can be changed only there.
  const ec::EC refused = bobs->mod_str("tax", "0 %");
  std::printf("tax for Bob: %s: %s\n", ec::name(refused), ec::text(refused));

  // The environment stores a copy; our object stays ours, and its changes have no effect there.
  Basket basket;
  basket.put("apples");
  anns->insert_obj("basket", &basket);
  basket.put("pears");

  show(ann);
  show(bob);
  show(eve);  // has no environment

  // Another copy in place of the stored one.
  anns->mod_obj("basket", &basket);
  show(ann);

  // A change for everybody is seen at once.
  fw->global_env()->mod_str("tax", "19 %");
  show(bob);

  if (ec::failed(fwbase::set_env(&ann, "visits", 3))) return 1;
  show_visits(ann);

  // The end of a session: its environment releases its objects and is deleted. A look-up of its key
  // then gives the default environment. Its script variables go as well: another session may get
  // this address.
  fw->destroy_global_env(&ann);
  if (ec::failed(fwbase::drop_environment(&ann))) return 1;
  show(ann);
  show_visits(ann);

  // Ends Bob's environment, too.
  fw->release();
}
