// The module of the session server: the functions that its script calls.
//
// A function that refuses a client's request says why in the variable "reason" and fails. This ends
// the section; run() then runs the section that tells the client.
#include <cctype>
#include <cstdint>
#include <string>
#include <utility>

#include <fwbase/function.h>
#include <fwbase/module.h>
#include <fwbase/values.h>

#include "../isession.h"
#include "counters.h"

namespace session_server {
namespace {

using fwbase::Call;
using fwbase::Function;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IScript;
using fwbase::param;

/// Bounds what the server keeps for one client.
constexpr int kMaxValues = 16;

/// The result of a function that has set "reason". Any number outside the library's own will do if
/// bit 31 is clear: the library does not use the facilities from 0x1000 on.
constexpr ec::EC kRefused = 0x40000001u;

/// Keeps the scripts' names for values apart from other strings of an environment.
const std::string kValuePrefix = "value ";

IScript* script() { return IFWBase::instance()->script(); }

ec::EC refuse(const std::string& reason, void* env) {
  const ec::EC result = fwbase::set_env(env, "reason", reason);
  return ec::failed(result) ? result : kRefused;
}

// --- Functions of texts and numbers ---

std::int32_t add(std::int32_t a, std::int32_t b) {
  // Unsigned, because overflow of signed numbers is undefined.
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t length(const std::string& text) { return static_cast<std::int32_t>(text.size()); }

/// The first word of a text, and what follows the one blank after it.
std::pair<std::string, std::string> split(const std::string& text) {
  const std::size_t end = text.find(' ');
  return end == std::string::npos ? std::make_pair(text, std::string())
                                  : std::make_pair(text.substr(0, end), text.substr(end + 1));
}

std::string first_word(const std::string& text) { return split(text).first; }

std::string after_first_word(const std::string& text) { return split(text).second; }

std::string upper(const std::string& text) {
  std::string all = text;
  for (char& c : all) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return all;
}

// --- Values of a session, in its global environment ---

/// The session's value of that name, or that of the default environment, where a miss continues.
/// When neither has one, both look-ups give the same empty string, at the same address.
ec::EC fetch(const Call& call, const std::string& name) {
  const std::string& value =
      IFWBase::instance()->global_env(call.env())->get_str((kValuePrefix + name).c_str());
  const std::string& nothing = IFWBase::instance()->global_env()->get_str(nullptr);
  return &value == &nothing ? refuse("no value called '" + name + "'", call.env())
                            : call.give(value);
}

ec::EC store(const Call& call, const std::string& name, const char* value) {
  void* const env = call.env();
  auto* const session = static_cast<ISession*>(env);
  if (name.empty()) {
    return refuse("a value needs a name", env);
  }
  const std::string key = kValuePrefix + name;
  IGlobalEnv* const own = IFWBase::instance()->global_env(env);
  // A value that both find at one address is the default environment's, or missing.
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

ec::EC reply(const Call& call, const std::string& status, std::int32_t number,
             const std::string& text) {
  const std::string line = status + ' ' + std::to_string(number) + (text.empty() ? "" : ' ' + text);
  return static_cast<ISession*>(call.env())->reply(line)
             ? ec::SCRIPT_OK
             : refuse("the reply is too long", call.env());
}

void quit(const Call& call) { static_cast<ISession*>(call.env())->quit(); }

// At DUMP, which the server enables on request. Without text of the client, which could look like a
// record.
void record(const Call& call, const char* event, std::int32_t number) {
  const auto* const session = static_cast<ISession*>(call.env());
  FWBASE_LOG_AT(session, DUMP, "session %llu: %s %d", session->number(), event, number);
}

/// Runs the section "KIND NAME"; if that does not exist or one of its calls fails, runs another
/// section. Scripts have no conditions, so they choose in this way.
ec::EC run(const Call& call, const std::string& kind, const std::string& name,
           const char* otherwise) {
  const std::string section = kind + ' ' + name;
  const ec::EC result = script()->exec_scommad(section.c_str(), call.env());
  if (ec::succeeded(result)) {
    return result;
  }
  if (result == ec::SCRIPT_E_SECTION) {
    refuse("unknown " + kind, call.env());
  } else if (result != kRefused) {
    refuse(std::string("failed: ") + ec::name(result), call.env());
  }
  return script()->exec_scommad(otherwise, call.env());
}

/// For all sessions: the module's functions and their counters live as long as the library.
Counters counters;

void count(const char* name, std::int32_t by) {
  counters.add(name, by > 0 ? static_cast<std::uint64_t>(by) : 0);
}

ec::EC store_counters() { return counters.store(); }

// Not members of the module: the script engine keeps their addresses beyond the module's end.
Function functions[] = {
    {"add", "Adds two numbers.", {param("a"), param("b")}, add},
    {"length", "Counts the bytes of a text.", {param("text")}, length},
    {"first_word", "Gives the first word of a text.", {param("text")}, first_word},
    {"after_first_word", "Gives what follows the first word.", {param("text")}, after_first_word},
    {"upper", "Makes a text upper case.", {param("text")}, upper},
    {"fetch", "Gives a value of the session.", {param("name")}, fetch},
    {"store", "Keeps a value for the session.", {param("name"), param("value")}, store},
    {"reply",
     "Sends a line to the client.",
     {param("status"), param("number"), param("text").or_else("")},
     reply},
    {"quit", "Ends the session.", {}, quit},
    {"record", "Logs at DUMP.", {param("event"), param("number")}, record},
    {"run",
     "Runs the section of a kind and a name.",
     {param("kind"), param("name"), param("otherwise", "the section to run instead")},
     run},
    {"count", "Adds to a counter.", {param("counter"), param("by").or_else(1)}, count},
    {"store_counters", "Writes the counters into the script.", {}, store_counters},
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
