// The floor: Xerces-C makes a DOM tree of the file, and nothing else is done.
#include <stdexcept>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "bench/load/loader.h"

namespace fwbase::bench {

namespace {

class Platform {
 public:
  Platform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~Platform() { xercesc::XMLPlatformUtils::Terminate(); }
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
};

class DomParse : public Loader {
 public:
  void load(const char* path) override {
    m_parser.parse(path);
    if (m_parser.getErrorCount() != 0 || m_parser.getDocument() == nullptr) {
      throw std::runtime_error(std::string("cannot parse ") + path);
    }
  }

 private:
  Platform m_platform;
  xercesc::XercesDOMParser m_parser;
};

const RegisterLoader dom_parse("Xerces-C DOM parse", Role::kFloor, []() -> std::unique_ptr<Loader> {
  return std::make_unique<DomParse>();
});

}  // namespace

}  // namespace fwbase::bench
