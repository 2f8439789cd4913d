// The module of the session server: the functions that its script calls.
//
// A function that refuses what the client asked for says why in the variable "reason" and fails.
// That ends the section; run() then runs the section that tells the client.
#include <cctype>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fwbase/module.h>

#include "../isession.h"
#include "counters.h"

namespace session_server {
namespace {

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IScript;

constexpr IScript::VType kInt = IScript::VT_INT;
constexpr IScript::VType kText = IScript::VT_STRING;

/// Bounds what one client can make the server keep.
constexpr int kMaxValues = 16;

/// The result of a function that has set "reason". Any number of one's own will do, as long as
/// bit 31 is clear: the facilities from 0x1000 on are not the library's.
constexpr ec::EC kRefused = 0x40000001u;

/// How scripts' names for values are kept apart from other strings of an environment.
const std::string kValuePrefix = "value ";

IScript* script() { return IFWBase::instance()->script(); }

ec::EC set_text(const char* name, const std::string& text, void* env) {
  return script()->set_value_env(name, kText, &text, env);
}

/// Hands a result to the script, unless that wants none.
ec::EC give(const char* ret, const std::string& text, void* env) {
  return ret == nullptr ? ec::SCRIPT_OK : set_text(ret, text, env);
}

ec::EC give(const char* ret, std::int32_t number, void* env) {
  return ret == nullptr ? ec::SCRIPT_OK : script()->set_value_env(ret, kInt, &number, env);
}

ec::EC refuse(const std::string& reason, void* env) {
  const ec::EC result = set_text("reason", reason, env);
  return ec::failed(result) ? result : kRefused;
}

// --- Functions of texts and numbers ---

ec::EC add(const IScript::VValue* args, void* env, const char* ret) {
  // Unsigned, because overflow of signed numbers is undefined.
  const auto sum =
      static_cast<std::uint32_t>(args[0].int_value) + static_cast<std::uint32_t>(args[1].int_value);
  return give(ret, static_cast<std::int32_t>(sum), env);
}

ec::EC length(const IScript::VValue* args, void* env, const char* ret) {
  const std::string text = args[0].string_value;
  return give(ret, static_cast<std::int32_t>(text.size()), env);
}

/// The first word of a text, and what follows the one blank behind it.
std::pair<std::string, std::string> split(const std::string& text) {
  const std::size_t end = text.find(' ');
  return end == std::string::npos ? std::make_pair(text, std::string())
                                  : std::make_pair(text.substr(0, end), text.substr(end + 1));
}

ec::EC first_word(const IScript::VValue* args, void* env, const char* ret) {
  return give(ret, split(args[0].string_value).first, env);
}

ec::EC after_first_word(const IScript::VValue* args, void* env, const char* ret) {
  return give(ret, split(args[0].string_value).second, env);
}

ec::EC upper(const IScript::VValue* args, void* env, const char* ret) {
  std::string text = args[0].string_value;
  for (char& c : text) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return give(ret, text, env);
}

// --- Values of a session, in its global environment ---

/// The session's value of that name, or what the default environment has: a miss goes on there.
/// Both are the same empty string, by its address, when there is none.
ec::EC fetch(const IScript::VValue* args, void* env, const char* ret) {
  const std::string name = args[0].string_value;
  const std::string& value =
      IFWBase::instance()->global_env(env)->get_str((kValuePrefix + name).c_str());
  const std::string& nothing = IFWBase::instance()->global_env()->get_str(nullptr);
  return &value == &nothing ? refuse("no value called '" + name + "'", env) : give(ret, value, env);
}

ec::EC store(const IScript::VValue* args, void* env, const char*) {
  auto* const session = static_cast<ISession*>(env);
  const std::string name = args[0].string_value;
  const char* const value = args[1].string_value;
  if (name.empty()) {
    return refuse("a value needs a name", env);
  }
  const std::string key = kValuePrefix + name;
  IGlobalEnv* const own = IFWBase::instance()->global_env(env);
  // What both find at one address is the default environment's, or nothing at all.
  if (&own->get_str(key.c_str()) != &IFWBase::instance()->global_env()->get_str(key.c_str())) {
    return own->mod_str(key.c_str(), value);
  }
  if (session->values == kMaxValues) {
    return refuse("no more than " + std::to_string(kMaxValues) + " values", env);
  }
  const ec::EC result = own->insert_str(key.c_str(), value);
  session->values += ec::succeeded(result) ? 1 : 0;
  return result;
}

// --- The session itself ---

ec::EC reply(const IScript::VValue* args, void* env, const char*) {
  const std::string text = args[2].string_value;
  std::string line = std::string(args[0].string_value) + ' ' + std::to_string(args[1].int_value);
  if (!text.empty()) {
    line += ' ' + text;
  }
  return static_cast<ISession*>(env)->reply(line) ? ec::SCRIPT_OK
                                                  : refuse("the reply is too long", env);
}

ec::EC quit(const IScript::VValue*, void* env, const char*) {
  static_cast<ISession*>(env)->quit();
  return ec::SCRIPT_OK;
}

// At DUMP, which the server enables when it is asked to. No text of the client's: it could pass
// for a record.
ec::EC record(const IScript::VValue* args, void* env, const char*) {
  const auto* const session = static_cast<ISession*>(env);
  FWBASE_LOG_AT(session, DUMP, "session %llu: %s %d", session->number(), args[0].string_value,
                args[1].int_value);
  return ec::SCRIPT_OK;
}

/// Runs the section "KIND NAME"; when there is none, or when one of its calls fails, another one.
/// Scripts have no conditions: this is how they choose.
ec::EC run(const IScript::VValue* args, void* env, const char*) {
  const std::string section = std::string(args[0].string_value) + ' ' + args[1].string_value;
  const ec::EC result = script()->exec_scommad(section.c_str(), env);
  if (ec::succeeded(result)) {
    return result;
  }
  if (result == ec::SCRIPT_E_SECTION) {
    refuse(std::string("unknown ") + args[0].string_value, env);
  } else if (result != kRefused) {
    refuse(std::string("failed: ") + ec::name(result), env);
  }
  return script()->exec_scommad(args[2].string_value, env);
}

/// For all sessions, by the one module: its functions and their counters live as long as the
/// library.
Counters counters;

ec::EC count(const IScript::VValue* args, void*, const char*) {
  const std::int32_t by = args[1].int_value;
  counters.add(args[0].string_value, by > 0 ? static_cast<std::uint64_t>(by) : 0);
  return ec::SCRIPT_OK;
}

ec::EC store_counters(const IScript::VValue*, void*, const char*) { return counters.store(); }

/// One script function: a name, the types of its parameters, and what it does.
class Function : public IScript::ISyntax {
 public:
  using Body = ec::EC (*)(const IScript::VValue* args, void* env, const char* ret);

