// Reads the file with the library's reader, apart from the script engine.
#include "script_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include <utility/element.h>

#include "command_line/descriptor.h"
#include "command_line/messages.h"
#include "fwbase/script/document.h"
#include "fwbase/script/reader.h"
#include "utility/xml/xml_platform.h"

namespace fwrun {

namespace {

namespace script = fwbase::script;

// The program's own use of the XML library, beside that of the shared library.
class XmlPlatform {
 public:
  XmlPlatform() : m_is_started(utility::start_xml_platform()) {}
  ~XmlPlatform() {
    if (m_is_started) {
      utility::stop_xml_platform();
    }
  }
  XmlPlatform(const XmlPlatform&) = delete;
  XmlPlatform& operator=(const XmlPlatform&) = delete;

 private:
  const bool m_is_started;
};

}  // namespace

bool read_script_file(const std::string& path, ScriptFile& file, std::string& why) {
  why = reason_unreadable(path);
  if (!why.empty()) {
    return false;
  }
  const XmlPlatform platform;
  script::Document document;
  std::string bytes;
  if (document.load(path, bytes) != utility::XEC_OK) {
    why = tools::in_users_language(
        {"it is not well-formed XML, or beyond the limits of a script; fwcheck tells the place",
         "它不是格式良好的 XML，或超出了脚本的限制；fwcheck 会指出位置"});
    return false;
  }
  if (document.root().name() != script::kRootElement) {
    why = tools::in_users_language(
        {"its root element is '{1}', not 'korvid'", "它的根元素是“{1}”，不是“korvid”"},
        {document.root().name()});
    return false;
  }
  file = script::read_outline(document);
  return true;
}

std::string reason_unreadable(const std::string& path) {
  const tools::Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file.number() < 0) {
    return tools::reason_of(errno);
  }
  struct stat status {};
  const bool is_file = fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode);
  return is_file ? "" : tools::in_users_language({"it is not a regular file", "它不是普通文件"});
}

}  // namespace fwrun
