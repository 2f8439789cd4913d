// The run log: records are whole or not there, and the next one is written.
#include <fwbase/log_options.h>
#include <fwbase/module.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/faults/alloc_faults.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::faults {

namespace {

using test::read_file;
using test::TempDir;

const std::string kMessage(300, 'm');
const std::string kClosing = "[DEBUG]: \r\n >\nlog system release\n\n";

IRunLog& log() { return *facade()->runlog(); }

std::string record(const std::string& message) {
  return "[WARN ]: location of a record\r\n >" + message + "\n";
}

void write(const std::string& message) {
  log().write(IRunLog::WARN, message.c_str(), "location of a record");
}

// Whether text is some of the records in their order and nothing else.
bool is_made_of(const std::string& text, const std::vector<std::string>& records) {
  std::size_t at = 0;
  for (const std::string& record : records) {
    if (text.compare(at, record.size(), record) == 0) {
      at += record.size();
    }
  }
  return at == text.size();
}

bool start(const std::string& path, bool queued) {
  const bool started = ec::succeeded(facade()->init()) && ec::succeeded(log().file(path.c_str()));
  log().asynch(queued);
  return started;
}

// What the log file holds; it is emptied.
std::string take(const std::string& path) {
  const std::string text = read_file(path);
  expect(::truncate(path.c_str(), 0) == 0, "emptying the log");
  return text;
}

void expect_next_record(const std::string& path) {
  write("next");
  expect(take(path).find(record("next")) != std::string::npos, "the next record is missing");
}

// What a large file holds behind its hole, or a small one.
std::string tail(const std::string& path, off_t hole) {
  std::ifstream in(path, std::ios::binary);
  in.seekg(0, std::ios::end);
  in.seekg(in.tellg() >= hole ? hole : 0);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

void log_direct() {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  expect(start(path, false), "start");

  fail_each_allocation(
      "write",
      [] {
        write(kMessage);
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(is_made_of(take(path), {record(kMessage)}), "a torn record");
        expect_next_record(path);
      });
  fail_in_vain(
      "asynch, info, type",
      [] {
        log().asynch(true);
        log().asynch(false);
        log().info(0);
        log().type(0);
      },
      [&] {
        expect(IRunLog::ms_type_sign == 0, "the levels");
        take(path);  // records of other components
        write(kMessage);
        expect(take(path) == record(kMessage), "the record");
        log().type(~0u);
      });
  facade()->release();
  take(path);
  expect(ec::succeeded(facade()->init()), "init()");
  fail_each_allocation(
      "file", [&] { return outcome_of(log().file(path.c_str()), ec::LOG_NO_MEMORY); },
      [&](Outcome outcome) {
        write(kMessage);
        expect((take(path) == record(kMessage)) == (outcome == Outcome::kDone),
               "a record in spite of the code");
        facade()->release();
        take(path);
        expect(ec::succeeded(facade()->init()), "init()");
      });
  facade()->release();
}

void log_queued() {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  const std::vector<std::string> messages{kMessage, kMessage + "2", kMessage + "3"};
  expect(start(path, true), "start");

  // release() waits until the writer thread is done.
  fail_each_allocation(
      "write, release",
      [&] {
        for (const std::string& message : messages) {
          write(message);
        }
        log().release();
        return Outcome::kDone;
      },
      [&](Outcome) {
        expect(is_made_of(take(path), {record(messages[0]), record(messages[1]),
                                       record(messages[2]), kClosing}),
               "a torn record");
        facade()->release();
        expect(start(path, true), "start");
      });
  facade()->release();
  take(path);
  fail_each_allocation(
      "init",
      [] { return outcome_of(facade()->init(), ec::LOG_THREAD_FAILED, ec::SCRIPT_NO_MEMORY); },
      [&](Outcome outcome) {
        expect(ec::succeeded(log().file(path.c_str())), "file() after init()");
        log().asynch(outcome == Outcome::kDone);
        write("next");
        facade()->release();
        expect(take(path) == record("next") + kClosing, "records are missing");
      });
}

// Takes away what the log says of its journal.
std::string without_reports(std::string text) {
  for (std::size_t at = text.find("[ERROR]: this("); at != text.npos;
       at = text.find("[ERROR]: this(")) {
    text.erase(at, text.find('\n', text.find('\n', at) + 1) + 1 - at);
  }
  return text;
}

void log_journal() {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  const std::string second = kMessage + "2";
  LogOptions options;
  options.journal = true;
  expect(start(path, false) && ec::succeeded(log_options(options)), "start");
  fail_each_allocation(
      "asynch, write, file, write, release",
      [&] {
        log().asynch(true);
        write(kMessage);
        const ec::EC opened = log().file(path.c_str());
        write(second);
        log().release();
        return outcome_of(opened, ec::LOG_NO_MEMORY);
      },
      [&](Outcome) {
        expect(
            is_made_of(without_reports(take(path)), {record(kMessage), record(second), kClosing}),
            "a torn record");
        expect(::access((path + ".journal").c_str(), F_OK) != 0, "the journal is still there");
        facade()->release();
        expect(start(path, false), "start");
      });
  facade()->release();
}

// A sparse file that the next record makes too large.
void log_rotation() {
  constexpr off_t kAlmost = 10 * 1024 * 1024 - 10;
  const TempDir directory;
  const std::string path = directory.path("run.log");
  const std::string backup = path + ".bak.0";
  for (const bool queued : {false, true}) {
    const auto prepare = [&] {
      ::unlink(backup.c_str());
      take(path);
      expect(::truncate(path.c_str(), kAlmost) == 0, "making the log large");
    };
    expect(start(path, queued), "start");
    prepare();
    fail_each_allocation(
        queued ? "write, release" : "write",
        [&] {
          write(kMessage);
          if (queued) {
            log().release();
          }
          return Outcome::kDone;
        },
        [&](Outcome) {
          if (queued) {
            facade()->release();
            expect(start(path, true), "start");
          }
          write("next");
          if (queued) {
            facade()->release();
            expect(start(path, true), "start");
          }
          const std::string text = tail(backup, kAlmost) + tail(path, kAlmost);
          expect(is_made_of(text, {record(kMessage), kClosing, record("next"), kClosing}),
                 "a torn record");
          expect(text.find(record("next")) != std::string::npos, "the next record is missing");
          prepare();
        });
    facade()->release();
  }
}

void log_macros() {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  expect(start(path, false), "start");
  log().type(~0u);
  fail_each_allocation(
      "FWBASE_LOG_AT, FWBASE_TRACE_AT",
      [] {
        FWBASE_TRACE_AT(nullptr, kMessage.c_str());
        FWBASE_LOG_AT(nullptr, WARN, "%d%s", 17, kMessage.c_str());
        return Outcome::kDone;
      },
      [&](Outcome) {
        const std::string text = take(path);
        for (const char* const tag : {"[TRACE]: ", "[WARN ]: "}) {
          expect(text.empty() || text.find("[") == 0, tag);
        }
        expect(text.empty() || text.back() == '\n', "torn at the end");
        FWBASE_LOG_AT(nullptr, ERROR, "next %d", 1);
        expect(take(path).find("\r\n >next 1\n") != std::string::npos, "the next one is missing");
      });
  facade()->release();
}

}  // namespace fwbase::faults