  Function(const char* name, std::vector<IScript::VType> types, Body body)
      : m_name(name), m_types(std::move(types)), m_body(body) {}

  const char* name() override { return m_name; }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    return m_body(args, env, ret);
  }

 private:
  const char* const m_name;
  std::vector<IScript::VType> m_types;
  const Body m_body;
};

// Not members of the module: the script engine keeps their addresses beyond the module's end.
Function functions[] = {
    {"add", {kInt, kInt}, add},
    {"length", {kText}, length},
    {"first_word", {kText}, first_word},
    {"after_first_word", {kText}, after_first_word},
    {"upper", {kText}, upper},
    {"fetch", {kText}, fetch},
    {"store", {kText, kText}, store},
    {"reply", {kText, kInt, kText}, reply},
    {"quit", {}, quit},
    {"record", {kText, kInt}, record},
    {"run", {kText, kText, kText}, run},
    {"count", {kText, kInt}, count},
    {"store_counters", {}, store_counters},
};

class SessionFunctions : public IMM::IBase {
 public:
  ec::EC init(void*) override {
    for (Function& function : functions) {
      if (!script()->expand_syntax(&function)) {
        return ec::MM_INIT_FAILED;
      }
    }
    // For all sessions: "get server" finds it, unless the session has set a value of that name.
    const ec::EC stored = IFWBase::instance()->global_env()->insert_str(
        (kValuePrefix + "server").c_str(), "fwbase session server");
    m_stored = ec::succeeded(stored);
    return stored;
  }

  void release() override {
    if (m_stored) {
      IFWBase::instance()->global_env()->rm_str((kValuePrefix + "server").c_str());
    }
    delete this;
  }

 private:
  bool m_stored = false;
};

}  // namespace
}  // namespace session_server

FWBASE_MODULE(session_server::SessionFunctions)
