#include "fwbase/runlog/local_time.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <ctime>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/harness/failing_new.h"
#include "tests/harness/temp_dir.h"
#include "tests/harness/time_zone_variable.h"

using fwbase::LocalTime;
using fwbase::test::TempDir;
using fwbase::test::TimeZoneVariable;

namespace fs = std::filesystem;

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;
constexpr std::time_t k1890 = -2524521600;
constexpr std::time_t k1972 = 63072000;
constexpr std::time_t k2015 = 1420070400;
constexpr std::time_t k2070 = 3155760000;
constexpr std::time_t kSummer = 1720000000;  // 3 July 2024, 09:46:40 UTC
constexpr std::time_t kWinter = 1704447906;  // 5 January 2024, 09:45:06 UTC

const fs::path kZones = "/usr/share/zoneinfo";

std::string text(const std::tm& time) {
  char text[64];
  return ::asctime_r(&time, text) != nullptr ? text : "";
}

std::string ours(LocalTime& clock, std::time_t time) {
  std::tm local = {};
  return clock.break_down(time, local) ? text(local) : "";
}

std::string c_librarys(std::time_t time) {
  std::tm local = {};
  ::localtime_r(&time, &local);
  return text(local);
}

std::string ours(std::time_t time) {
  LocalTime clock;
  return ours(clock, time);
}

long c_librarys_offset(std::time_t time) {
  std::tm local = {};
  ::localtime_r(&time, &local);
  return local.tm_gmtoff;
}

// The first second between two times from which on the C library has the later one's offset.
std::time_t change_between(std::time_t before, std::time_t behind) {
  while (behind - before > 1) {
    const std::time_t middle = before + (behind - before) / 2;
    (c_librarys_offset(middle) == c_librarys_offset(before) ? before : behind) = middle;
  }
  return behind;
}

// Compares some hundred times with the C library's, those among them where the offset changes.
void expect_as_c_library(const std::string& tz, std::time_t first, std::time_t last) {
  SCOPED_TRACE("TZ=" + tz);
  const TimeZoneVariable variable(tz);
  LocalTime clock;
  std::minstd_rand random(7);
  std::vector<std::time_t> times = {first};
  while (times.back() < last) {
    const std::time_t before = times.back();
    const std::time_t next = before + 50 * kDay + static_cast<std::time_t>(random() % (9 * kDay));
    if (c_librarys_offset(next) != c_librarys_offset(before)) {
      const std::time_t change = change_between(before, next);
      times.insert(times.end(), {change - 1, change});
    }
    times.push_back(next);
  }
  for (const std::time_t time : times) {
    ASSERT_EQ(ours(clock, time), c_librarys(time)) << time;
  }
}

// Those of the system whose contents differ.
std::vector<std::string> system_zones() {
  std::vector<std::string> names;
  std::set<std::string> contents;
  for (fs::recursive_directory_iterator entry(kZones), end; entry != end; ++entry) {
    if (entry->is_directory() &&
        (entry->path().filename() == "right" || entry->path().filename() == "posix")) {
      entry.disable_recursion_pending();
    } else if (entry->is_regular_file()) {
      const std::string content = fwbase::test::read_file(entry->path());
      if (content.compare(0, 4, "TZif") == 0 && contents.insert(content).second) {
        names.push_back(entry->path().lexically_relative(kZones));
      }
    }
  }
  return names;
}

}  // namespace

// --- As the C library ---

TEST(LocalTime, IsTheCLibrarysInEveryZoneOfTheSystem) {
  const std::vector<std::string> zones = system_zones();
  ASSERT_GT(zones.size(), 100u);
  for (const std::string& zone : zones) {
    expect_as_c_library(zone, k1890, k2070);
  }
}

TEST(LocalTime, IsTheCLibrarysWhereZonesCountLeapSeconds) {
  for (const char* const zone : {"right/UTC", "right/Europe/Berlin", "right/Asia/Shanghai"}) {
    ASSERT_TRUE(fs::exists(kZones / zone));
    expect_as_c_library(zone, k1890, k2015);
  }
}

// Before 1972 the C library does not follow them.
TEST(LocalTime, IsTheCLibrarysForRulesInTz) {
  for (const char* const tz : {
           "CET-1",
           "CET-1CEST,M3.5.0,M10.5.0/3",
           "CST6CDT5,M3.2.0/2:00:00,M11.1.0/2",
           "NZST-12NZDT,M9.5.0,M4.1.0/3",
           "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
           "<+0330>-3:30",
           "LMT-0:29:45",
           "ABC+5:30:15DEF4:15,J60/0,J300",
           "ABC0DEF,59/12:30,364/23:59:59",
           "IST-2IDT,M3.4.4/26,M10.5.0",
           "AAA3BBB,J1/0,J365/23",
           ":CET-1CEST,M3.5.0,M10.5.0/3",
           "AAAA-14BBBB-15,M1.1.1,M12.5.6",
       }) {
    expect_as_c_library(tz, k1972, k2070);
  }
}

TEST(LocalTime, DaylightSavingWithoutRulesIsThatOfTheUnitedStates) {
  const auto year_by = [](const std::string& tz) {
    const TimeZoneVariable variable(tz);
    LocalTime clock;
    std::string hours;
    for (std::time_t time = k2015; time < k2015 + 365 * kDay; time += 60 * 60) {
      hours += ours(clock, time);
    }
    return hours;
  };
  EXPECT_EQ(year_by("AAA5BBB"), year_by("AAA5BBB,M3.2.0,M11.1.0"));
  EXPECT_NE(year_by("AAA5BBB"), year_by("AAA5"));
}

