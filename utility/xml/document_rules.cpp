// Counts or examines each report of the scanner. The limit of memory bounds the scanner's work
// between two reports.
#include "utility/xml/document_rules.h"

#include <algorithm>
#include <string_view>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace utility {

void DocumentRules::begin(std::size_t bytes) {
  *this = DocumentRules(*m_memory);
  m_memory->watch(kMaxMemory + kMaxMemoryPerByte * bytes,
                  kMaxExpansions + bytes / kBytesPerExpansion, kMaxWork + kMaxWorkPerByte * bytes);
}

void DocumentRules::error(unsigned int code, const XMLCh* domain,
                          xc::XMLErrorReporter::ErrTypes type) {
  if (type == xc::XMLErrorReporter::ErrType_Warning) {
    return;
  }
  // Validity does not matter here, with one exception: a reference to an unknown entity is left
  // out of the document and would be lost silently.
  const bool validity = xc::XMLString::equals(domain, xc::XMLUni::fgValidityDomain);
  if (!validity || code == xc::XMLValid::VC_EntityNotFound) {
    m_damaged = true;
  }
}

// The scanner asks for the external DTD subset, because it validates, in spite of the setting. This
// gives it an empty one. The scanner also asks for external entities: a document is not whole
// without them, and is refused.
xc::InputSource* DocumentRules::resolve_entity() {
  if (m_in_internal_subset) {
    refuse_another_file();
  }
  m_has_external_subset = true;
  static constexpr XMLByte kNothing[] = {'\n'};  // no bytes at all would be an error
  return new (m_memory)
      xc::MemBufInputSource(kNothing, sizeof(kNothing), kDocumentName, false, m_memory);
}

void DocumentRules::start_element(const xc::XMLElementDecl& element,
                                  const xc::RefVectorOf<xc::XMLAttr>& attrs, XMLSize_t attr_count) {
  enter();
  m_memory->begin_piece();
  count_element(element);
  count_attributes(attrs, attr_count);
  if (element.hasAttDefs()) {
    m_memory->count_work(element.getAttDefList().getAttDefCount());
  }
}

void DocumentRules::start_entity_reference(const xc::XMLEntityDecl& entity) {
  enter();
  if (entity.isExternal()) {
    refuse_another_file();
  }
  m_memory->entity_expanded(entity.getValueLen());
}

void DocumentRules::entity_declared(const xc::DTDEntityDecl& entity, bool is_parameter,
                                    bool is_ignored) {
  note_declaration(is_ignored,
                   {is_parameter ? u"%" : u"&", entity.getName(), entity.getValue(),
                    entity.getPublicId(), entity.getSystemId(), entity.getNotationName()});
  (is_parameter ? m_parameter_entities : m_entities).add(entity.getName());
  if (entity.getValue() != nullptr) {
    m_memory->entity_declared(entity.getValueLen());
  }
}

void DocumentRules::element_declared(const xc::DTDElementDecl& element, bool is_ignored) {
  const XMLCh* const content_model = element.getFormattedContentModel();
  note_declaration(is_ignored, {u"element", element.getFullName(), content_model});
  m_declared_elements.add(element.getFullName());
  count_names_in(content_model);
  // The scanner would leave out text in an element that must be empty.
  const_cast<xc::DTDElementDecl&>(element).setModelType(xc::DTDElementDecl::Any);
}

void DocumentRules::attribute_declared(const xc::DTDElementDecl& element, const xc::DTDAttDef& attr,
                                       bool is_ignored) {
  const XMLCh type[] = {static_cast<XMLCh>(u'0' + attr.getType()),
                        static_cast<XMLCh>(u'0' + attr.getDefaultType()), 0};
  note_declaration(is_ignored, {u"attribute", element.getFullName(), attr.getFullName(), type,
                                attr.getEnumeration(), attr.getValue()});
  m_declared_elements.add(element.getFullName());
  m_declared_attributes.try_emplace(&element, NameTable{kElements})
      .first->second.add(attr.getFullName());
  // The DOM keeps IDs in a hash table, and a document can make all of them collide. So an ID
  // becomes a name token, which the library reads in the same way.
  if (attr.getType() == xc::XMLAttDef::ID) {
    const_cast<xc::DTDAttDef&>(attr).setType(xc::XMLAttDef::NmToken);
  }
}

