// XML documents: loading, searching, saving.
#ifndef UTILITY_XML_H
#define UTILITY_XML_H

#include <utility/element.h>

#include <string>
#include <vector>

XERCES_CPP_NAMESPACE_BEGIN
class XercesDOMParser;
XERCES_CPP_NAMESPACE_END

namespace utility {

struct XmlTexts;

/// Owns one XML document: loads it from a file, finds and makes elements, saves it.
///
/// Use: xercesc::XMLPlatformUtils::Initialize() must have been called (the script engine's init()
///   does). Then load(), work, release(). The destructor does not free the document: call release()
///   before. After the last XMLPlatformUtils::Terminate() a loaded object may only be released and
///   destroyed. Not copyable.
/// Threads: not synchronised. Different objects are independent. Even search_element() and the
///   XPath operations need exclusive use of their document, since they use its memory.
/// Strings: as in CElement; paths are taken byte by byte.
/// Failures: codes of XmlResult; nothing is logged. No exception leaves load(), save() and
///   save_as(); the only exception that leaves other operations is that of exhausted memory.
///
/// Limits: a document is refused, with the code for one that is not well-formed, when
///   - its file is larger than 256 MiB,
///   - elements and references to entities are nested more than 1000 deep,
///   - it has more than 50,000 different names of elements and attributes, an element has more than
///     5,000 attributes, or the DTD subset more than 5,000 declarations, one of them with more than
///     about 4,000 names of elements, or more than about 400 lists of attributes with defaults for
///     one element,
///   - more than 500 of its names fall into one bucket of the XML library's hash tables, which
///     happens only with names that were constructed for it,
///   - it refers to entities more than 20,000 times plus once for each 32 bytes of the file
///     (references in entities count wherever they are expanded), or expands to more than 8,000,000
///     characters plus 8 for each byte of the file, or needs more than 32 MiB plus 96 bytes for
///     each byte of the file.
/// So loading and saving take time in proportion to the size of the file.
/// IDs: an attribute that the DTD declares as an ID is treated as a token: the DOM's
///   getElementById() does not find its element.
class FWBASE_API CXml {
 public:
  /// No document.
  CXml();

  /// Frees only the path; see the class comment.
  ~CXml();

  CXml(const CXml&) = delete;
  CXml& operator=(const CXml&) = delete;

  /// Forgets the document without freeing it: release a loaded document first. The path of the last
  /// load stays. XEC_OK.
  unsigned int init();

  /// Frees the document; all handles become invalid. The path stays. Harmless without a document,
  /// when called twice, and when the XML platform has been terminated meanwhile.
  void release();

  /// Loads the document of a file; it replaces the document that this object holds.
  ///
  /// Only this file is read: an external DTD is ignored, and a reference to an external entity
  /// makes the load fail. The document must be well-formed; validity does not matter.
  ///
  /// Returns
  ///   XEC_OK (0)            loaded; handles to elements of an earlier document of this object are
  ///                         invalid
  ///   XEC_NO_MEMORY (2)     memory ran out, the XML platform is not initialised, or an engine's
  ///                         init() has left it out of service
  ///   XEC_PARSE (4)         not well-formed (also an empty file), damaged (bytes that are not
  ///                         characters of the encoding), beyond the limits, incomplete without
  ///                         another file, or in an encoding whose converter does not exist or
  ///                         cannot be made for lack of memory
  ///   XEC_NO_DOCUMENT (32)  the file does not exist, cannot be read, or is not a regular file
  /// After a failure no document is loaded: an earlier one is gone, only the path stays.
  unsigned int load(const std::string& path);

  /// save_as() to the file of the last successful load; XEC_BAD_PARAM (10) if no load has
  /// succeeded.
  unsigned int save() const;

