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

/// Owner of one XML document: loads it from a file, finds and makes elements, saves it.
///
/// Use: xercesc::XMLPlatformUtils::Initialize() must have been called (the script engine's
///   init() does). Then load(), work, release(). The destructor does not free the document:
///   release() comes first. After the last XMLPlatformUtils::Terminate() nothing else may be
///   called on a loaded object. Not copyable.
/// Threads: not synchronised. Different objects are independent; of one object, search_element()
///   and the XPath operations too need the document to themselves, since they use its memory.
/// Strings: as in CElement; paths are taken byte by byte.
/// Failures: codes of XmlResult, nothing is logged and no exception leaves load(), save() and
///   save_as(). Elsewhere only running out of memory leaves as an exception.
///
/// Limits: a document is refused, as one that is not well-formed, when
///   - its file is larger than 256 MiB,
///   - elements and references to entities are nested more than 1000 deep,
///   - it has more than 50,000 different names of elements and attributes, an element has more than
///     5,000 attributes, or the DTD subset more than 5,000 declarations, one of them with more than
///     about 4,000 names of elements, or more than about 400 lists of attributes with defaults for
///     one element,
///   - more than 500 of its names fall into one bucket of the XML library's hash tables, which only
///     names do that were made up for it,
///   - it refers to entities more than 20,000 times and once for each 32 bytes of the file,
///     references in entities counted wherever they are expanded, or expands to more than 8,000,000
///     characters plus 8 for each byte of the file, or needs more than 32 MiB plus 96 bytes for
///     each byte of the file.
/// So loading and saving take time in proportion to the file.
/// IDs: an attribute that the DTD declares as an ID counts as a token: the DOM's getElementById()
///   does not find its element.
class FWBASE_API CXml {
 public:
  /// No document.
  CXml();

  /// Frees nothing but the path; see the class comment.
  ~CXml();

  CXml(const CXml&) = delete;
  CXml& operator=(const CXml&) = delete;

  /// Forgets the document without freeing it; a loaded document must be released first. The path
  /// of the last load stays. XEC_OK.
  unsigned int init();

  /// Frees the document and forgets it; all handles become invalid. The path stays. Harmless
  /// when there is no document, and thus a second time, and when the XML platform has been
  /// terminated meanwhile.
  void release();

  /// Loads the document of a file in place of the one that this object holds.
  ///
  /// Nothing but this file is read: an external DTD is ignored, and a reference to an external
  /// entity makes the load fail. The document must be well-formed; validity does not matter.
  ///
  /// Returns
  ///   XEC_OK (0)            loaded; handles on an earlier document of this object are invalid
  ///   XEC_NO_MEMORY (2)     memory ran out, or the XML platform is not initialised, or an engine's
  ///                         init() has left it out of service
  ///   XEC_PARSE (4)         not well-formed (an empty file included), damaged (bytes that are no
  ///                         characters of the encoding), beyond the limits, not whole without
  ///                         another file, or in an encoding for which there is no converter, or no
  ///                         memory for it
  ///   XEC_NO_DOCUMENT (32)  there is no such file, it cannot be read, or it is not a regular file
  /// After a failure no document is loaded, an earlier one is gone; only the path stays.
  unsigned int load(const std::string& path);

  /// save_as() to the file of the last successful load; XEC_BAD_PARAM (10) if there was none.
  unsigned int save() const;

  /// Writes the document to path. A regular file is replaced in one step, when the new text is
  /// complete on disk: whoever opens it finds the old or the new document, never a part, and
  /// after a failure it is as it was (or new already, where only flushing its directory failed).
  /// Its directory must be writable, and other hard links keep the old document. It keeps its
  /// permissions and, where allowed, its owner; a symbolic link is followed. A new file gets the
  /// permissions that the umask leaves of 0666. What exists and is not a regular file (a device; a
  /// pipe, which waits for its reader) is written to directly, and so is /dev/stdout. The text is
  /// in the encoding that the document was loaded in, and the path of save() does not change.
  ///
  /// Returns
  ///   XEC_OK (0)            saved
  ///   XEC_NO_TARGET (3)     memory ran out; nothing was written
  ///   XEC_WRITE (5)         the file could not be written, or the document cannot be written so
  ///                         that loading it again gives the same document (a control character,
  ///                         a name outside the encoding, a limit exceeded), or there is no memory
  ///                         for a converter
  ///   XEC_BAD_PARAM (10)    empty path
  ///   XEC_NO_DOCUMENT (32)  no document is loaded
  unsigned int save_as(const std::string& path) const;

  /// Gives back what changes have left unused in memory, which is otherwise kept until the next
  /// load() or release(): for documents that are changed again and again. Where the document takes
  /// twice the memory that it took when it was loaded or made compact, it is made anew from its own
  /// text. True when it was; all handles are invalid then. Otherwise nothing has changed, also when
  /// there is no document, it cannot be saved, or memory runs out.
  bool compact();

  /// Lets root designate the root element. XEC_OK, XEC_NO_DOCUMENT (32), or XEC_NO_ELEMENT (9).
  unsigned int get_root_element(CElement& root) const;

  /// Lets out designate a new element called name, attached nowhere: insert it with CElement's
  /// operations. An empty name is XEC_OK with out as it was; else XEC_OK, XEC_NO_DOCUMENT (32),
  /// XEC_ENCODING (38), or XEC_CREATE_ELEMENT (7) for a name that XML does not allow.
  unsigned int create_element(const std::string& name, CElement& out) const;

  /// Appends every element of the document called name to out, in document order; out is not
  /// cleared. XEC_OK also when there is none; XEC_EMPTY_TAG (6), XEC_NO_DOCUMENT (32),
  /// XEC_ENCODING (38), or XEC_NO_NODE_LIST (8).
  unsigned int search_element(const std::string& name, std::vector<CElement>& out) const;

  /// Evaluates an XPath expression, as Xerces-C understands it, from the root element, to an
  /// ordered snapshot. The caller release()s the result, before this document is released. Null
  /// when there is no document, when the expression cannot be converted or evaluated (Xerces-C
  /// knows location paths to elements, with neither predicates nor attributes), and when
  /// elements are nested deeper than a document may be.
  XERCES_CPP_NAMESPACE::DOMXPathResult* get_xpath_result(const std::string& xpath) const;

  /// Sets text to the text of the first element that xpath selects, as CElement::get_text().
  /// XEC_OK, XEC_NO_DOCUMENT (32), XEC_XPATH (28) when the expression cannot be evaluated,
  /// XEC_XPATH_EMPTY (26) when it selects nothing, or attributes or text,
  /// XEC_NO_TEXT (24) when that element's first child is missing or no text, or
  /// XEC_ENCODING (38). text is set on success only.
  unsigned int get_xpath_text(const std::string& xpath, std::string& text) const;

  /// CElement::set_text() on the first element that xpath selects, with its code; or
  /// XEC_NO_DOCUMENT (32), XEC_XPATH (28), XEC_XPATH_EMPTY (26) as in get_xpath_text().
  unsigned int set_xpath_text(const std::string& xpath, const std::string& text) const;

  /// Appends every element that xpath selects to out, in document order, and skips other nodes;
  /// out is not cleared. XEC_OK also when there is none; XEC_NO_DOCUMENT (32), XEC_XPATH (28),
  /// or XEC_XPATH_EMPTY (26) when the result cannot be read.
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
