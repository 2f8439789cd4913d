#ifndef UTILITY_XML_NO_VALIDATION_H
#define UTILITY_XML_NO_VALIDATION_H

#include <xercesc/framework/XMLValidator.hpp>

namespace utility {

/// A validator to which every document is valid. A document with a DTD must be scanned as if it
/// were validated, for only then an entity that is not declared is an error. Nobody asks for more,
/// and the library's own validator costs the square of a document's size: it compares each value of
/// an enumeration with each other one, and keeps IDs in tables in which a document can make all of
/// them collide.
class NoValidation final : public XERCES_CPP_NAMESPACE::XMLValidator {
 public:
  bool checkContent(XERCES_CPP_NAMESPACE::XMLElementDecl*, XERCES_CPP_NAMESPACE::QName**, XMLSize_t,
                    XMLSize_t*) override {
    return true;
  }
  void validateAttrValue(const XERCES_CPP_NAMESPACE::XMLAttDef*, const XMLCh*, bool,
                         const XERCES_CPP_NAMESPACE::XMLElementDecl*) override {}
  void validateElement(const XERCES_CPP_NAMESPACE::XMLElementDecl*) override {}
  void preContentValidation(bool, bool) override {}
  void postParseValidation() override {}
  void faultInAttr(XERCES_CPP_NAMESPACE::XMLAttr&,
                   const XERCES_CPP_NAMESPACE::XMLAttDef&) const override {}
  void reset() override {}

  XERCES_CPP_NAMESPACE::Grammar* getGrammar() const override { return m_grammar; }
  void setGrammar(XERCES_CPP_NAMESPACE::Grammar* grammar) override { m_grammar = grammar; }
  bool requiresNamespaces() const override { return false; }
  bool handlesDTD() const override { return true; }
  bool handlesSchema() const override { return false; }

 private:
  XERCES_CPP_NAMESPACE::Grammar* m_grammar = nullptr;
};

}  // namespace utility

#endif