  /// Writes the document to path. A regular file is replaced in one step, once the new text is
  /// complete on disk: a reader finds the old or the new document, never a part. After a failure
  /// the file is as it was (or already new, if only flushing its directory failed). The directory
  /// must be writable; other hard links keep the old document. The file keeps its permissions and,
  /// where allowed, its owner; a symbolic link is followed. A new file gets the permissions that
  /// the umask leaves of 0666. An existing target that is not a regular file (a device, or a pipe,
  /// which waits for its reader) is written directly, and so is /dev/stdout. The text has the
  /// encoding that the document was loaded in. The path of save() does not change.
  ///
  /// Returns
  ///   XEC_OK (0)            saved
  ///   XEC_NO_TARGET (3)     memory ran out; nothing was written
  ///   XEC_WRITE (5)         the file could not be written, a load of the text would not give the
  ///                         same document (a control character, a name outside the encoding, a
  ///                         limit exceeded), or there is no memory for a converter
  ///   XEC_BAD_PARAM (10)    empty path
  ///   XEC_NO_DOCUMENT (32)  no document is loaded
  unsigned int save_as(const std::string& path) const;

  /// Frees memory that changes have left unused and that would otherwise stay in use until the next
  /// load() or release(): for documents that change again and again. A document that takes twice
  /// the memory that it took after its load or last compact() is rebuilt from its own text. True
  /// when it was rebuilt; all handles are invalid then. Otherwise nothing has changed, also when
  /// there is no document, when it cannot be saved, or when memory runs out.
  bool compact();

  /// Makes root refer to the root element. XEC_OK, XEC_NO_DOCUMENT (32), or XEC_NO_ELEMENT (9).
  unsigned int get_root_element(CElement& root) const;

  /// Makes out refer to a new element called name, not attached to the tree: insert it with
  /// CElement's operations. An empty name gives XEC_OK and leaves out as it was. Otherwise XEC_OK,
  /// XEC_NO_DOCUMENT (32), XEC_ENCODING (38), or XEC_CREATE_ELEMENT (7) for a name that XML does
  /// not allow.
  unsigned int create_element(const std::string& name, CElement& out) const;

  /// Appends every element of the document called name to out, in document order; out is not
  /// cleared. XEC_OK also when there is none; XEC_EMPTY_TAG (6), XEC_NO_DOCUMENT (32),
  /// XEC_ENCODING (38), or XEC_NO_NODE_LIST (8).
  unsigned int search_element(const std::string& name, std::vector<CElement>& out) const;

  /// Evaluates an XPath expression, as Xerces-C understands it, from the root element. Gives an
  /// ordered snapshot; the caller calls its release() before this document is released. Null when
  /// there is no document, when the expression cannot be converted or evaluated (Xerces-C knows
  /// location paths to elements, without predicates and attributes), and when elements are nested
  /// deeper than a document may be.
  XERCES_CPP_NAMESPACE::DOMXPathResult* get_xpath_result(const std::string& xpath) const;

  /// Sets text to the text of the first element that xpath selects, as CElement::get_text().
  /// XEC_OK, XEC_NO_DOCUMENT (32), XEC_XPATH (28) when the expression cannot be evaluated,
  /// XEC_XPATH_EMPTY (26) when it selects nothing, or attributes or text, XEC_NO_TEXT (24) when the
  /// element's first child is missing or not a text, or XEC_ENCODING (38). text is set on success
  /// only.
  unsigned int get_xpath_text(const std::string& xpath, std::string& text) const;

  /// CElement::set_text() on the first element that xpath selects, with its code; or
  /// XEC_NO_DOCUMENT (32), XEC_XPATH (28), XEC_XPATH_EMPTY (26) as in get_xpath_text().
  unsigned int set_xpath_text(const std::string& xpath, const std::string& text) const;

  /// Appends every element that xpath selects to out, in document order; other nodes are skipped,
  /// out is not cleared. XEC_OK also when there is none; XEC_NO_DOCUMENT (32), XEC_XPATH (28), or
  /// XEC_XPATH_EMPTY (26) when the result cannot be read.
  unsigned int get_xpath_element(const std::string& xpath, std::vector<CElement>& out) const;

 private:
  friend struct XmlTexts;  // of the library

  bool make_parser();

  XERCES_CPP_NAMESPACE::XercesDOMParser* m_parser;
  XERCES_CPP_NAMESPACE::DOMDocument* m_document;
  std::string m_file;
};

}  // namespace utility

#endif
