// Reading the journal of a log, whose bytes others may have written.
//
// Input: the bytes of the file. Of a journal that is taken for whole, every record can be made a
// text, and of a batch that it notes it can be told what a log has.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/harness/check.h"
#include "fwbase/runlog/journal_format.h"
#include "fwbase/runlog/journal_recovery.h"

namespace {

using namespace fwbase;

void check_batch(const JournalContent& content) {
  RecordTexts batch;
  const std::size_t count = content.noted_records();
  FUZZ_CHECK(count != 0 && content.ends[count - 1] == content.note->to);
  FUZZ_CHECK(content.add_texts(0, count, content.note->times, batch));
  const std::string_view text(batch.bytes());
  const std::string_view logs[] = {"", text, text.substr(0, text.size() / 2),
                                   text.substr(text.size() / 2)};
  for (const std::string_view log : logs) {
    const BatchInLog found = find_batch(*content.note, batch, log);
    FUZZ_CHECK(found.written.size() == count && found.begun <= log.size());
  }
  JournalNote note = *content.note;
  note.length = text.size();
  note.hash = journal_hash(text);
  const BatchInLog all = find_batch(note, batch, text);
  FUZZ_CHECK(std::find(all.written.begin(), all.written.end(), false) == all.written.end());
}

void check_content(const JournalContent& content) {
  FUZZ_CHECK(content.ends.empty() == content.records.empty());
  FUZZ_CHECK(content.ends.empty() || content.ends.back() == content.begin + content.records.size());
  for (const JournalTimes times :
       {JournalTimes::kNone, JournalTimes::kAll, JournalTimes::kStored}) {
    RecordTexts texts;
    FUZZ_CHECK(content.add_texts(0, content.ends.size(), times, texts));
    FUZZ_CHECK(texts.count() == content.ends.size());
  }
  if (content.note) {
    check_batch(content);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int file = ::memfd_create("journal", MFD_CLOEXEC);
  FUZZ_CHECK(::ftruncate(file, 0) == 0);
  FUZZ_CHECK(::pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
  JournalContent content;
  if (read_journal(file, content) == JournalState::kWhole) {
    check_content(content);
  }
  return 0;
}