// For each attribute list of an element, the DOM makes all default values of the element anew. This
// work counts in the SAX2 parser, too, so that both parsers refuse the same documents.
void DocumentRules::attribute_list_declared(const xc::DTDElementDecl& element) {
  constexpr std::size_t kWorkPerDefault = 100;
  const XMLSize_t attr_count = element.hasAttDefs() ? element.getAttDefList().getAttDefCount() : 0;
  for (XMLSize_t i = 0; i < attr_count; ++i) {
    const bool has_default = element.getAttDefList().getAttDef(i).getValue() != nullptr;
    m_memory->count_work(has_default ? kWorkPerDefault : 0);
  }
}

void DocumentRules::notation_declared(const xc::XMLNotationDecl& notation, bool is_ignored) {
  note_declaration(is_ignored, {u"notation", notation.getName(), notation.getPublicId(),
                                notation.getSystemId()});
  m_notations.add(notation.getName());
}

void DocumentRules::refuse_another_file() {
  m_refers_to_another_file = true;
  throw DocumentRefused();
}

void DocumentRules::enter() {
  if (++m_depth > kMaxNesting) {
    throw DocumentRefused();
  }
}

void DocumentRules::count_name(const XMLCh* name) {
  m_names.add(name);
  if (m_names.size() > kMaxNames) {
    throw DocumentRefused();
  }
}

void DocumentRules::count_element(const xc::XMLElementDecl& element) {
  const xc::XMLElementDecl*& counted = m_counted[element.getId() % m_counted.size()];
  if (counted == &element) {
    return;
  }
  count_name(element.getFullName());
  const xc::XMLElementDecl::CreateReasons reason = element.getCreateReason();
  if (reason == xc::XMLElementDecl::NoReason || reason == xc::XMLElementDecl::JustFaultIn) {
    m_elements.add(element.getFullName());  // no declaration has brought it
  }
  counted = &element;
}

void DocumentRules::count_attributes(const xc::RefVectorOf<xc::XMLAttr>& attrs,
                                     XMLSize_t attr_count) {
  if (attr_count > kMaxAttributes) {
    throw DocumentRefused();
  }
  for (XMLSize_t i = 0; i < attr_count; ++i) {
    count_name(attrs.elementAt(i)->getName());
  }
  if (attr_count <= kMaxNamesPerBucket) {
    return;
  }
  NameTable tag{kTag};
  for (XMLSize_t i = 0; i < attr_count; ++i) {
    tag.add(attrs.elementAt(i)->getName());
  }
}

// The library keeps a declaration for each element that a content model names.
void DocumentRules::count_names_in(const XMLCh* content_model) {
  constexpr std::basic_string_view<XMLCh> kDelimiters = u"(|,)?*+";
  std::basic_string_view<XMLCh> rest(content_model);
  while (!rest.empty()) {
    const std::size_t size = std::min(rest.find_first_of(kDelimiters), rest.size());
    if (size != 0) {
      m_declared_elements.add(DomText(rest.substr(0, size)).c_str());
    }
    rest.remove_prefix(std::min(size + 1, rest.size()));
  }
}

void DocumentRules::note_declaration(bool is_ignored, std::initializer_list<const XMLCh*> parts) {
  m_memory->begin_piece();
  if (++m_declaration_count > kMaxDeclarations) {
    throw DocumentRefused();
  }
  if (is_ignored) {
    return;
  }
  for (const XMLCh* const part : parts) {
    if (part != nullptr) {
      m_declarations += part;
    }
    m_declarations += XMLCh(0);  // in no part: no two lists of declarations look the same
  }
}

}  // namespace utility
