// A document in a file of its own, loaded through CXml.
#ifndef FWBASE_TESTS_UTILITY_XML_XML_FILE_H
#define FWBASE_TESTS_UTILITY_XML_XML_FILE_H

#include <utility/xml.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/harness/temp_dir.h"

namespace fwbase::test {

class XmlPlatform {
 public:
  XmlPlatform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlPlatform() { xercesc::XMLPlatformUtils::Terminate(); }
};

class XmlFile : public testing::Test {
 protected:
  ~XmlFile() override { xml.release(); }

  std::string path(const std::string& name = "x.xml") const { return m_directory.path(name); }
  const std::string& directory() const { return m_directory.path(); }

  unsigned int load(const std::string& text) {
    write_file(path(), text);
    return xml.load(path());
  }

  utility::CElement root() const {
    utility::CElement element;
    EXPECT_EQ(xml.get_root_element(element), utility::XEC_OK);
    return element;
  }

  /// The file after a save, without the XML declaration.
  std::string saved() const {
    const std::string text = read_file(path());
    return text.substr(std::min(text.size(), text.find("?>") + 2));
  }

 private:
  XmlPlatform m_platform;
  TempDir m_directory;

 protected:
  utility::CXml xml;
};

inline std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  while (times-- > 0) all += text;
  return all;
}

/// What a thread of a host may have at the least; the thread sanitizer takes a part of it.
#ifdef __SANITIZE_THREAD__
constexpr std::size_t kSmallStack = 2 * 1024 * 1024;
#else
constexpr std::size_t kSmallStack = 512 * 1024;
#endif

/// Runs body in a thread with that stack, in bytes.
inline void run_with_stack(std::size_t size, std::function<void()> body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  pthread_t thread;
  const auto run = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace fwbase::test

#endif
