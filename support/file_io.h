#ifndef SUPPORT_FILE_IO_H
#define SUPPORT_FILE_IO_H

#include <string>
#include <string_view>

namespace support {

enum class ReadResult { kOk, kNoFile, kTooLarge };

/// Reads a regular file whole into text. kNoFile when there is none, it cannot be read, or it is
/// something else; kTooLarge when it holds more than max_size bytes. Throws std::bad_alloc.
ReadResult read_file(const std::string& path, std::size_t max_size, std::string& text);

/// What a path leads to for those who write.
enum class Target {
  kFile,    ///< a regular file, or none yet
  kStream,  ///< something else that can be written to, or an open file, by way of /proc
  kNone     ///< nothing that can be written to, or it cannot be told
};

/// Follows symbolic links. For kFile, path is the name behind all of them then, relative where path
/// and they are. Throws std::bad_alloc.
Target find_target(std::string& path);

/// The directory that a path names something in: "." for a plain name.
std::string directory_of(const std::string& path);

/// Puts text into the file at path, which is created when there is none. A regular file is
/// replaced by a new one, with its permissions, in one step and only when that is complete on
/// disk; symbolic links are followed to it. What is not a regular file, and what is reached
/// through /proc (as /dev/stdout is), is written to as it is; opening a pipe waits for a reader.
///
/// False on any failure. A regular file is then as it was and nothing is left beside it, with one
/// exception: when only the directory could not be written to disk, the file is new already. What a
/// process has left beside it that was killed meanwhile goes with the next success.
/// Throws std::bad_alloc, before anything is changed.
bool write_file(const std::string& path, std::string_view text);

}  // namespace support

#endif
