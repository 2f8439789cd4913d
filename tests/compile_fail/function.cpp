#include <fwbase/function.h>

using fwbase::Call;
using fwbase::Function;
using fwbase::param;

Function right("right", "Builds.", {param("a"), param("b").or_else(1), param("c").or_else("x")},
               [](const Call& call, std::int32_t, std::int32_t, const std::string& c) {
                 return c.empty() ? call.fail(ec::SCRIPT_BAD_PARAM, "%s", "empty") : call.give(c);
               });
Function without("without", "Builds, too.", {}, [] {});

#ifdef FEWER_ARGUMENTS
Function function("f", "", {param("a"), param("b")}, [](std::int32_t a) { return a; });
#endif
#ifdef MORE_ARGUMENTS
Function function("f", "", {param("a")}, [](std::int32_t a, std::int32_t b) { return a + b; });
#endif
#ifdef ARGUMENTS_WITHOUT_PARAMS
Function function("f", "", {}, [](const Call&, std::int32_t a) { return a; });
#endif
#ifdef PARAMS_WITHOUT_ARGUMENTS
Function function("f", "", {param("a")}, [](const Call&) {});
#endif
#ifdef CALL_BEHIND_ARGUMENTS
Function function("f", "", {param("a"), param("b")}, [](std::int32_t, const Call&) {});
#endif
#ifdef BOOL_ARGUMENT
Function function("f", "", {param("a")}, [](bool) {});
#endif
#ifdef LONG_ARGUMENT
Function function("f", "", {param("a")}, [](long) {});
#endif
#ifdef TEXT_TO_CHANGE
Function function("f", "", {param("a")}, [](std::string&) {});
#endif
#ifdef BOOL_RESULT
Function function("f", "", {param("a")}, [](std::int32_t a) { return a > 0; });
#endif
#ifdef LONG_RESULT
Function function("f", "", {}, [] { return 1L; });
#endif
#ifdef DOUBLE_RESULT
Function function("f", "", {}, [] { return 1.5; });
#endif
#ifdef POINTER_RESULT
Function function("f", "", {}, [](const Call& call) { return call.env(); });
#endif
#ifdef TWO_OPERATORS
struct Both {
  void operator()() const;
  void operator()(std::int32_t) const;
};
Function function("f", "", {}, Both());
#endif
#ifdef WRONG_FORMAT
Function function("f", "", {}, [](const Call& call) { return call.fail(0, "%d", "text"); });
#endif
#ifdef DOUBLE_GIVEN
Function function("f", "", {}, [](const Call& call) { return call.give(3.7); });
#endif
#ifdef DOUBLE_DEFAULT
Function function("f", "", {param("a").or_else(0.5)}, [](const char*) {});
#endif
#ifdef COPY
Function copied(right);
#endif
