// Reads JSON with nlohmann/json, whose exceptions do not leave this file.
#include "modules/catalogue.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace tools {

namespace {

using nlohmann::json;

std::string text_of(const json& object, const char* member) {
  return object.value(member, std::string());
}

CatalogueParameter parameter_of(const json& object) {
  CatalogueParameter parameter;
  parameter.tag = object.at("tag").get<std::string>();
  const std::string type = object.at("type").get<std::string>();
  if (type != "int" && type != "string") {
    throw std::runtime_error("the type '" + type + "' is neither \"int\" nor \"string\"");
  }
  parameter.is_int = type == "int";
  if (!object.value("must", true)) {
    parameter.default_value = object.value("default", std::string(parameter.is_int ? "0" : ""));
  }
  parameter.description = text_of(object, "description");
  return parameter;
}

CatalogueFunction function_of(const json& object) {
  CatalogueFunction function{object.at("name").get<std::string>(),
                             text_of(object, "module"),
                             text_of(object, "description"),
                             {}};
  for (const json& parameter : object.at("parameters")) {
    function.parameters.push_back(parameter_of(parameter));
  }
  return function;
}

}  // namespace

std::vector<CatalogueFunction> functions_of(const std::string& catalogue) {
  std::vector<CatalogueFunction> functions;
  try {
    const json read = json::parse(catalogue);
    for (const json& object : read.at("functions")) {
      functions.push_back(function_of(object));
    }
  } catch (const json::exception& error) {
    throw std::runtime_error(error.what());
  }
  return functions;
}

}  // namespace tools
