// The functions that scripts are compared with: those of modules, and those of catalogues.
#ifndef FWCHECK_FUNCTIONS_H
#define FWCHECK_FUNCTIONS_H

#include <memory>
#include <string>
#include <vector>

#include "modules/catalogue.h"

namespace fwcheck {

typedef tools::CatalogueParameter Parameter;
typedef tools::CatalogueFunction Function;

/// Functions of catalogues, which stand in for those of a host: registered with the script engine
/// and never called. Must live until the engine is released.
class StandIns {
 public:
  StandIns();
  ~StandIns();

  /// Registers all functions of the catalogue in the file. Complains when that fails, and returns
  /// false.
  bool add(const std::string& file);

 private:
  class StandIn;

  std::vector<std::unique_ptr<StandIn>> m_all;
};

}  // namespace fwcheck

#endif
