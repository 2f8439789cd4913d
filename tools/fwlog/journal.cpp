// Reads the journal as the next host of the log would, and leaves out what reached the log already.
#include "journal.h"

#include <fcntl.h>
#include <stdlib.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <vector>

#include "command_line/descriptor.h"
#include "fwbase/runlog/journal_format.h"
#include "fwbase/runlog/journal_recovery.h"
#include "output.h"

namespace fwlog {

namespace {

using fwbase::JournalContent;
using fwbase::JournalState;
using fwbase::JournalTimes;
using fwbase::RecordTexts;

// The journal is beside the file that a symbolic link leads to, even if that file was removed.
std::string real_name(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), ::free);
  return real ? real.get() : path;
}

void add(const JournalContent& content, std::size_t first, std::size_t count, JournalTimes times,
         RecordTexts& texts) {
  if (!content.add_texts(first, count, times, texts)) {
    throw std::bad_alloc();
  }
}

// Leaves out records of the batch under way that the log has already.
void add_missing(const JournalContent& content, const std::string& log, RecordTexts& texts) {
  const std::size_t noted = content.noted_records();
  if (noted != 0) {
    RecordTexts batch;
    add(content, 0, noted, content.note->times, batch);
    std::string name;
    std::string there;
    fwbase::read_noted_file(*content.note, log, name, there);
    const std::vector<bool> written = fwbase::find_batch(*content.note, batch, there).written;
    for (std::size_t record = 0; record < noted; ++record) {
      if (!written[record]) {
        add(content, record, 1, content.note->times, texts);
      }
    }
  }
  add(content, noted, content.ends.size() - noted, JournalTimes::kStored, texts);
}

void deliver(const RecordTexts& texts, const std::string& name, Delivery& delivery) {
  const std::string_view bytes(texts.bytes());
  for (std::size_t record = 0; record < texts.count(); ++record) {
    const std::size_t begin = texts.begin_of(record);
    delivery.deliver(name, {bytes.substr(begin, texts.end_of(record) - begin), begin, false});
  }
}

}  // namespace

bool read_journal_of(const std::string& path, Delivery& delivery) {
  const std::string log = real_name(path);
  const std::string name = log + ".journal";
  const tools::Descriptor file(
      ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (file.number() < 0) {
    const int reason = errno;
    if (reason != ENOENT && reason != ENOTDIR) {
      complain_unreadable(name, reason);
    }
    return reason == ENOENT || reason == ENOTDIR;
  }
  JournalContent content;
  switch (fwbase::read_journal(file.number(), content)) {
    case JournalState::kWhole: {
      RecordTexts texts;
      add_missing(content, log, texts);
      deliver(texts, name, delivery);
      return true;
    }
    case JournalState::kUnfinished:
      return true;
    case JournalState::kDamaged:
      complain({"{1} is damaged", "{1} 已损坏"}, {name});
      return false;
    case JournalState::kChanging:
      complain({"{1} changes too fast to be read", "{1} 变化太快，无法读取"}, {name});
      return false;
    case JournalState::kUnreadable:
      break;
  }
  complain_unreadable(name, errno);
  return false;
}

}  // namespace fwlog
