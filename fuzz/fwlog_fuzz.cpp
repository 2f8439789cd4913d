// What fwlog makes of the bytes of a file, which may be any.
//
// Input: a byte for the encoding, one for the size of blocks, and the file.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "call_tree.h"
#include "filter.h"
#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"
#include "json.h"
#include "log_records/encoding.h"
#include "log_records/record.h"
#include "log_records/splitter.h"
#include "statistics.h"
#include "tests/harness/json_line.h"
#include "text.h"

namespace {

using fwlog::Output;
using log_records::Encoding;
using log_records::RecordBytes;
using log_records::Splitter;

const std::string kFile = "host.log";

struct Piece {
  std::string bytes;
  std::uint64_t offset;
  bool is_ambiguous;
};

std::vector<Piece> pieces_of(std::string_view file, std::size_t block) {
  Splitter splitter(Splitter::LookAhead::kNextHead);
  std::vector<Piece> pieces;
  RecordBytes record;
  const auto take = [&](Splitter::Behind behind) {
    while (splitter.next(behind, record)) {
      pieces.push_back({std::string(record.bytes), record.offset, record.is_ambiguous});
    }
  };
  for (std::string_view rest = file; !rest.empty();) {
    const std::string_view part = rest.substr(0, block);
    std::copy(part.begin(), part.end(), splitter.room(part.size()).begin());
    splitter.added(part.size());
    rest.remove_prefix(part.size());
    take(Splitter::Behind::kMore);
  }
  take(Splitter::Behind::kEnd);
  return pieces;
}

// Every byte is in one record; only the first may lack a tag. A record is ambiguous where the next
// one has no complete head.
void check_pieces(const std::vector<Piece>& pieces, std::string_view file) {
  std::uint64_t offset = 0;
  bool had_tag = false;
  bool was_ambiguous = false;
  for (const Piece& piece : pieces) {
    const log_records::Record record = log_records::parse_record(piece.bytes);
    FUZZ_CHECK(!piece.bytes.empty());
    FUZZ_CHECK(piece.offset == offset);
    FUZZ_CHECK(file.substr(offset, piece.bytes.size()) == piece.bytes);
    FUZZ_CHECK(offset == 0 || record.level);
    FUZZ_CHECK(was_ambiguous == (had_tag && !record.has_head));
    had_tag = record.level.has_value();
    was_ambiguous = piece.is_ambiguous;
    offset += piece.bytes.size();
  }
  FUZZ_CHECK(!was_ambiguous);
  FUZZ_CHECK(offset == file.size());
}

void check_same(const std::vector<Piece>& one, const std::vector<Piece>& other) {
  FUZZ_CHECK(std::equal(one.begin(), one.end(), other.begin(), other.end(),
                        [](const Piece& a, const Piece& b) {
                          return a.bytes == b.bytes && a.is_ambiguous == b.is_ambiguous;
                        }));
}

std::vector<Piece> calls_of(const std::vector<Piece>& pieces) {
  std::vector<Piece> calls;
  std::copy_if(pieces.begin(), pieces.end(), std::back_inserter(calls), [](const Piece& piece) {
    const log_records::Record record = log_records::parse_record(piece.bytes);
    return fwlog::is_call(record) || fwlog::is_return(record);
  });
  return calls;
}

// What a sink prints of the records.
template <typename MakeSink>
std::string printed(const std::vector<Piece>& pieces, MakeSink make_sink) {
  static const int file = memfd_create("printed", MFD_CLOEXEC);
  FUZZ_CHECK(ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0);
  Output out(file);
  auto sink = make_sink(out);
  for (const Piece& piece : pieces) {
    const RecordBytes raw{piece.bytes, piece.offset, piece.is_ambiguous};
    sink.take({kFile, raw, log_records::parse_record(piece.bytes)});
  }
  sink.finish();
  out.flush();
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_CUR)), '\0');
  FUZZ_CHECK(pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
  return text;
}

// Valid UTF-8 whose only control characters are line feeds and tabs.
void check_shown(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = log_records::utf8_length(text);
    FUZZ_CHECK(length > 0);
    const auto byte = static_cast<unsigned char>(text[length - 1]);
    const bool is_c0 = length == 1 && byte < 0x20 && byte != '\n' && byte != '\t';
    FUZZ_CHECK(!is_c0 && !(length == 1 && byte == 0x7F));
    FUZZ_CHECK(length != 2 || text[0] != '\xC2' || byte >= 0xA0);
    text.remove_prefix(length);
  }
}

void check_json(std::string_view text, const std::vector<Piece>& pieces) {
  check_shown(text);
  for (const Piece& piece : pieces) {
    const std::size_t end = text.find('\n');
    FUZZ_CHECK(end != text.npos);
    const auto line = fwbase::test::parse_json_line(text.substr(0, end));
    FUZZ_CHECK(line.has_value() && line->size() >= 4);
    FUZZ_CHECK((*line)[1].second == std::to_string(piece.offset));
    FUZZ_CHECK((*line)[2].second == std::to_string(piece.bytes.size()));
    text.remove_prefix(end + 1);
  }
  FUZZ_CHECK(text.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fwbase::fuzz::Input input(data, size);
  const auto encoding = static_cast<Encoding>(input.below(4));
  const std::size_t block = input.byte() + 1;
  const std::string file = input.rest();

  const std::vector<Piece> pieces = pieces_of(file, file.size() + 1);
  check_pieces(pieces, file);
  check_same(pieces, pieces_of(file, block));

  check_json(printed(pieces, [=](Output& out) { return fwlog::JsonLines(encoding, out); }), pieces);
  const fwlog::Style style{encoding, false};
  check_shown(printed(pieces, [=](Output& out) { return fwlog::TextLines(style, out); }));
  check_shown(printed(pieces, [=](Output& out) { return fwlog::FullText(style, out); }));
  check_shown(printed(calls_of(pieces), [=](Output& out) { return fwlog::CallTree(style, out); }));
  check_shown(printed(pieces, [=](Output& out) { return fwlog::Statistics(encoding, out); }));
  return 0;
}
