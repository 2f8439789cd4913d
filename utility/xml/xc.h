// The namespace of Xerces-C, xercesc_3_2 and the like, by a short name.
#ifndef UTILITY_XML_XC_H
#define UTILITY_XML_XC_H

#include <xercesc/util/XercesDefs.hpp>

namespace utility {

namespace xc = XERCES_CPP_NAMESPACE;

}  // namespace utility

#endif
