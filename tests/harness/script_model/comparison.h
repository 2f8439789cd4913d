// The engine beside its model: both live through the same, and must do the same.
#ifndef FWBASE_TESTS_HARNESS_SCRIPT_MODEL_COMPARISON_H
#define FWBASE_TESTS_HARNESS_SCRIPT_MODEL_COMPARISON_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <fwbase/ec.h>

#include "fuzz/harness/dom.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::script_model {

/// Keeps what is costly to make for many comparisons.
class Comparison {
 public:
  /// Reads from the bytes how the host behaves, the files that it loads, and what it does with
  /// them. Gives the first thing in which the engine and the model differ, and the files; empty
  /// when there is none. Compared are, in their order: result codes, records, calls with their
  /// arguments, values of variables, and the files on disk.
  ///
  /// Bytes  habits of the host, the code page, 0 for generated files or 1 for a given one, the
  ///        number of operations, two bytes for each, and the rest: the given file, or the
  ///        generator's choices.
  std::string difference(const std::uint8_t* bytes, std::size_t size);

  /// What the model's loads gave in the last comparison.
  const std::vector<ec::EC>& loads() const { return m_loads; }

 private:
  const fuzz::XmlPlatform m_platform;
  const test::TempDir m_directory;
  std::vector<ec::EC> m_loads;
};

}  // namespace fwbase::script_model

#endif
