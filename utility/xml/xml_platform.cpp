// The XML library starts and stops with a reserve of memory, which it gets through its memory
// manager. All but one of its blocks come from there.
//
// Without a reserve, a lack of memory would end the process when the library starts or stops. At
// some points of the start the library would not end the process, but take itself for started: it
// would crash at the next use, and again when it is stopped.
#include "utility/xml/xml_platform.h"

#include "utility/xml/xc.h"

#include <pthread.h>

#include <atomic>
#include <new>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/DefaultPanicHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace utility {

namespace {

std::atomic<bool> out_of_service{false};
int uses_kept = 0;  // the number of users that could not stop the library

/// The memory manager of the XML library when this library starts it. The whole process then uses
/// it. It differs from the XML library's own by the reserve only.
class PlatformMemory final : public xc::MemoryManager {
 public:
  void* allocate(XMLSize_t size) override {
    void* block = ::operator new(size, std::nothrow);
    if (block == nullptr && give_reserve()) {
      block = ::operator new(size, std::nothrow);
    }
    if (block == nullptr) {
      throw xc::OutOfMemoryException();
    }
    return block;
  }
  void deallocate(void* block) override { ::operator delete(block); }
  MemoryManager* getExceptionMemoryManager() override { return this; }

  /// Makes the reserve, for the calling thread only. False when there is no memory.
  bool put_by() {
    m_owner = ::pthread_self();
    m_reserve = ::operator new(kSize, std::nothrow);
    return m_reserve != nullptr;
  }

  /// Frees the reserve. False when there is none, or it is for another thread.
  bool give_reserve() {
    void* const given =
        ::pthread_equal(m_owner, ::pthread_self()) ? m_reserve.exchange(nullptr) : nullptr;
    ::operator delete(given);
    return given != nullptr;
  }

 private:
  static constexpr std::size_t kSize = std::size_t{2} * 1024 * 1024;  // the library takes 0.7 MiB

  std::atomic<pthread_t> m_owner{};
  std::atomic<void*> m_reserve{nullptr};
};

/// Runs when the library cannot go on. While the library starts, it throws an exception. Later it
/// ends the process, as the library's own handler does.
class PanicHandler final : public xc::DefaultPanicHandler {
 public:
  void panic(const xc::PanicHandler::PanicReasons reason) override {
    if (starting) {
      throw std::bad_alloc();
    }
    DefaultPanicHandler::panic(reason);
  }

  bool starting = false;
};

/// An object that is never destroyed: the library uses it while it is started, be it to the end of
/// the process.
template <typename Object>
Object& lasting() {
  alignas(Object) static unsigned char storage[sizeof(Object)];
  return *::new (storage) Object;
}

PlatformMemory& memory = lasting<PlatformMemory>();
PanicHandler& panic_handler = lasting<PanicHandler>();

void start_first_user() {
  panic_handler.starting = true;
  try {
    xc::XMLPlatformUtils::Initialize(xc::XMLUni::fgXercescDefaultLocale, nullptr, &panic_handler,
                                     &memory);
  } catch (const std::bad_alloc&) {
    out_of_service = true;
  } catch (const xc::OutOfMemoryException&) {
    out_of_service = true;
  }
  panic_handler.starting = false;
}

bool is_started() { return xc::XMLPlatformUtils::fgMemoryManager != nullptr; }

}  // namespace

bool start_xml_platform() {
  if (out_of_service) {
    return false;
  }
  if (uses_kept > 0) {
    --uses_kept;
  } else if (is_started()) {
    xc::XMLPlatformUtils::Initialize();  // counts
  } else if (memory.put_by()) {
    start_first_user();
    memory.give_reserve();
  }
  return xml_platform_is_usable();
}

void stop_xml_platform() {
  if (memory.put_by()) {
    if (xc::XMLPlatformUtils::fgMemoryManager != &memory) {
      memory.give_reserve();  // a host has started the library: free it for the host's manager
    }
    xc::XMLPlatformUtils::Terminate();
    memory.give_reserve();
  } else {
    ++uses_kept;
  }
}

bool xml_platform_is_usable() { return is_started() && !out_of_service; }

}  // namespace utility
