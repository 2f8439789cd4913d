// Functions for scripts, each in one declaration: name, description, parameters, body.
//
//   fwbase::Function greet("greet", "Greets somebody.",
//                          {fwbase::param("who", "whom to greet"),
//                           fwbase::param("times", "how often").or_else(1)},
//                          [](const fwbase::Call& call, const char* who, std::int32_t times) {
//                            if (times < 1) {
//                              return call.fail(ec::SCRIPT_BAD_PARAM, "%d times", times);
//                            }
//                            ...
//                            return ec::SCRIPT_OK;
//                          });
//   fwbase::Function sum("sum", "Adds.", {fwbase::param("a"), fwbase::param("b")},
//                        [](std::int32_t a, std::int32_t b) { return a + b; });
//
//   engine->expand_syntax(&greet);
#ifndef FWBASE_FUNCTION_H
#define FWBASE_FUNCTION_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <fwbase/ec.h>
#include <fwbase/export.h>
#include <fwbase/ifwbase.h>
#include <fwbase/iscript.h>
#include <fwbase/module.h>

namespace fwbase {

/// A script function's description of itself, beyond its signature. Tools get it from registered
/// functions by dynamic_cast. A function without this interface, or built without type information,
/// has no description. Texts are UTF-8, zero-terminated, and live as long as the function. The
/// operations may be called from any thread, also with the engine's lock held, and must not call
/// the engine.
struct FWBASE_API IFunctionDescription {
  /// What the function does; may be empty, never null.
  virtual const char* description() const = 0;

  /// The element that holds the argument in a call. Never null.
  /// index   from 0, below param_count()
  virtual const char* param_tag(int index) const = 0;

  /// What the parameter means; may be empty, never null.
  virtual const char* param_description(int index) const = 0;

  /// The argument's text in a call that omits the argument; null for a required parameter.
  virtual const char* param_default(int index) const = 0;

  /// Where the function comes from; null means the library or program that contains the function.
  virtual const char* origin() const { return nullptr; }

  virtual ~IFunctionDescription() {}
};

#ifdef __cpp_rtti
/// The description of a registered function; null when it has none.
inline const IFunctionDescription* description_of(IScript::ISyntax& function) {
  // GCC and Clang place the object's type information in the entry before the table of virtual
  // functions. Without type information, dynamic_cast must not be called.
  const void* const* const functions = *reinterpret_cast<const void* const* const*>(&function);
  return functions[-1] != nullptr ? dynamic_cast<const IFunctionDescription*>(&function) : nullptr;
}
#endif

/// One parameter of a Function, made by param(). Texts are copied.
class Param {
 public:
  /// For param() only.
  Param(const char* tag, const char* description) : m_tag(tag), m_description(description) {}

  /// The same parameter with a default for calls that omit it: a number for a parameter that the
  /// body takes as std::int32_t, a text for any other.
  Param or_else(std::int32_t value) const { return with(std::to_string(value)); }
  /// The same for a text.
  Param or_else(const std::string& value) const { return with(value); }
  /// Whatever else might pass for a number or a text.
  template <typename Value>
  typename std::enable_if<
      std::is_arithmetic<Value>::value || std::is_same<Value, std::nullptr_t>::value, Param>::type
  or_else(Value value) const = delete;

  const std::string& tag() const { return m_tag; }                  ///< as given to param()
  const std::string& description() const { return m_description; }  ///< as given to param()
  bool has_default() const { return m_has_default; }                ///< after or_else()
  const std::string& default_text() const { return m_default; }     ///< of or_else(), as text

 private:
  Param with(const std::string& value) const {
    Param made(*this);
    made.m_default = value;
    made.m_has_default = true;
    return made;
  }

