// When memory runs out while it starts, the XML library ends the process or, where it does not,
// takes itself for started, crashes at the next use and crashes when it is stopped; when memory
// runs out while it stops, it ends the process. So both are done with memory put by: all but one of
// its blocks come from operator new, which asks for more in the moment when it finds none.
#include "utility/xml/xml_platform.h"

#include <pthread.h>

#include <atomic>
#include <new>
#include <xercesc/util/DefaultPanicHandler.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace utility {

namespace {

namespace xc = XERCES_CPP_NAMESPACE;

std::atomic<bool> out_of_service{false};
int uses_kept = 0;  // of users that could not stop

/// While it lives, there is memory put by for the operator new of this thread. One at a time.
class Reserve {
 public:
  Reserve() {
    owner = ::pthread_self();
    block = ::operator new(kSize, std::nothrow);
    handler_before = std::set_new_handler(&Reserve::give);
  }
  ~Reserve() {
    std::set_new_handler(handler_before);
    ::operator delete(block.exchange(nullptr));
  }
  Reserve(const Reserve&) = delete;
  Reserve& operator=(const Reserve&) = delete;

  bool allocated() const { return block != nullptr; }

 private:
  static constexpr std::size_t kSize = std::size_t{2} * 1024 * 1024;  // the library takes 0.7 MiB

  // Called by operator new, which then tries again. Other threads get what they would get without
  // the reserve, also when they are late: this uses nothing that goes with the object.
  static void give() {
    void* const given =
        ::pthread_equal(owner, ::pthread_self()) ? block.exchange(nullptr) : nullptr;
    const std::new_handler before = handler_before;
    if (given != nullptr) {
      ::operator delete(given);
    } else if (before != nullptr) {
      before();
    } else {
      throw std::bad_alloc();
    }
  }

  static inline std::atomic<pthread_t> owner{};
  static inline std::atomic<void*> block{nullptr};
  static inline std::atomic<std::new_handler> handler_before{nullptr};
};

/// What the library does when it cannot go on: while it starts, an exception; later its own way,
/// which is to end the process.
class PanicHandler : public xc::DefaultPanicHandler {
 public:
  void panic(const xc::PanicHandler::PanicReasons reason) override {
    if (starting) {
      throw std::bad_alloc();
    }
    DefaultPanicHandler::panic(reason);
  }

  bool starting = false;
};

PanicHandler panic_handler;

void start_first_user() {
  panic_handler.starting = true;
  try {
    xc::XMLPlatformUtils::Initialize(xc::XMLUni::fgXercescDefaultLocale, nullptr, &panic_handler);
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
    return true;
  }
  if (is_started()) {
    xc::XMLPlatformUtils::Initialize();  // counts
    return true;
  }
  const Reserve reserve;
  if (reserve.allocated()) {
    start_first_user();
  }
  return xml_platform_is_usable();
}

void stop_xml_platform() {
  const Reserve reserve;
  if (reserve.allocated()) {
    xc::XMLPlatformUtils::Terminate();
  } else {
    ++uses_kept;
  }
}

bool xml_platform_is_usable() { return is_started() && !out_of_service; }

}  // namespace utility
