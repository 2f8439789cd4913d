// Data blocks: one is made, filled, read and released, as a message that passes through a host.
#include <ace/Message_Block.h>

#include <array>
#include <cstring>

#include "bench/facade.h"
#include "bench/harness.h"

namespace fwbase::bench {

namespace {

constexpr const char* kMessageBlock = "ACE_Message_Block";

using Bytes = std::array<char, 1024>;

Bytes source;
Bytes received;

void through_data_block() {
  IDataBlock* block = nullptr;
  require(IFWBase::instance()->db_ft()->create(block, sizeof source));
  block->copy(source.data(), sizeof source);
  std::memcpy(received.data(), block->rd_ptr(), block->data_len());
  block->rd_ptr(sizeof received);
  block->release();
}

void through_message_block() {
  auto* const block = new ACE_Message_Block(sizeof source);
  block->copy(source.data(), sizeof source);
  std::memcpy(received.data(), block->rd_ptr(), block->length());
  block->rd_ptr(sizeof received);
  block->release();
}

void copied_twice() {
  Bytes buffer;
  std::memcpy(buffer.data(), source.data(), sizeof source);
  keep(buffer);
  std::memcpy(received.data(), buffer.data(), sizeof buffer);
}

template <void (*pass)()>
Row row(const char* name, Role role, long count) {
  return {name, role, [count] {
            return own_nanoseconds_each(count, [count] {
              for (long i = 0; i < count; ++i) {
                pass();
                keep(received);
              }
            });
          }};
}

std::vector<Group> groups(const Options& options) {
  const long count = options.operations(200000);
  return {{"create, copy 1 KiB, read, release",
           "ns per block",
           {row<through_data_block>("fwbase", Role::kOurs, count),
            row<copied_twice>("two memcpy", Role::kFloor, count),
            row<through_message_block>(kMessageBlock, Role::kPeer, count)},
           {{"fwbase", kMessageBlock, 1.15}}}};
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  const fwbase::bench::Facade facade;
  return fwbase::bench::run("data_blocks", argc, argv, fwbase::bench::groups);
}
