// The command's name is a variable of the process: whatever complains need not know it.
#include "command_line/command.h"

#include <cxxabi.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <system_error>

#include "command_line/standard_descriptors.h"
#include "command_line/text.h"

namespace tools {

namespace {

const char* command_name = "";

}  // namespace

int run_command(const char* name, int failure, const std::function<int()>& work,
                const char* other_code) {
  command_name = name;
  fill_closed_descriptors();
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return work();
  } catch (const std::bad_alloc&) {
    constexpr Message kNoMemory = {"memory ran out", "内存不足"};
    std::fprintf(stderr, "%s: %s\n", name, kNoMemory.in(users_language()).data());
  } catch (const std::system_error& error) {
    complain_text(error.what());
  } catch (const abi::__forced_unwind&) {  // leaving this block would end the process
    complain_text(std::string(other_code) +
                  " ended the thread of the program, as pthread_exit() does");
    std::exit(failure);
  }
  return failure;
}

bool write_text(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return true;
  }
  std::clearerr(stdout);  // errno stays
  return false;
}

bool write_out(const std::string& text) {
  const bool is_written = write_text(text);
  if (!is_written) {
    complain({"cannot write to standard output: {1}", "无法写入标准输出：{1}"}, {reason_of(errno)});
  }
  return is_written;
}

void complain(const Message& message, MessageArguments arguments) {
  complain_text(in_users_language(message, arguments));
}

void complain_text(const std::string& message) {
  const std::string line = std::string(command_name) + ": " + escaped(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace tools
