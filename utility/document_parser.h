#ifndef UTILITY_DOCUMENT_PARSER_H
#define UTILITY_DOCUMENT_PARSER_H

#include <string_view>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>

namespace utility {

/// DOM parser for one self-contained, well-formed document. It reads nothing but the bytes that
/// it is given and tells a damaged document from a good one, which the base class by itself does
/// not: that gives the part it has read and no error.
class DocumentParser : public XERCES_CPP_NAMESPACE::XercesDOMParser {
 public:
  DocumentParser();

  /// Parses text; the document is then getDocument(). The one parsed before is freed. False when
  /// the text is not a well-formed document; what getDocument() gives then is not to be used.
  bool parse_text(std::string_view text);

  void error(unsigned int code, const XMLCh* domain, XMLErrorReporter::ErrTypes type,
             const XMLCh* text, const XMLCh* system_id, const XMLCh* public_id, XMLFileLoc line,
             XMLFileLoc column) override;

  XERCES_CPP_NAMESPACE::InputSource* resolveEntity(
      XERCES_CPP_NAMESPACE::XMLResourceIdentifier* resource) override;

 private:
  XERCES_CPP_NAMESPACE::HandlerBase m_error_handler;  // the scanner reports only when one is set
  bool m_damaged = false;
};

}  // namespace utility

#endif
