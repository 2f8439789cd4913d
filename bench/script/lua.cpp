// Lua: C functions called from the host, one by one, and from a chunk of compiled calls. A state
// belongs to one thread, without a lock.
#include <lua.hpp>

#include <stdexcept>

#include "bench/script/caller.h"

namespace fwbase::bench {

namespace {

constexpr const char* kIntVariable = "number";
constexpr const char* kTextVariable = "text";

int with_nothing(lua_State*) { return 0; }

int with_two_ints(lua_State* state) {
  keep(luaL_checkinteger(state, 1));
  keep(luaL_checkinteger(state, 2));
  return 0;
}

int with_text(lua_State* state) {
  keep(luaL_checkstring(state, 1));
  return 0;
}

int with_one_int(lua_State* state) {
  keep(luaL_checkinteger(state, 1));
  return 0;
}

lua_CFunction function_with(Arguments arguments) {
  switch (arguments) {
    case Arguments::kNone:
      return with_nothing;
    case Arguments::kTwoInts:
      return with_two_ints;
    case Arguments::kText:
    case Arguments::kTextVariable:
      return with_text;
    case Arguments::kIntVariable:
      return with_one_int;
  }
  return nullptr;
}

class LuaCaller : public Caller {
 public:
  LuaCaller(Arguments arguments, int registered) : m_arguments(arguments) {
    for (int i = 0; i < registered; ++i) {
      lua_register(m_state.get(), function_name(i).c_str(), function_with(arguments));
    }
    lua_pushinteger(m_state.get(), BENCH_FIRST_INT);
    lua_setglobal(m_state.get(), kIntVariable);
    lua_pushstring(m_state.get(), BENCH_TEXT);
    lua_setglobal(m_state.get(), kTextVariable);
  }

 protected:
  struct Close {
    void operator()(lua_State* state) const { lua_close(state); }
  };

  void check(int status) const {
    if (status != LUA_OK) {
      throw std::runtime_error(lua_tostring(m_state.get(), -1));
    }
  }

  const Arguments m_arguments;
  const std::unique_ptr<lua_State, Close> m_state{luaL_newstate()};
};

// Each function is looked up once, and found again by a number.
class HostCalls : public LuaCaller {
 public:
  HostCalls(Arguments arguments, int registered) : LuaCaller(arguments, registered) {
    for (int i = 0; i < kCalls; ++i) {
      lua_getglobal(m_state.get(), function_name(called_function(i, registered)).c_str());
      m_calls.push_back(luaL_ref(m_state.get(), LUA_REGISTRYINDEX));
    }
  }

  void run() override {
    for (const int call : m_calls) {
      lua_rawgeti(m_state.get(), LUA_REGISTRYINDEX, call);
      check(lua_pcall(m_state.get(), push_arguments(), 0, 0));
    }
  }

 private:
  int push_arguments() {
    switch (m_arguments) {
      case Arguments::kNone:
        return 0;
      case Arguments::kTwoInts:
        lua_pushinteger(m_state.get(), BENCH_FIRST_INT);
        lua_pushinteger(m_state.get(), BENCH_SECOND_INT);
        return 2;
      case Arguments::kText:
        lua_pushstring(m_state.get(), BENCH_TEXT);
        return 1;
      case Arguments::kIntVariable:
        lua_getglobal(m_state.get(), kIntVariable);
        return 1;
      case Arguments::kTextVariable:
        lua_getglobal(m_state.get(), kTextVariable);
        return 1;
    }
    return 0;
  }

  std::vector<int> m_calls;
};

const char* list_of(Arguments arguments) {
  switch (arguments) {
    case Arguments::kNone:
      return "()\n";
    case Arguments::kTwoInts:
      return "(4711, 1968)\n";
    case Arguments::kText:
      return "('" BENCH_TEXT "')\n";
    case Arguments::kIntVariable:
      return "(number)\n";
    case Arguments::kTextVariable:
      return "(text)\n";
  }
  return "";
}

class Chunk : public LuaCaller {
 public:
  Chunk(Arguments arguments, int registered) : LuaCaller(arguments, registered) {
    std::string chunk;
    for (int i = 0; i < kCalls; ++i) {
      chunk += function_name(called_function(i, registered)) + list_of(arguments);
    }
    check(luaL_loadstring(m_state.get(), chunk.c_str()));
    m_chunk = luaL_ref(m_state.get(), LUA_REGISTRYINDEX);
  }

  void run() override {
    lua_rawgeti(m_state.get(), LUA_REGISTRYINDEX, m_chunk);
    check(lua_pcall(m_state.get(), 0, 0, 0));
  }

 private:
  int m_chunk = LUA_NOREF;
};

template <typename Calls>
std::unique_ptr<Caller> make(Arguments arguments, int registered) {
  return std::make_unique<Calls>(arguments, registered);
}

const RegisterCaller host_calls("Lua C function, lua_pcall", Role::kPeer, make<HostCalls>);
const RegisterCaller chunk("Lua C function, in a chunk", Role::kOther, make<Chunk>);

}  // namespace

}  // namespace fwbase::bench
