// What the serializer writes is believed only when it reads as the same document.
#include "utility/xml/document_text.h"

#include "utility/xml/dom_release.h"
#include "utility/xml/dom_walk.h"

#include <memory>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/XMLFormatter.hpp>
#include <xercesc/sax/SAXException.hpp>

namespace utility {
namespace {

constexpr XMLSize_t kInitialSize = 4096;

// The library has names of its own for UTF-16 text that it has read, which no parser takes, and
// leaves out the byte order mark, which UTF-16 text must have.
bool is_utf16(const xc::DOMDocument& document) {
  const XMLCh* const encoding = document.getInputEncoding();
  return xc::XMLString::equals(encoding, xc::XMLUni::fgUTF16LEncodingString) ||
         xc::XMLString::equals(encoding, xc::XMLUni::fgUTF16BEncodingString) ||
         xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF16EncodingString) == 0;
}

// Writes comments in the serializer's place. That would look for an element among the siblings of
// each, in order to lay it out, which takes the square of their number and is not even asked for.
class CommentWriter final : public xc::DOMLSSerializerFilter {
 public:
  explicit CommentWriter(xc::XMLFormatter& formatter) : m_formatter(formatter) {}

  FilterAction acceptNode(const xc::DOMNode* comment) const override {
    m_formatter << u"<!--" << comment->getNodeValue() << u"-->";
    return xc::DOMNodeFilter::FILTER_REJECT;
  }
  xc::DOMNodeFilter::ShowType getWhatToShow() const override {
    return xc::DOMNodeFilter::SHOW_COMMENT;
  }

 private:
  xc::XMLFormatter& m_formatter;
};

bool serialise(const xc::DOMDocument& document, std::string& text) {
  xc::DOMImplementation* const dom = document.getImplementation();
  XmlMemory memory;
  const DomOwned<xc::DOMLSSerializer> serializer(dom->createLSSerializer(&memory));
  const DomOwned<xc::DOMLSOutput> output(dom->createLSOutput(&memory));
  xc::MemBufFormatTarget target(kInitialSize, &memory);
  output->setByteStream(&target);
  const XMLCh* encoding = document.getInputEncoding();
  if (is_utf16(document)) {
    encoding = xc::XMLUni::fgUTF16EncodingString;
    serializer->getDomConfig()->setParameter(xc::XMLUni::fgDOMWRTBOM, true);
  }
  output->setEncoding(encoding);
  try {
    xc::XMLFormatter formatter(encoding, document.getXmlVersion(), &target,
                               xc::XMLFormatter::NoEscapes, xc::XMLFormatter::UnRep_Fail, &memory);
    CommentWriter comments(formatter);
    serializer->setFilter(&comments);
    if (!serializer->write(&document, output.get())) {
      return false;
    }
  } catch (const xc::DOMException&) {
    return false;
  } catch (const xc::XMLException&) {
    return false;
  } catch (const xc::SAXException&) {
    return false;
  }
  if (target.getLen() > kMaxFileSize) {
    return false;
  }
  text.assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
  return true;
}

}  // namespace

bool to_document_text(const DocumentParser& parser, const xc::DOMDocument& document,
                      std::string& text) {
  if (is_deeper_than(kMaxNesting, document) || !serialise(document, text)) {
    return false;
  }
  // The serializer reports success also for text that is not XML, or not this document: control
  // characters, names and characters outside the encoding, quotes in declarations.
  const std::unique_ptr<DocumentParser> again(new (std::nothrow) DocumentParser);
  if (again == nullptr) {
    throw std::bad_alloc();
  }
  return again->parse_text(text) && again->declarations() == parser.declarations() &&
         have_same_content(document, *again->getDocument());
}

}  // namespace utility