  std::string m_tag;
  std::string m_description;
  std::string m_default;
  bool m_has_default = false;
};

/// A required parameter; or_else() makes it optional.
/// tag           the element that holds the argument in a call; neither "params" nor "ret"
/// description   for people and tools
inline Param param(const char* tag, const char* description = "") {
  return Param(tag, description);
}

/// One call of a Function, handed to the body. Lives as long as the call, for the calling thread
/// only.
class Call {
 public:
  /// For Function only; hosts make none.
  Call(const char* function, const void* object, const char* file, int line, void* env,
       const char* ret)
      : m_function(function),
        m_object(object),
        m_file(file),
        m_line(line),
        m_env(env),
        m_ret(ret) {}

  /// The environment that the section runs in.
  void* env() const { return m_env; }

  /// The variable that receives the result; null when the script wants no result.
  const char* ret() const { return m_ret; }

  /// Stores a result in the variable ret() of the environment env(), with the engine that is
  /// installed in the facade. Without ret() the result is dropped, which is a success. Returns what
  /// IScript::set_value_env() does; SCRIPT_E_PARAM without an engine.
  FWBASE_NODISCARD ec::EC give(std::int32_t value) const { return store(IScript::VT_INT, &value); }
  /// The same for a text.
  FWBASE_NODISCARD ec::EC give(const std::string& value) const {
    return store(IScript::VT_STRING, &value);
  }
  /// Whatever else might pass for a number or a text.
  template <typename Value>
  typename std::enable_if<
      std::is_arithmetic<Value>::value || std::is_same<Value, std::nullptr_t>::value, ec::EC>::type
  give(Value value) const = delete;

  /// Logs why the call fails and returns `code`. The one record, at ERROR, is the function's name,
  /// ": " and the reason, cut to 1,022 characters. Its location is where the Function was made.
  /// format   a printf format, in the log's code page
  FWBASE_NODISCARD ec::EC fail(ec::EC code, const char* format, ...) const
      __attribute__((format(printf, 3, 4))) {
    if (host_log::enabled(host_log::kERROR)) {
      char reason[1024];
      std::va_list arguments;
      va_start(arguments, format);
      const int length = std::vsnprintf(reason, sizeof reason, format, arguments);
      va_end(arguments);
      host_log::write(host_log::kERROR, m_object, m_function, m_file, m_line, __DATE__, __TIME__,
                      "%s: %s", m_function, length < 0 ? format : reason);
    }
    return code;
  }

 private:
  ec::EC store(IScript::VType type, const void* value) const {
    if (m_ret == nullptr) {
      return ec::SCRIPT_OK;
    }
    IScript* const engine = IFWBase::instance()->script();
    return engine == nullptr ? ec::EC{ec::SCRIPT_E_PARAM}
                             : engine->set_value_env(m_ret, type, value, m_env);
  }

