// --calls: the tracer's records as a tree.
#ifndef FWLOG_CALL_TREE_H
#define FWLOG_CALL_TREE_H

#include <cstdint>
#include <map>
#include <vector>

#include "text.h"

namespace fwlog {

/// Each process has a tree of its own; the log does not tell threads apart. A return closes the
/// latest open call of the same function, and those within it, whose returns are not in the log. A
/// return without a call stands beside the calls around it.
class CallTree : public Sink, private TextParts {
 public:
  CallTree(Style style, Output& out) : TextParts(style, out) {}

  void take(const Found& found) override;

 private:
  typedef std::vector<std::size_t> OpenCalls;  // hashes of their locations

  std::map<std::uint64_t, OpenCalls> m_processes;
};

}  // namespace fwlog

#endif
