// Runs a program that may crash, hang, exit or close its descriptors at any moment, and shares
// memory with it.
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
/// It is a file without a name, which other processes get as a descriptor. It survives any of them.
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

  /// Maps the data of a descriptor, which may be closed after that. Null when it has none.
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
  int status;  ///< of waitpid()
};

/// The child's descriptor of the memory that its parent shares with it.
constexpr int kSharedDescriptor = 3;

/// Runs this program anew until it ends, at most for `limit`, under the name `name` and with the
/// other arguments of `argv`, which is that of main(). The child gets `shared` as
/// kSharedDescriptor. Its standard input is empty, and its standard output goes to standard error.
/// It has a process group of its own.
///
/// Afterwards kills all processes that the child has started, and theirs, and waits for their ends.
/// That also happens when any signal ends this process meanwhile. Only processes with rights that
/// this one lacks survive. Throws std::system_error when the child cannot be started or watched.
Ending run_self(char** argv, const char* name, int shared, std::chrono::seconds limit);

}  // namespace fwmod

#endif