  const char* m_function;
  const void* m_object;
  const char* m_file;
  int m_line;
  void* m_env;
  const char* m_ret;
};

/// What Function is made of.
namespace function_body {

template <typename...>
struct AlwaysFalse : std::false_type {};

/// How an argument reaches a body that takes it as `Type`.
template <typename Type>
struct Argument {
  static_assert(AlwaysFalse<Type>::value,
                "a Function's body takes std::int32_t, const char* and const std::string&, and a "
                "Call in front of them");
  static IScript::VType type() { return IScript::VT_INT; }
  static Type of(const IScript::VValue&);
};
template <>
struct Argument<std::int32_t> {
  static IScript::VType type() { return IScript::VT_INT; }
  static std::int32_t of(const IScript::VValue& value) { return value.int_value; }
};
template <>
struct Argument<const char*> {
  static IScript::VType type() { return IScript::VT_STRING; }
  static const char* of(const IScript::VValue& value) { return value.string_value; }
};
template <>
struct Argument<const std::string&> {
  static IScript::VType type() { return IScript::VT_STRING; }
  static std::string of(const IScript::VValue& value) { return value.string_value; }
};

/// What becomes of a body's return value.
template <typename Type>
struct Result {
  static_assert(
      AlwaysFalse<Type>::value,
      "a Function's body returns std::int32_t or a text (std::string, const char*), which "
      "is the result, ec::EC, which is the code, or nothing");
};
template <>
struct Result<ec::EC> {
  template <typename Run>
  static ec::EC of(const Call&, Run run) {
    return run();
  }
};
template <>
struct Result<void> {
  template <typename Run>
  static ec::EC of(const Call&, Run run) {
    run();
    return ec::SCRIPT_OK;
  }
};
template <>
struct Result<std::int32_t> {
  template <typename Run>
  static ec::EC of(const Call& call, Run run) {
    return call.give(static_cast<std::int32_t>(run()));
  }
};
template <>
struct Result<std::string> {
  template <typename Run>
  static ec::EC of(const Call& call, Run run) {
    return call.give(static_cast<const std::string&>(run()));
  }
};
template <>
struct Result<const char*> {
  template <typename Run>
  static ec::EC of(const Call& call, Run run) {
    const char* const text = run();
    return call.give(std::string(text != nullptr ? text : ""));
  }
};

// std::index_sequence is younger than C++11.
template <std::size_t... Is>
struct Indexes {};
template <std::size_t N, std::size_t... Is>
struct IndexesBelow : IndexesBelow<N - 1, N - 1, Is...> {};
template <std::size_t... Is>
struct IndexesBelow<0, Is...> {
  typedef Indexes<Is...> type;
};

/// A body's return type, and the parameters that come from the script.
template <typename Return, typename... Types>
struct Form {
  static constexpr std::size_t kCount = sizeof...(Types);

  static std::vector<IScript::VType> types() { return {Argument<Types>::type()...}; }

  /// Runs the body with the arguments, and with `first...`, the call or nothing, before them.
  template <typename Body, typename... First>
  static ec::EC run(Body& body, const Call& call, const IScript::VValue* args,
                    const First&... first) {
    return run(typename IndexesBelow<kCount>::type(), body, call, args, first...);
  }

