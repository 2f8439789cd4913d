// What every function does around its body: results, failures, records.
#include "fwstd/function.h"

#include <memory>
#include <new>

#include <fwbase/ifwbase.h>

#include "support/charset.h"
#include "support/text.h"

namespace fwstd {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;
using tools::gbk_of;

ec::EC Call::give(std::int32_t result) const {
  if (m_ret == nullptr) {
    return ec::SCRIPT_OK;
  }
  return IFWBase::instance()->script()->set_value_env(m_ret, IScript::VT_INT, &result, m_env);
}

ec::EC Call::give(const std::string& result) const {
  if (m_ret == nullptr) {
    return ec::SCRIPT_OK;
  }
  return IFWBase::instance()->script()->set_value_env(m_ret, IScript::VT_STRING, &result, m_env);
}

ec::EC Call::fail(ec::EC code, const std::string& reason, const char* file, int line) const {
  // Values that it quotes must not end the record, or begin another.
  log(IRunLog::ERROR, std::string(m_function) + ": " + tools::escaped(reason), file, line);
  return code;
}

void Call::log(IRunLog::Type level, const std::string& message, const char* file, int line) const {
  IRunLog* const run_log = IFWBase::instance()->runlog();
  if ((IRunLog::ms_type_sign.load(std::memory_order_relaxed) & level) == 0 || run_log == nullptr) {
    return;
  }
  const auto object = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(m_object));
  const std::unique_ptr<char[]> location(IRunLog::FormatStr(
      "this(0x%x) %s %s(%d) CT:%s %s", object, m_function, file, line, __DATE__, __TIME__));
  run_log->write(level, gbk_of(message).c_str(), location.get());
}

ec::EC Function::call(const IScript::VValue* args, void* env, const char* ret) {
  try {
    return m_body(Call(m_name, this, args, env, ret));
  } catch (const std::bad_alloc&) {
    return ec::SCRIPT_NO_MEMORY;
  }
}

}  // namespace fwstd
