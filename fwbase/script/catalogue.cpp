// The functions that are registered, as JSON.
#include <dlfcn.h>

#include <fwbase/check.h>
#include <fwbase/function.h>
#include <nlohmann/json.hpp>

#include "fwbase/cfwbase.h"
#include "utility/text_codec.h"

namespace fwbase {

namespace {

using Json = nlohmann::ordered_json;

// The address of an object's table of virtual functions, as GCC and Clang lay it out.
const void* virtual_table(const void* object) { return *static_cast<const void* const*>(object); }

// The file that holds the address; empty when there is none.
std::string file_of(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

// Most functions are static objects of their library. For one on the heap, its virtual functions
// are in the library.
std::string module_of(IScript::ISyntax& function, const IFunctionDescription* told) {
  if (told != nullptr && told->origin() != nullptr) {
    return told->origin();
  }
  const std::string file = file_of(&function);
  return !file.empty() ? file : file_of(virtual_table(&function));
}

bool is_utf8(const std::string& text) {
  try {
    static_cast<void>(Json(text).dump());
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

// Texts that scripts are compared with are in the code page of the locale.
std::string utf8_of(const std::string& text) {
  return is_utf8(text) ? text : utility::to_utf8_text(text);
}

Json parameter(const IFunctionDescription* told, int index, IScript::VType type) {
  const char* const left_out = told != nullptr ? told->param_default(index) : nullptr;
  Json json;
  json["tag"] =
      told != nullptr ? utf8_of(told->param_tag(index)) : "arg" + std::to_string(index + 1);
  json["type"] = type == IScript::VT_INT ? "int" : "string";
  json["must"] = left_out == nullptr;
  if (left_out != nullptr) {
    json["default"] = utf8_of(left_out);
  }
  json["description"] = told != nullptr ? utf8_of(told->param_description(index)) : "";
  return json;
}

Json function(const std::string& name, const std::vector<IScript::VType>& types,
              IScript::ISyntax& syntax) {
  const IFunctionDescription* const told = description_of(syntax);
  Json json;
  json["name"] = utf8_of(name);
  json["module"] = utf8_of(module_of(syntax, told));
  json["description"] = told != nullptr ? utf8_of(told->description()) : "";
  json["parameters"] = Json::array();
  for (std::size_t i = 0; i < types.size(); ++i) {
    json["parameters"].push_back(parameter(told, static_cast<int>(i), types[i]));
  }
  return json;
}

}  // namespace

std::string catalogue() {
  Json functions = Json::array();
  static_cast<CFWBase*>(IFWBase::instance())
      ->built_in_script()
      .visit_functions(
          [&](const std::string& name, const std::vector<IScript::VType>& types,
              IScript::ISyntax& syntax) { functions.push_back(function(name, types, syntax)); });
  Json all;
  all["functions"] = std::move(functions);
  return all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace fwbase