 private:
  template <std::size_t... Is, typename Body, typename... First>
  static ec::EC run(Indexes<Is...>, Body& body, const Call& call, const IScript::VValue* args,
                    const First&... first) {
    (void)args;  // unused without parameters
    return Result<typename std::decay<Return>::type>::of(
        call, [&]() -> Return { return body(first..., Argument<Types>::of(args[Is])...); });
  }
};

/// The form of a body, and whether it takes the Call.
template <typename Return, typename... Types>
struct Taken : Form<Return, Types...> {
  template <typename Body>
  static ec::EC invoke(Body& body, const Call& call, const IScript::VValue* args) {
    return Form<Return, Types...>::run(body, call, args);
  }
};
template <typename Return, typename... Types>
struct Taken<Return, const Call&, Types...> : Form<Return, Types...> {
  template <typename Body>
  static ec::EC invoke(Body& body, const Call& call, const IScript::VValue* args) {
    return Form<Return, Types...>::run(body, call, args, call);
  }
};
template <typename Return, typename... Types>
struct Taken<Return, Call, Types...> : Taken<Return, const Call&, Types...> {};

/// The form of a callable with one signature: a function, or a lambda or object with one operator()
/// that is no template.
template <typename Callable, typename = void>
struct FormOf {
  static_assert(AlwaysFalse<Callable>::value,
                "a Function's body is a function, or an object with one operator() that is no "
                "template");
};
template <typename Callable>
struct FormOf<Callable, decltype(void(&Callable::operator()))>
    : FormOf<decltype(&Callable::operator())> {};
template <typename Return, typename... Types>
struct FormOf<Return (*)(Types...)> : Taken<Return, Types...> {};
template <typename Class, typename Return, typename... Types>
struct FormOf<Return (Class::*)(Types...)> : Taken<Return, Types...> {};
template <typename Class, typename Return, typename... Types>
struct FormOf<Return (Class::*)(Types...) const> : Taken<Return, Types...> {};
#if __cplusplus >= 201703L
template <typename Return, typename... Types>
struct FormOf<Return (*)(Types...) noexcept> : Taken<Return, Types...> {};
template <typename Class, typename Return, typename... Types>
struct FormOf<Return (Class::*)(Types...) noexcept> : Taken<Return, Types...> {};
template <typename Class, typename Return, typename... Types>
struct FormOf<Return (Class::*)(Types...) const noexcept> : Taken<Return, Types...> {};
#endif

/// The {} of a function without parameters.
struct NoParams {};

/// A body for `Count` parameters.
template <std::size_t Count, typename Body>
struct Built {
  static_assert(Count == FormOf<Body>::kCount,
                "a Function's body takes one argument for each of its parameters");
};

}  // namespace function_body

/// A function that scripts may call: an IScript::ISyntax that describes itself.
///
/// The body is a function, a lambda or an object with one operator(). It takes one argument for
/// each parameter, in order: std::int32_t for an int; const char* or const std::string& for a
/// string. A Call may precede these arguments. The body may return
///   std::int32_t, or a text (std::string, const char*, where null is empty)
///              the result, stored in the variable that the script names, if any
///   ec::EC     the code of the call
///   nothing    the call is a success
/// Other return types do not compile, nor does a body that takes more or fewer arguments than there
/// are parameters.
///
/// Threads   several threads may call the body at once: each thread that runs a section.
/// Failures  memory that runs out in the body becomes SCRIPT_NO_MEMORY; every other exception is
///           passed on and ends the section.
/// Owner     the engine keeps a pointer: the object must live until the engine's release() or
///           init(). It cannot be copied or moved. Texts and the body are copied.
class Function : public IScript::ISyntax, public IFunctionDescription {
 public:
  /// name, description   required; UTF-8, or the code page that scripts are converted to
  /// params              {param("a"), param("b").or_else(1)}, or {}
  /// file, line          of the records of Call::fail(); leave them out
  template <std::size_t Count, typename Body>
  Function(const char* name, const char* description, const Param (&params)[Count], Body body,
           const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : Function(name, description, std::vector<Param>(params, params + Count),
                 function_body::Built<Count, Body>(), std::move(body), file, line) {}

  /// The same for a function without parameters.
  template <typename Body>
  Function(const char* name, const char* description, function_body::NoParams, Body body,
           const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : Function(name, description, std::vector<Param>(), function_body::Built<0, Body>(),
                 std::move(body), file, line) {}

  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    const Call current(m_name.c_str(), this, m_file, m_line, env, ret);
#ifdef __cpp_exceptions
    try {
      return m_body(current, args);
    } catch (const std::bad_alloc&) {
      return ec::SCRIPT_NO_MEMORY;
    }
#else
    return m_body(current, args);
#endif
  }

  const char* description() const override { return m_description.c_str(); }
  const char* param_tag(int index) const override { return at(index).tag().c_str(); }
  const char* param_description(int index) const override {
    return at(index).description().c_str();
  }
  const char* param_default(int index) const override {
    return at(index).has_default() ? at(index).default_text().c_str() : nullptr;
  }

 private:
  template <std::size_t Count, typename Body>
  Function(const char* name, const char* description, std::vector<Param> params,
           function_body::Built<Count, Body>, Body body, const char* file, int line)
      : m_name(name),
        m_description(description),
        m_params(std::move(params)),
        m_types(function_body::FormOf<Body>::types()),
        m_body([body](const Call& call, const IScript::VValue* args) mutable {
          return function_body::FormOf<Body>::invoke(body, call, args);
        }),
        m_file(file),
        m_line(line) {}

  const Param& at(int index) const { return m_params[static_cast<std::size_t>(index)]; }

  const std::string m_name;
  const std::string m_description;
  const std::vector<Param> m_params;
  std::vector<IScript::VType> m_types;
  const std::function<ec::EC(const Call&, const IScript::VValue*)> m_body;
  const char* const m_file;
  const int m_line;
};

}  // namespace fwbase

#endif
