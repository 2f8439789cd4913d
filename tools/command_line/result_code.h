// How messages show the library's result codes. Apart from text.h: fwlog runs without the library.
#ifndef TOOLS_COMMAND_LINE_RESULT_CODE_H
#define TOOLS_COMMAND_LINE_RESULT_CODE_H

#include <cstdio>
#include <string>

#include <fwbase/ec.h>

namespace tools {

/// "SCRIPT_E_LOAD (0x0008000f): the script document could not be loaded"
inline std::string described(ec::EC code) {
  char number[16];
  std::snprintf(number, sizeof number, " (0x%08x): ", code);
  return ec::name(code) + std::string(number) + ec::text(code);
}

}  // namespace tools

#endif
