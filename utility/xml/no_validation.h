// Scanning by the declarations of a DTD without validating.
#ifndef UTILITY_XML_NO_VALIDATION_H
#define UTILITY_XML_NO_VALIDATION_H

#include "utility/xml/xc.h"

#include <xercesc/framework/XMLValidator.hpp>

namespace utility {

/// A validator to which every document is valid. A document with a DTD must be scanned as if it
/// were validated, for only then an entity that is not declared is an error. Nobody asks for more,
/// and the library's own validator costs the square of a document's size: it compares each value of
/// an enumeration with each other one, and keeps IDs in tables in which a document can make all of
/// them collide.
class NoValidation final : public xc::XMLValidator {
 public:
  bool checkContent(xc::XMLElementDecl*, xc::QName**, XMLSize_t, XMLSize_t*) override {
    return true;
  }
  void validateAttrValue(const xc::XMLAttDef*, const XMLCh*, bool,
                         const xc::XMLElementDecl*) override {}
  void validateElement(const xc::XMLElementDecl*) override {}
  void preContentValidation(bool, bool) override {}
  void postParseValidation() override {}
  void faultInAttr(xc::XMLAttr&, const xc::XMLAttDef&) const override {}
  void reset() override {}

  xc::Grammar* getGrammar() const override { return m_grammar; }
  void setGrammar(xc::Grammar* grammar) override { m_grammar = grammar; }
  bool requiresNamespaces() const override { return false; }
  bool handlesDTD() const override { return true; }
  bool handlesSchema() const override { return false; }

 private:
  xc::Grammar* m_grammar = nullptr;
};

}  // namespace utility

#endif
