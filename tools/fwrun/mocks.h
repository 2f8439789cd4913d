// --mock and --mock-missing: functions that stand in for those of missing modules.
#ifndef FWRUN_MOCKS_H
#define FWRUN_MOCKS_H

#include <memory>
#include <vector>

#include "call_watch.h"
#include "options.h"
#include "script_file.h"

namespace fwrun {

/// Each mock has the parameters that the script declares. A call of it prints the call on one line,
/// succeeds, and has no result. Must live until the engine is released.
class Mocks {
 public:
  Mocks();
  ~Mocks();

  /// Registers them, before the script is loaded. Complains about a name that the script does not
  /// declare or a module provides, and returns false.
  bool add(const Options& options, const ScriptFile& script, const CallWatch& provided);

 private:
  class Mock;

  bool add(const std::string& name, const Options& options, const ScriptFile& script,
           const CallWatch& provided);
  bool add(const Function& declared);

  std::vector<std::unique_ptr<Mock>> m_mocks;
};

}  // namespace fwrun

#endif
