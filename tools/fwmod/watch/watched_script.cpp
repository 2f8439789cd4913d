#include "watch/watched_script.h"

#include "support/text.h"

namespace fwmod {

void WatchedScript::list(const LibrarySegments& library, Findings& findings) {
  const std::lock_guard<std::mutex> guard(m_mutex);
  for (const Function& function : m_functions) {
    findings.left("script function " + tools::quoted(function.name) +
                  ": only the engine's own release() takes it back; " +
                  (library.contain(function.object)
                       ? "run no section after the module's release()"
                       : "its object may be gone by then: make it a static one"));
  }
}

ec::EC WatchedScript::init() {
  forget();
  return m_inner.init();
}

void WatchedScript::release() {
  forget();
  m_inner.release();
}

void WatchedScript::forget() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_functions.clear();
}

bool WatchedScript::expand_syntax(ISyntax* syntax) {
  const bool registered = m_inner.expand_syntax(syntax);
  if (registered) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_functions.push_back({tools::readable(syntax->name()), syntax});
  }
  return registered;
}

}  // namespace fwmod
