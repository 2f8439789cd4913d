// Counts names as UTF-8, so that a name in two encodings has one line.
#include "statistics.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "command_line/messages.h"
#include "shown_text.h"

namespace fwlog {

using log_records::Level;
using log_records::Record;

namespace {

constexpr std::size_t kWidth = 10;

}  // namespace

void Statistics::count(Counts& counts, std::string_view name, const Record& record) {
  std::string utf8;
  append_decoded(name, reading_of(record.location, m_encoding), utf8);
  const auto found = counts.find(utf8);
  if (found != counts.end()) {
    ++found->second;
  } else {
    counts.emplace(std::move(utf8), 1);
  }
}

void Statistics::take(const Found& found) {
  const Record& record = found.record;
  ++m_records;
  ++m_levels[record.level ? static_cast<std::size_t>(*record.level) : log_records::kLevelCount];
  if (record.place) {
    count(m_functions, record.place->function, record);
    count(m_sources, record.place->source, record);
  }
}

void Statistics::add_line(std::uint64_t count, std::string_view name) {
  const std::string number = std::to_string(count);
  m_out.add(std::string(kWidth - std::min(kWidth, number.size()), ' '));
  m_out.add(number);
  m_out.add("  ");
  m_out.add(shown(name));
  m_out.add('\n');
}

void Statistics::add_counts(std::string_view title, const Counts& counts) {
  std::vector<std::pair<std::uint64_t, std::string_view>> lines;
  for (const auto& [name, count] : counts) {
    lines.emplace_back(count, name);
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  m_out.add('\n');
  m_out.add(title);
  m_out.add('\n');
  for (const auto& [count, name] : lines) {
    add_line(count, name);
  }
}

void Statistics::finish() {
  using tools::in_users_language;
  add_line(m_records, in_users_language({"records", "条记录"}));
  m_out.add('\n');
  m_out.add(in_users_language({"levels", "级别"}));
  m_out.add('\n');
  for (std::size_t i = 0; i < log_records::kLevelCount; ++i) {
    if (m_levels[i] > 0) {
      add_line(m_levels[i], name_of(static_cast<Level>(i)));
    }
  }
  if (m_levels.back() > 0) {
    add_line(m_levels.back(), in_users_language({"without a level", "没有级别"}));
  }
  add_counts(in_users_language({"functions", "函数"}), m_functions);
  add_counts(in_users_language({"source files", "源文件"}), m_sources);
}

}  // namespace fwlog
