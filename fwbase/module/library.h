// One shared library of modules.
#ifndef FWBASE_MODULE_LIBRARY_H
#define FWBASE_MODULE_LIBRARY_H

#include <string>

#include <fwbase/imm.h>

namespace fwbase {

/// A library that is opened once, when this is made, or has failed for good. The system's loader is
/// used as it is: an ACE_DLL, without memory, crashes or opens the program itself in place of the
/// library.
class Library {
 public:
  /// Opens the library with lazy binding and global symbols. A file name without a dot stands for
  /// lib<name>.so, <name>.so and <name>, tried in this order.
  /// Throws std::bad_alloc; then nothing is open.
  explicit Library(const std::string& path);

  /// Unloads it.
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// Gives an exported function; null when it is not there or the library was not opened. `reason`
  /// is then the loader's text, which names the path: of the call that failed, so that a library
  /// that was not opened has the same one each time. Valid until this thread's next call.
  IMM::CreateFun function(const char* name, const char*& reason) const;

  /// Leaves the library loaded for the rest of the process.
  void forget() { m_handle = nullptr; }

 private:
  void* m_handle = nullptr;
  std::string m_open_error;
};

}  // namespace fwbase

#endif
