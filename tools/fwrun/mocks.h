// Functions that stand in for those of modules that are not there.
#ifndef FWRUN_MOCKS_H
#define FWRUN_MOCKS_H

#include <memory>
#include <vector>

#include "call_watch.h"
#include "options.h"
#include "script_file.h"

namespace fwrun {

/// The functions that --mock and --mock-missing ask for. Each has the parameters that the script
/// declares; a call of it prints the call on one line and succeeds, and sets nothing. Must live
/// until the engine is released.
class Mocks {
 public:
  Mocks();
  ~Mocks();

  /// Registers them, before the script is loaded. False when a name is not the script's, or is
  /// among the functions that are there; standard error says which then.
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
