// Running a program that may crash, hang, exit or close its descriptors at any moment.
#ifndef FWMOD_CHILD_PROCESS_H
#define FWMOD_CHILD_PROCESS_H

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "command_line/descriptor.h"

namespace fwmod {

/// A `Data` in memory that processes share. Begins as zero bytes.
///
/// It is a file without a name. Another process gets it as a descriptor, and maps it; it is there
/// until the last of them ends.
template <typename Data>
class SharedMemory {
 public:
  /// Throws std::system_error.
  SharedMemory() : m_descriptor(memfd_create("fwmod", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
    // Sealed: if another process made it shorter, reading would end this one.
    if (ftruncate(descriptor(), sizeof(Data)) == 0 &&
        fcntl(descriptor(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW) == 0) {
      m_data = map(descriptor());
    }
    if (m_data == nullptr) {
      throw std::system_error(errno, std::generic_category(), "no memory to share");
    }
  }
  ~SharedMemory() { munmap(m_data, sizeof(Data)); }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  /// The data behind the descriptor, which may be closed then. Null when it has none.
  static Data* map(int descriptor) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || status.st_size != sizeof(Data)) {
      return nullptr;
    }
    void* const mapped =
        mmap(nullptr, sizeof(Data), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<Data*>(mapped);
  }

  int descriptor() const { return m_descriptor.number(); }
  Data& operator*() const { return *m_data; }
  Data* operator->() const { return m_data; }

 private:
  const tools::Descriptor m_descriptor;
  Data* m_data = nullptr;
};

struct Ending {
  bool timed_out;
  int status;  ///< as waitpid() gives it
};

/// The descriptor by which the child has what its parent shares with it.
constexpr int kSharedDescriptor = 3;

/// Runs this program anew to its end, and not longer than `limit`, under the name `name` and with
/// the other arguments of `argv`, which is that of main(). The child gets `shared` as
/// kSharedDescriptor, nothing on standard input, and what it writes to standard output goes to
/// standard error. It is the first of a process group of its own.
///
/// When it has ended, all processes that it has started, and those that they have, are killed, and
/// their ends waited for. That is so, too, when this process is ended meanwhile, by whatever
/// signal. Only what runs with rights that this process lacks is left. Throws std::system_error
/// when it cannot be started or watched.
Ending run_self(char** argv, const char* name, int shared, std::chrono::seconds limit);

}  // namespace fwmod

#endif