TEST(LocalTime, WhatIsNoZoneIsUtc) {
  for (const char* const tz :
       {"", ":", "Nowhere/Land", "UnknownZone", "X", "AB-1", "<AB-1", "ABC", "CET-", "CET-x",
        "../../etc/hostname", "/", "/dev/null", "/nowhere", "localtime/", "Europe"}) {
    const TimeZoneVariable variable(tz);
    EXPECT_EQ(ours(kSummer), "Wed Jul  3 09:46:40 2024\n") << tz;
    EXPECT_EQ(ours(kSummer), c_librarys(kSummer)) << tz;
  }
}

TEST(LocalTime, RulesThatCannotBeReadLeaveTheStandardTime) {
  for (const char* const tz :
       {"CET-1,M3.5.0,M10.5.0/3", "CET-1CEST,M3.5.0", "CET-1CEST,M13.5.0,M10.5.0",
        "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0", "CET-1CEST,J0,J366",
        "CET-1CEST,M3.5.0,M10.5.0/168", "CET-1CEST,M3.5.0,M10.5.0x", "CET-1CEST,99999999999,1"}) {
    const TimeZoneVariable variable(tz);
    EXPECT_EQ(ours(kSummer), "Wed Jul  3 10:46:40 2024\n") << tz;
  }
}

TEST(LocalTime, WithoutTzItIsTheSystems) {
  const TimeZoneVariable variable;
  TimeZoneVariable::unset();
  for (const std::time_t time : {kSummer, kWinter, std::time_t{0}}) {
    EXPECT_EQ(ours(time), c_librarys(time));
  }
}

TEST(LocalTime, ATimeBeyondTheCalendarHasNone) {
  std::tm local = {};
  LocalTime clock;
  for (const std::time_t time : {LONG_MAX, LONG_MIN, LONG_MAX / 2, LONG_MIN / 2}) {
    EXPECT_FALSE(clock.break_down(time, local));
  }
  const TimeZoneVariable variable("CET-1");
  EXPECT_EQ(ours(253402300799 - 3600), "Fri Dec 31 23:59:59 9999\n");
  EXPECT_EQ(ours(-62167219200 - 3600), c_librarys(-62167219200 - 3600)) << "the year 0";
}

// --- Changes of the zone ---

TEST(LocalTime, FollowsTz) {
  const TimeZoneVariable variable("CET-1CEST,M3.5.0,M10.5.0/3");
  LocalTime clock;
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 11:46:40 2024\n");
  ::setenv("TZ", "Asia/Shanghai", 1);
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 17:46:40 2024\n");
  ::unsetenv("TZ");
  EXPECT_EQ(ours(clock, kSummer), ours(kSummer));
  ::setenv("TZ", "", 1);
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 09:46:40 2024\n");
}

class ZoneFile : public testing::Test {
 protected:
  ZoneFile() : m_variable(":" + m_path) {}

  void put(const char* zone) {
    fs::copy_file(kZones / zone, m_directory.path("new"));
    fs::rename(m_directory.path("new"), m_path);
  }

  const TempDir m_directory;
  const std::string m_path = m_directory.path("zone");
  const TimeZoneVariable m_variable;
  LocalTime clock;
};

TEST_F(ZoneFile, IsReadAgainWhenItHasChanged) {
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 09:46:40 2024\n") << "no file: UTC";
  put("Europe/Berlin");
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 11:46:40 2024\n");
  put("Asia/Shanghai");
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 17:46:40 2024\n");
}

TEST_F(ZoneFile, ThatIsGoneOrDamagedLeavesTheRulesThatAreKnown) {
  put("Europe/Berlin");
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 11:46:40 2024\n");
  fs::remove(m_path);
  EXPECT_EQ(ours(clock, kWinter), "Fri Jan  5 10:45:06 2024\n");
  fwbase::test::write_file(m_path, "TZif");
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 11:46:40 2024\n");
  put("Asia/Shanghai");
  EXPECT_EQ(ours(clock, kSummer), "Wed Jul  3 17:46:40 2024\n");
}

TEST_F(ZoneFile, ThatIsCutAnywhereIsNone) {
  const std::string whole = fwbase::test::read_file(kZones / "Europe/Berlin");
  const std::size_t rules = whole.rfind('\n', whole.size() - 2) + 1;
  for (std::size_t size = 0; size < rules; ++size) {
    EXPECT_FALSE(fwbase::TimeZone::read_file(whole.substr(0, size))) << size;
  }
  EXPECT_TRUE(fwbase::TimeZone::read_file(whole));
}

TEST_F(ZoneFile, OfOneByteChangedGivesSomeTimeOrIsNone) {
  const std::string whole = fwbase::test::read_file(kZones / "right/Europe/Berlin");
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '\x7f', '\xff'}) {
      std::string damaged = whole;
      damaged[at] = byte;
      const auto zone = fwbase::TimeZone::read_file(damaged);
      if (zone) {
        EXPECT_LT(std::abs(zone->offset(kSummer)), std::int64_t{1} << 33);
      }
    }
  }
}

TEST_F(ZoneFile, ThatIsNotReadForWantOfMemoryIsReadTheNextTime) {
  put("Europe/Berlin");
  for (int n = 1;; ++n) {
    LocalTime fresh;
    std::tm local = {};
    bool failed;
    {
      const fwbase::test::FailingNew memory(n, fwbase::test::FailingNew::ANY);
      EXPECT_TRUE(fresh.break_down(kSummer, local));
      failed = memory.has_failed();
    }
    EXPECT_EQ(text(local), failed ? "Wed Jul  3 09:46:40 2024\n" : "Wed Jul  3 11:46:40 2024\n");
    EXPECT_EQ(ours(fresh, kSummer), "Wed Jul  3 11:46:40 2024\n");
    if (!failed) {
      EXPECT_GT(n, 3);
      break;
    }
  }
}
