// pugixml: a tree that points into the file's text. It neither converts texts nor reports all that
// makes a document ill-formed, and makes no calls of it.
#include <pugixml.hpp>

#include <stdexcept>

#include "bench/load/loader.h"

namespace fwbase::bench {

namespace {

class PugiParse : public Loader {
 public:
  void load(const char* path) override {
    if (!m_document.load_file(path)) {
      throw std::runtime_error(std::string("cannot parse ") + path);
    }
  }

 private:
  pugi::xml_document m_document;
};

const RegisterLoader pugi_parse("pugixml parse", Role::kOther, []() -> std::unique_ptr<Loader> {
  return std::make_unique<PugiParse>();
});

}  // namespace

}  // namespace fwbase::bench
