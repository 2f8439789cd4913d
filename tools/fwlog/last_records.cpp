// Keeps records as bytes, and parses them again to hand them on.
#include "last_records.h"

#include <utility>

namespace fwlog {

void LastRecords::take(const Found& found) {
  if (m_passes_on) {
    m_next.take(found);
    return;
  }
  if (m_count == 0) {
    return;
  }
  Kept kept;
  if (m_kept.size() == m_count) {
    // Reuses its memory, but not that of a much longer record: all would grow to the longest.
    std::string& oldest = m_kept.front().bytes;
    if (oldest.capacity() <= 2 * found.raw.bytes.size() + 1024) {
      kept.bytes.swap(oldest);
    }
    m_kept.pop_front();
  }
  kept.file = found.file;
  kept.bytes = found.raw.bytes;
  kept.offset = found.raw.offset;
  kept.is_ambiguous = found.raw.is_ambiguous;
  m_kept.push_back(std::move(kept));
}

void LastRecords::finish() {
  if (m_passes_on) {
    return;
  }
  m_passes_on = true;
  for (const Kept& kept : m_kept) {
    const log_records::RecordBytes raw{kept.bytes, kept.offset, kept.is_ambiguous};
    m_next.take({kept.file, raw, log_records::parse_record(kept.bytes)});
  }
  m_kept.clear();
  m_next.finish();
}

}  // namespace fwlog
