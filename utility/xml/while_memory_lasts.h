// Running out of memory in the XML library, caught.
#ifndef UTILITY_XML_WHILE_MEMORY_LASTS_H
#define UTILITY_XML_WHILE_MEMORY_LASTS_H

#include "utility/xml/xc.h"

#include <exception>
#include <xercesc/util/OutOfMemoryException.hpp>

namespace utility {

/// Runs action, to the point where memory runs out. The XML library has an exception of its own for
/// that; others are std::bad_alloc, and a text longer than a string can be.
template <typename Action>
void while_memory_lasts(Action action) {
  try {
    action();
  } catch (const xc::OutOfMemoryException&) {
  } catch (const std::exception&) {
  }
}

}  // namespace utility

#endif
