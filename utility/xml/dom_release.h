// Ownership of those objects of the XML library that are given back by release().
#ifndef UTILITY_XML_DOM_RELEASE_H
#define UTILITY_XML_DOM_RELEASE_H

#include <memory>

namespace utility {

struct DomRelease {
  template <typename Object>
  void operator()(Object* object) const {
    object->release();
  }
};

/// Owner of an object of the XML library that is given back with release().
template <typename Object>
using DomOwned = std::unique_ptr<Object, DomRelease>;

}  // namespace utility

#endif
