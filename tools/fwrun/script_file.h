// The content of a script file, read without running anything.
#ifndef FWRUN_SCRIPT_FILE_H
#define FWRUN_SCRIPT_FILE_H

#include <string>

#include "fwbase/script/outline.h"

namespace fwrun {

using fwbase::script::NamedList;
using ScriptFile = fwbase::script::Outline;
using Function = ScriptFile::Function;
using Parameter = ScriptFile::Parameter;
using Variable = ScriptFile::Variable;
using Section = ScriptFile::Section;
using ScriptCall = ScriptFile::Call;
using Argument = ScriptFile::Argument;

/// Reads the file with the library's reader. Parts that a script must have and this one lacks are
/// left empty; the engine checks them when it loads the script. On failure `why` says what is
/// wrong.
bool read_script_file(const std::string& path, ScriptFile& script, std::string& why);

/// Why a file cannot be read, such as "No such file or directory"; empty when it is readable.
std::string reason_unreadable(const std::string& path);

}  // namespace fwrun

#endif
