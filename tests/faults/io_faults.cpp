// Every I/O call fails once: io_faults <scenario>
//
// A host program in which the I/O calls on the files of one directory can be made to fail. It tries
// each scenario with the first call failing, the second, and so on, in several ways.
#include <fwbase/fwbase.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>

#include "tests/faults/failing_io.h"
#include "tests/faults/report.h"
#include "tests/harness/log_bytes.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::faults {

void print_refused() { std::fprintf(stderr, "%s() failed\n", FailingIo::function()); }
void print_stack() {}

namespace {

using test::read_file;
using test::take_reports;
using test::TempDir;

// A short write is no failure: the rest is written by another call.
constexpr IoFault kFaults[] = {{"no space", ENOSPC, 0},
                               {"I/O error", EIO, 0},
                               {"quota exceeded", EDQUOT, 0},
                               {"interrupted", EINTR, 0},
                               {"short write", 0, 0},
                               {"no space from then on", ENOSPC, ENOSPC},
                               {"short write, then no space", 0, ENOSPC}};
constexpr IoFault kAllFail = {"I/O errors from then on, of all calls", EIO, EIO, true};

IFWBase* facade() { return IFWBase::instance(); }
IScript& script() { return *facade()->script(); }
IRunLog& log() { return *facade()->runlog(); }

std::ptrdiff_t entries(const std::string& directory) {
  return std::distance(std::filesystem::directory_iterator(directory), {});
}

std::ptrdiff_t open_descriptors() { return entries("/proc/self/fd"); }

// Tries act() with each of its calls failing, in one way or in each, and check() after it.
void fail_each_call(const std::string& operation, const std::string& directory,
                    const IoFault& fault, const std::function<void()>& act,
                    const std::function<void()>& check) {
  const std::ptrdiff_t descriptors = open_descriptors();
  for (int n = 1;; ++n) {
    begin_step(operation, std::string(fault.name) + " at call " + std::to_string(n));
    {
      const FailingIo io(directory, n, fault);
      act();
    }
    check();
    expect(open_descriptors() == descriptors, "a descriptor is left open");
    if (!FailingIo::injected()) {
      return;
    }
    count_fault();
  }
}

void fail_each_call(const std::string& operation, const std::string& directory,
                    const std::function<void()>& act, const std::function<void()>& check) {
  for (const IoFault& fault : kFaults) {
    fail_each_call(operation, directory, fault, act, check);
  }
}

// A call that is not made any more would not be tested any more.
void expect_failed(std::initializer_list<const char*> functions) {
  for (const char* const function : functions) {
    expect(FailingIo::has_failed(function), function);
  }
}

// --- The script file ---

std::string script_text(const std::string& value) {
  return "<korvid><template/><Process name=''><Data><var name='v' type='string' value='" + value +
         "'/></Data></Process></korvid>";
}

// The value that a whole script file has; empty for anything else.
std::string value_in(const std::string& path) {
  const std::string text = read_file(path);
  const std::size_t at = text.find("value=");
  const bool whole = text.find("<korvid>") != std::string::npos && at != std::string::npos &&
                     text.find("</Process></korvid>") != std::string::npos;
  return whole ? text.substr(at + 7, text.find(text[at + 6], at + 7) - at - 7) : "";
}

bool set_value(const std::string& value) {
  return ec::succeeded(script().set_value("v", IScript::VT_STRING, &value));
}

// Whether the call that has failed is one that is made again when a signal interrupts it.
bool is_tried_again(const std::string& function) {
  return function == "open" || function == "read" || function == "write" || function == "fsync";
}

void save_script() {
  const TempDir directory;
  const std::string path = directory.path("script.xml");
  std::filesystem::create_symlink("target.xml", path);
  test::write_file(path, script_text("0"));
  const auto leave_file_of_killed_process = [&] {
    test::write_file(directory.path(".fwbase-save-1-1"), "<korvid>");
  };
  leave_file_of_killed_process();
  expect(ec::succeeded(script().load_script(path.c_str())), "load_script()");
  int version = 0;
  std::string old_value = "0";
  ec::EC code = 0;
  const auto next_version = [&] { return std::to_string(version + 1) + std::string(20000, 'x'); };
  expect(set_value(next_version()), "set_value()");
  const auto act = [&] { code = script().save_script(); };
  const auto check = [&] {
    const std::string found = value_in(path);
    expect(ec::succeeded(code) || code == ec::SCRIPT_E_SAVE_XML, ec::name(code));
    expect(
        ec::succeeded(code) || !FailingIo::interrupted() || !is_tried_again(FailingIo::function()),
        "a signal made the save fail");
    expect(found == next_version() || (ec::failed(code) && found == old_value),
           "the file is not whole");
    ++version;
    expect(set_value(next_version()) && ec::succeeded(script().save_script()), "the next save");
    expect(value_in(path) == next_version(), "the next save is not in the file");
    expect(entries(directory.path()) == 2, "a stray file");
    expect(std::filesystem::is_symlink(path), "the link is gone");
    leave_file_of_killed_process();
    old_value = next_version();
    ++version;
    expect(set_value(next_version()), "set_value()");
  };
  fail_each_call("save_script", directory.path(), act, check);
  fail_each_call("save_script", directory.path(), kAllFail, act, check);
  expect_failed({"stat", "readlink", "statfs", "open", "flock", "fstat", "fchown", "fchmod",
                 "write", "fsync", "close", "rename", "opendir", "readdir", "openat", "unlinkat",
                 "unlink"});
}

void load_script() {
  const TempDir directory;
  const std::string path = directory.path("script.xml");
  const std::string text = script_text("text");
  test::write_file(path, text);
  ec::EC code = 0;
  const auto act = [&] { code = script().load_script(path.c_str()); };
  const auto check = [&] {
    expect(ec::succeeded(code) || code == ec::SCRIPT_E_LOAD, ec::name(code));
    expect(
        ec::succeeded(code) || !FailingIo::interrupted() || !is_tried_again(FailingIo::function()),
        "a signal made the load fail");
    std::string value;
    expect(
        ec::succeeded(script().get_value("v", IScript::VT_STRING, &value)) == ec::succeeded(code),
        "variables in spite of the code");
    expect(read_file(path) == text, "the file has changed");
    script().release();
    expect(ec::succeeded(script().init()), "init()");
    expect(ec::succeeded(script().load_script(path.c_str())), "the next load");
    script().release();
    expect(ec::succeeded(script().init()), "init()");
  };
  fail_each_call("load_script", directory.path(), act, check);
  fail_each_call("load_script", directory.path(), kAllFail, act, check);
  expect_failed({"open", "fstat", "read", "close"});
}

// --- The run log ---

constexpr int kRecords = 5;
constexpr off_t kAlmost = 10 * 1024 * 1024 - 200;

std::string message(int number) {
  return "record " + std::to_string(number) + std::string(90, '.');
}

std::string record(int number) { return "[WARN ]: here\r\n >" + message(number) + "\n"; }

void write(int number) { log().write(IRunLog::WARN, message(number).c_str(), "here"); }

// What a large file holds behind its hole, or a small one.
std::string tail(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  in.seekg(0, std::ios::end);
  in.seekg(in.tellg() >= kAlmost ? kAlmost : 0);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class RotatingLog {
 public:
  explicit RotatingLog(bool queued) : m_queued(queued) { start(); }
  ~RotatingLog() { facade()->release(); }

  const std::string& directory() const { return m_directory.path(); }

  // Waits for what is queued: release() does.
  void write_records() {
    for (int i = 0; i < kRecords; ++i) {
      write(i);
    }
    if (m_queued) {
      log().release();
    }
  }

  // The records are whole, in order and once; the log goes on, and says so once where it could not
  // be rotated. Of the older backups only the oldest is lost, by a rotation that succeeded; another
  // one where not even the way back was open.
  void check(bool way_back) {
    if (m_queued) {
      facade()->release();
      expect(ec::succeeded(facade()->init()), "init()");
      expect(ec::succeeded(log().file(m_path.c_str())), "file()");
    }
    write(kRecords);
    facade()->release();
    std::string backups;
    for (const char digit : {'~', '3', '2', '1', '0'}) {
      backups += tail(backup(digit));
    }
    std::string text = backups + tail(m_path);
    const std::size_t older = std::min(text.find_first_not_of("3210"), backups.size());
    expect(older == 4 || (older < backups.size() && older >= (way_back ? 3 : 2)),
           "a backup is lost");
    text.erase(0, older);
    expect(take_reports(text) <= 1, "more than one report");
    const int missing = kRecords - count_records(text);
    expect(missing <= FailingIo::failed_writes(), "records are missing");
    start();
  }

 private:
  std::string backup(char digit) const { return m_path + ".bak." + digit; }

  void start() {
    for (const auto& entry : std::filesystem::directory_iterator(directory())) {
      std::filesystem::remove(entry.path());
    }
    for (const char digit : {'3', '2', '1', '0'}) {
      test::write_file(backup(digit), std::string(1, digit));
    }
    test::write_file(m_path, "");
    expect(::truncate(m_path.c_str(), kAlmost) == 0, "making the log large");
    expect(ec::succeeded(facade()->init()), "init()");
    expect(ec::succeeded(log().file(m_path.c_str())), "file()");
    log().asynch(m_queued);
  }

  // How many of the records but the last, which must be there, are in the text, which holds nothing
  // else but closing records.
  static int count_records(const std::string& text) {
    static const std::string kClosing = "[DEBUG]: \r\n >\nlog system release\n\n";
    int found = 0;
    std::size_t at = 0;
    for (int i = 0; i <= kRecords; ++i) {
      while (text.compare(at, kClosing.size(), kClosing) == 0) {
        at += kClosing.size();
      }
      if (text.compare(at, record(i).size(), record(i)) == 0) {
        at += record(i).size();
        found += i < kRecords ? 1 : 0;
      } else {
        expect(i < kRecords, "the log does not go on");
      }
    }
    expect(text.substr(at) == kClosing, "a torn record");
    return found;
  }

  const bool m_queued;
  TempDir m_directory;
  const std::string m_path = m_directory.path("run.log");
};

void write_log(bool queued) {
  RotatingLog rotating(queued);
  const std::string operation = queued ? "queued" : "direct";
  const auto act = [&] { rotating.write_records(); };
  fail_each_call(operation, rotating.directory(), act, [&] { rotating.check(true); });
  fail_each_call(operation, rotating.directory(), kAllFail, act, [&] { rotating.check(false); });
  expect_failed({"open", "write", "lseek", "close", "flock", "fstat", "lstat", "rename",
                 "renameat2", "unlink"});
}

void log_direct() { write_log(false); }
void log_queued() { write_log(true); }

struct Scenario {
  const char* name;
  void (*run)();
};

constexpr Scenario kScenarios[] = {{"save_script", save_script},
                                   {"load_script", load_script},
                                   {"log_direct", log_direct},
                                   {"log_queued", log_queued}};

}  // namespace

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  for (const Scenario& scenario : kScenarios) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
      std::printf("%s\n", scenario.name);
    }
    if (argc == 2 && std::strcmp(argv[1], scenario.name) == 0) {
      begin_scenario(std::string("io_faults ") + scenario.name);
      expect(ec::succeeded(facade()->init()), "init()");
      scenario.run();
      facade()->release();
      return end_scenario();
    }
  }
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    return 0;
  }
  std::fprintf(stderr, "usage: io_faults <scenario>|--list\n");
  return 2;
}
