#include <fwbase/values.h>

ec::EC set_all(void* env) {
  const char* const text = "text";
  for (const ec::EC result :
       {fwbase::set("a", 1), fwbase::set("a", "text"), fwbase::set("a", text),
        fwbase::set("a", std::string("text")), fwbase::set_env(env, "a", 1),
        fwbase::set_env(env, "a", "text"), fwbase::set_env(env, "a", std::string("text"))}) {
    if (ec::failed(result)) return result;
  }
#ifdef DOUBLE
  return fwbase::set("a", 3.7);
#elif defined TRUTH
  return fwbase::set("a", true);
#elif defined NOTHING
  return fwbase::set("a", nullptr);
#elif defined WIDE
  return fwbase::set("a", 1L);
#elif defined ENV_DOUBLE
  return fwbase::set_env(env, "a", 3.7);
#elif defined ENV_TRUTH
  return fwbase::set_env(env, "a", true);
#elif defined ENV_NOTHING
  return fwbase::set_env(env, "a", nullptr);
#elif defined READ_INTO_LONG
  long value = 0;
  return fwbase::get("a", value);
#elif defined READ_INTO_CHARACTERS
  char value[8];
  return fwbase::get("a", value);
#else
  return ec::SCRIPT_OK;
#endif
}
