// The command's name is a variable of the process: whatever complains need not know it.
#include "command_line/command.h"

#include <cxxabi.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <system_error>

#include "command_line/standard_descriptors.h"
#include "command_line/text.h"
#include "support/uninterrupted.h"

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

int write_all(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        support::uninterrupted([&] { return write(descriptor, bytes.data(), bytes.size()); });
    if (written < 0) {
      return errno;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

bool wants_colour(int descriptor) {
  const char* const no_colour = std::getenv("NO_COLOR");
  return isatty(descriptor) == 1 && (no_colour == nullptr || *no_colour == '\0');
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
