// Another value of TZ for one test.
#ifndef FWBASE_TESTS_HARNESS_TIME_ZONE_VARIABLE_H
#define FWBASE_TESTS_HARNESS_TIME_ZONE_VARIABLE_H

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

namespace fwbase::test {

/// While it lives, TZ has the values that set() gives it; then the one of before. The C library
/// follows.
class TimeZoneVariable {
 public:
  TimeZoneVariable() {
    if (const char* const tz = ::getenv("TZ")) {
      m_before = tz;
    }
  }
  explicit TimeZoneVariable(const std::string& tz) : TimeZoneVariable() { set(tz); }
  ~TimeZoneVariable() {
    if (m_before) {
      set(*m_before);
    } else {
      unset();
    }
  }
  TimeZoneVariable(const TimeZoneVariable&) = delete;
  TimeZoneVariable& operator=(const TimeZoneVariable&) = delete;

  static void set(const std::string& tz) {
    ::setenv("TZ", tz.c_str(), 1);
    ::tzset();
  }
  static void unset() {
    ::unsetenv("TZ");
    ::tzset();
  }

 private:
  std::optional<std::string> m_before;
};

}  // namespace fwbase::test

#endif
