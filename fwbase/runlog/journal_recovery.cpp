// Compares the bytes of the log with the batch. The size of the log would not tell which records it
// has, since other processes may append to it, too.
#include "fwbase/runlog/journal_recovery.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <unordered_map>

#include "support/uninterrupted.h"

namespace fwbase {

namespace {

/// The number of bytes read in addition to the batch: other processes may have written so much
/// after the note was made.
constexpr std::size_t kOthers = std::size_t{16} << 20;

std::string_view text_of(const RecordTexts& texts, std::size_t record) {
  const std::size_t begin = texts.begin_of(record);
  return std::string_view(texts.bytes()).substr(begin, texts.end_of(record) - begin);
}

// A record up to the end of its second line, which begins its message.
std::string_view key_of(std::string_view text) {
  const std::size_t first = text.find('\n');
  const std::size_t second = first != text.npos ? text.find('\n', first + 1) : text.npos;
  return text.substr(0, second != text.npos ? second + 1 : text.npos);
}

// Marks each record that the content has at the beginning of a line. Of equal records, marks as
// many as the content has. When several records match at one place, marks the longest.
void find_records(const RecordTexts& batch, std::string_view content, std::vector<bool>& written) {
  std::unordered_map<std::string_view, std::vector<std::size_t>> missing;
  for (std::size_t record = batch.count(); record-- > 0;) {
    missing[key_of(text_of(batch, record))].push_back(record);
  }
  const auto is_shorter = [&](std::size_t one, std::size_t other) {
    return text_of(batch, one).size() < text_of(batch, other).size();
  };
  for (auto& [key, candidates] : missing) {
    std::stable_sort(candidates.begin(), candidates.end(), is_shorter);
  }
  while (!content.empty() && !missing.empty()) {
    std::size_t length = content.find('\n') + 1;
    const auto found = missing.find(key_of(content));
    if (found != missing.end()) {
      std::vector<std::size_t>& candidates = found->second;
      const auto record = std::find_if(
          candidates.rbegin(), candidates.rend(),
          [&](std::size_t candidate) { return content.starts_with(text_of(batch, candidate)); });
      if (record != candidates.rend()) {
        written[*record] = true;
        length = text_of(batch, *record).size();
        candidates.erase(std::next(record).base());
        if (candidates.empty()) {
          missing.erase(found);
        }
      }
    }
    content.remove_prefix(length != 0 ? length : content.size());
  }
}

// Whether an open() that failed for this reason does not show if the file is there.
bool says_nothing(int reason) {
  return reason == EMFILE || reason == ENFILE || reason == ENOMEM || reason == EIO;
}

// The log and all its backups, whatever their numbers: the process that wrote the journal may have
// kept more backups than this one. When the directory cannot be listed, only the usual four.
std::vector<std::string> names_of(const std::string& log) {
  const std::size_t name = log.rfind('/') + 1;  // 0 without a directory
  const std::string directory = log.substr(0, name);
  const std::string backup = log.substr(name) + ".bak.";
  std::vector<std::string> names{log};
  for (const char* const number : {"0", "1", "2", "3"}) {
    names.push_back(directory + backup + number);
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> opened(
      ::opendir(directory.empty() ? "." : directory.c_str()), ::closedir);
  if (!opened && errno == ENOMEM) {
    throw std::bad_alloc();
  }
  while (const dirent* const entry = opened ? ::readdir(opened.get()) : nullptr) {
    if (std::string_view(entry->d_name).starts_with(backup)) {
      names.push_back(directory + entry->d_name);
    }
  }
  return names;
}

bool read_from(int descriptor, std::uint64_t offset, std::size_t limit, std::string& content) {
  constexpr std::size_t kBlock = std::size_t{256} << 10;
  content.clear();
  for (ssize_t got = 1; got > 0 && content.size() < limit;) {
    const std::size_t before = content.size();
    content.resize(before + kBlock);
    got = support::uninterrupted([&] {
      return ::pread(descriptor, content.data() + before, kBlock,
                     static_cast<off_t>(offset + before));
    });
    content.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got < 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

BatchInLog find_batch(const JournalNote& note, const RecordTexts& batch, std::string_view content) {
  BatchInLog found;
  const std::string_view text(batch.bytes());
  if (content.size() >= note.length && journal_hash(content.substr(0, note.length)) == note.hash) {
    found.written.assign(batch.count(), true);
    return found;
  }
  found.written.assign(batch.count(), false);
  if (content.size() < text.size() && text.starts_with(content)) {
    found.begun = content.size();
    for (std::size_t record = 0; record < batch.count(); ++record) {
      found.written[record] = batch.end_of(record) <= found.begun;
    }
    return found;
  }
  find_records(batch, content, found.written);
  return found;
}

NotedFile read_noted_file(const JournalNote& note, const std::string& log, std::string& name,
                          std::string& content) {
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  const std::size_t limit = static_cast<std::size_t>(note.length) + kOthers;
  for (const std::string& candidate : names_of(log)) {
    const int descriptor =
        support::uninterrupted([&] { return ::open(candidate.c_str(), kFlags); });
    if (descriptor < 0 && says_nothing(errno)) {
      return NotedFile::kUnknown;
    }
    if (descriptor < 0) {
      continue;
    }
    struct Closing {
      int file;
      ~Closing() {
        const int reason = errno;
        ::close(file);
        errno = reason;
      }
    } const closing{descriptor};
    struct stat status;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_dev == note.device && status.st_ino == note.inode) {
      std::string read;
      if (!read_from(descriptor, note.offset, limit, read)) {
        return NotedFile::kUnknown;
      }
      content.swap(read);
      name = candidate;
      return NotedFile::kFound;
    }
  }
  return NotedFile::kGone;
}

}  // namespace fwbase
