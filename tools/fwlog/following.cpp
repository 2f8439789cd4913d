// Reads all logs in turn, and waits for changes when none has anything new.
#include "following.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "command_line/file_watch.h"
#include "followed_log.h"
#include "interruption.h"

namespace fwlog {

using std::chrono::milliseconds;

namespace {

typedef std::vector<std::unique_ptr<FollowedLog>> Logs;

// A log that grows record by record is read a hundred times a second, not for each record.
constexpr milliseconds kPause(10);

bool advance(const Logs& logs) {
  bool any = false;
  for (const std::unique_ptr<FollowedLog>& log : logs) {
    any = log->advance() || any;
  }
  return any;
}

milliseconds until_deadline(const Logs& logs) {
  milliseconds longest = milliseconds::max();
  for (const std::unique_ptr<FollowedLog>& log : logs) {
    if (log->deadline()) {
      const auto left = std::chrono::ceil<milliseconds>(*log->deadline() - Clock::now());
      longest = std::min(longest, std::max(left, milliseconds(0)));
    }
  }
  return longest;
}

}  // namespace

bool follow_logs(const Options& options, Delivery& delivery, Output& out) {
  bool all_followed = true;
  std::size_t at_start = options.files.size();
  const auto past_start = [&] {
    if (--at_start == 0) {
      delivery.finish();
    }
  };
  tools::FileWatch watch(options.files);
  Logs logs;
  for (const std::string& path : options.files) {
    auto log = std::make_unique<FollowedLog>(path, options, delivery, past_start);
    if (log->open()) {
      logs.push_back(std::move(log));
    } else {
      all_followed = false;
    }
  }
  while (!logs.empty() && !was_interrupted()) {
    const bool any = advance(logs);
    out.flush();
    if (any) {
      tools::FileWatch::pause(kPause);
    } else if (!watch.wait(until_deadline(logs))) {
      throw ClosedPipe();
    }
  }
  for (const std::unique_ptr<FollowedLog>& log : logs) {
    log->deliver_held();
    all_followed = all_followed && log->all_read();
  }
  out.flush();
  return all_followed;
}

}  // namespace fwlog
