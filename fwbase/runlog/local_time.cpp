// Keeps the rules of the process's time zone, and reads them again when TZ or the file changes.
#include "fwbase/runlog/local_time.h"

#include <stdlib.h>
#include <sys/auxv.h>

#include <chrono>
#include <new>
#include <string_view>

#include "support/cancellation_block.h"
#include "support/file_io.h"

namespace fwbase {

namespace {

using std::chrono::days;
using std::chrono::January;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

constexpr std::size_t kMaxFileSize = std::size_t{1024} * 1024;

// The times whose days std::chrono can express, whatever the offset.
constexpr sys_seconds kFirst = sys_days(std::chrono::year(-20000) / January / 1);
constexpr sys_seconds kLast = sys_days(std::chrono::year(20000) / January / 1);

bool is_same_file(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
         one.st_mtim.tv_sec == other.st_mtim.tv_sec && one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

constexpr const char* kSystemZone = "/etc/localtime";
constexpr const char* kSystemZones = "/usr/share/zoneinfo";

// A program with more rights than its user opens only the system's zones, and no file that the user
// chooses.
bool is_allowed(std::string_view name) {
  const bool is_system_zone =
      !name.starts_with('/') || name == kSystemZone || name.starts_with(kSystemZones);
  return ::getauxval(AT_SECURE) == 0 ||
         (is_system_zone && name.find("../") == std::string_view::npos);
}

std::string path_of(std::string_view name) {
  if (name.empty() || !is_allowed(name)) {
    return {};
  }
  if (name.starts_with('/')) {
    return std::string(name);
  }
  const char* const directory = ::secure_getenv("TZDIR");
  return std::string(directory != nullptr ? directory : kSystemZones).append("/").append(name);
}

}  // namespace

LocalTime& local_time() {
  static auto& of_process = *new LocalTime;
  return of_process;
}

// Made while the library is loaded. If it were made later, a fork at that moment would leave the
// child waiting for it for ever.
[[maybe_unused]] static const LocalTime& made_early = local_time();

bool LocalTime::break_down(std::time_t time, std::tm& local) {
  const sys_seconds utc{seconds(time)};
  if (utc < kFirst || utc >= kLast) {
    return false;
  }
  const support::MutexGuard guard(m_mutex);
  refresh();
  const sys_seconds at = utc + seconds(m_zone.rules.offset(time));
  const auto day = std::chrono::floor<days>(at);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss<seconds> clock(at - day);
  local.tm_year = static_cast<int>(date.year()) - 1900;
  local.tm_mon = static_cast<int>(static_cast<unsigned int>(date.month())) - 1;
  local.tm_mday = static_cast<int>(static_cast<unsigned int>(date.day()));
  local.tm_wday = static_cast<int>(std::chrono::weekday(day).c_encoding());
  local.tm_hour = static_cast<int>(clock.hours().count());
  local.tm_min = static_cast<int>(clock.minutes().count());
  local.tm_sec = static_cast<int>(clock.seconds().count());
  return true;
}

// When memory runs out, the rules stay as they are, and the next call tries again.
void LocalTime::refresh() noexcept {
  const support::CancellationBlock no_cancellation;
  try {
    const char* const tz = std::getenv("TZ");
    const bool same = tz != nullptr ? m_zone.tz == tz : !m_zone.tz;
    if (!m_zone.known || !same) {
      take_name(tz);
    }
    read_file();
  } catch (const std::bad_alloc&) {
  }
}

// Reads the rules that TZ gives without a file. A colon before them has no meaning.
void LocalTime::take_name(const char* tz) {
  m_zone.known = false;
  m_zone.tz = tz != nullptr ? std::optional<std::string>(tz) : std::nullopt;
  std::string_view name = tz != nullptr ? tz : kSystemZone;
  name.remove_prefix(name.starts_with(':') ? 1 : 0);
  m_zone.path = path_of(name);
  m_zone.status = {};
  const auto rules = YearlyRules::read(name);
  m_zone.rules = rules ? TimeZone(*rules) : TimeZone();
  m_zone.known = true;
}

void LocalTime::read_file() {
  struct stat status;
  if (m_zone.path.empty() || ::stat(m_zone.path.c_str(), &status) != 0 ||
      is_same_file(status, m_zone.status)) {
    return;
  }
  std::string content;
  if (support::read_file(m_zone.path, kMaxFileSize, content) != support::ReadResult::kOk) {
    return;
  }
  if (auto zone = TimeZone::read_file(content)) {
    m_zone.rules = std::move(*zone);
    m_zone.status = status;
  }
}

// A zone that another thread was reading is read anew.
void LocalTime::in_child(bool whole) {
  if (!whole) {
    new (&m_zone) Zone;
  }
}

}  // namespace fwbase
