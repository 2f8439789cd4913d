// A function of a catalogue stands in for one of a host: the engine knows it, and nothing calls it.
#include "functions.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include <fwbase/function.h>
#include <fwbase/ifwbase.h>

#include "command_line/charset.h"
#include "output.h"

namespace fwcheck {

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

// Leaves the reason of a failure in errno.
bool read_all(const std::string& file, std::string& text) {
  std::ifstream stream(file, std::ios::binary);
  try {
    text.assign(std::istreambuf_iterator<char>(stream), {});
    return stream.is_open();
  } catch (const std::ios_base::failure&) {  // as for a directory
    return false;
  }
}

}  // namespace

// Its texts are in the code page of the locale, to which the library converts scripts.
class StandIns::StandIn : public IScript::ISyntax, public fwbase::IFunctionDescription {
 public:
  explicit StandIn(Function function)
      : m_function(std::move(function)), m_name(tools::locale_text_of(m_function.name)) {
    for (Parameter& parameter : m_function.parameters) {
      parameter.tag = tools::locale_text_of(parameter.tag);
      if (parameter.default_value) {
        parameter.default_value = tools::locale_text_of(*parameter.default_value);
      }
      m_types.push_back(parameter.is_int ? IScript::VT_INT : IScript::VT_STRING);
    }
  }

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_NO_FUNC; }

  const char* description() const override { return m_function.description.c_str(); }
  const char* param_tag(int index) const override { return at(index).tag.c_str(); }
  const char* param_description(int index) const override { return at(index).description.c_str(); }
  const char* param_default(int index) const override {
    return at(index).default_value ? at(index).default_value->c_str() : nullptr;
  }
  const char* origin() const override { return m_function.module.c_str(); }

 private:
  const Parameter& at(int index) const {
    return m_function.parameters[static_cast<std::size_t>(index)];
  }

  Function m_function;
  std::string m_name;
  std::vector<IScript::VType> m_types;
};

StandIns::StandIns() = default;
StandIns::~StandIns() = default;

bool StandIns::add(const std::string& file) {
  errno = 0;
  std::string text;
  if (!read_all(file, text)) {
    complain({"cannot read the catalogue '{1}': {2}", "无法读取目录“{1}”：{2}"},
             {file, tools::reason_of(errno != 0 ? errno : EINVAL)});
    return false;
  }
  try {
    for (Function& function : tools::functions_of(text)) {
      StandIn& one = *m_all.emplace_back(std::make_unique<StandIn>(std::move(function)));
      if (!IFWBase::instance()->script()->expand_syntax(&one)) {
        throw std::runtime_error(std::string("the engine refuses the function '") + one.name() +
                                 "'");
      }
    }
    return true;
  } catch (const std::runtime_error& error) {
    complain({"'{1}' is no catalogue: {2}", "“{1}”不是目录：{2}"}, {file, error.what()});
    return false;
  }
}

}  // namespace fwcheck
