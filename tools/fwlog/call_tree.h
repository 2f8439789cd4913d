// --calls: the records of scopes as a tree.
#ifndef FWLOG_CALL_TREE_H
#define FWLOG_CALL_TREE_H

#include <cstdint>
#include <map>
#include <vector>

#include "text.h"

namespace fwlog {

/// Each process has a tree of its own; the log does not distinguish threads. A return closes the
/// latest open call of its function, and the calls within that, whose returns are not in the log. A
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
