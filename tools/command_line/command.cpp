// The name is a variable of the process, so that whatever complains need not be told it.
#include "command_line/command.h"

#include <cxxabi.h>

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

void complain(const Message& message, MessageArguments arguments) {
  complain_text(in_users_language(message, arguments));
}

void complain_text(const std::string& message) {
  const std::string line = std::string(command_name) + ": " + escaped(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace tools
