// Reads whole files, and replaces a file in one step.
#ifndef SUPPORT_FILE_IO_H
#define SUPPORT_FILE_IO_H

#include <string>
#include <string_view>

namespace support {

enum class ReadResult { kOk, kNoFile, kTooLarge };

/// Reads all of a regular file into `text`. kNoFile when there is no file, it cannot be read, or it
/// is not a regular one; kTooLarge when it has more than max_size bytes. Throws std::bad_alloc.
ReadResult read_file(const std::string& path, std::size_t max_size, std::string& text);

/// The kinds of things that a path leads to, for a writer.
enum class Target {
  kFile,    ///< a regular file, or a name that is free
  kStream,  ///< not a regular file, or an open file through a link in /proc
  kNone     ///< a directory, or a path that cannot be followed
};

/// Follows symbolic links. For kFile, sets `path` to the name that the last link leads to. That
/// name is relative if the path and the links are. Throws std::bad_alloc.
Target find_target(std::string& path);

/// The directory part of a path; "." for a plain name.
std::string directory_of(const std::string& path);

/// Writes `text` to the file at `path`, and creates the file when there is none. Follows symbolic
/// links. Replaces a regular file by a new one with the same permissions, in one step, when the new
/// one is complete on disk. Writes directly to a file that is not regular or is reached through
/// /proc (as /dev/stdout is); opening a pipe waits for a reader.
///
/// Returns false on any failure. A regular file is then unchanged and no other file is left in its
/// directory, with one exception: when only the directory could not be written to disk, the new
/// file is already in place. A process that is killed meanwhile leaves a temporary file, which the
/// next success removes. Throws std::bad_alloc, before anything is changed.
bool write_file(const std::string& path, std::string_view text);

}  // namespace support

#endif
