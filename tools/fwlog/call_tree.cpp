// The depth of a record is the number of calls that are open in its process.
#include "call_tree.h"

#include <algorithm>
#include <functional>

#include "filter.h"
#include "shown_text.h"

namespace fwlog {

using log_records::Record;

namespace {

// Open calls of a process. Returns may be missing; a deeper tree would be unreadable anyway.
constexpr std::size_t kMostOpen = 1000;

// Closes the call of a return, and gives the return's depth: that of its call.
std::size_t close_call(std::vector<std::size_t>& open, std::size_t location) {
  const auto found = std::find(open.rbegin(), open.rend(), location);
  if (found != open.rend()) {
    open.erase(found.base() - 1, open.end());
  }
  return open.size();
}

}  // namespace

void CallTree::take(const Found& found) {
  const Record& record = found.record;
  OpenCalls& open = m_processes[record.pid.value_or(0)];
  const std::size_t location = std::hash<std::string_view>()(record.location);
  std::size_t depth = open.size();
  if (!is_call(record)) {
    depth = close_call(open, location);
  } else if (open.size() < kMostOpen) {
    open.push_back(location);
  }
  add_time(record);
  for (std::size_t i = 0; i < depth; ++i) {
    out().add("  ");
  }
  const std::string_view kind = is_call(record) ? "Call: " : "Ret: ";
  out().add(kind);
  if (record.place) {
    add_location(function_name(record.place->function), record);
  } else {
    add_location(record.location, record);
  }
  const std::string_view text = record.message.substr(kind.size());
  out().add(text.empty() ? "" : ": ");
  add_message(text, "    ");
}

}  // namespace fwlog
