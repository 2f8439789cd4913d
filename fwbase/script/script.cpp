// The engine's life cycle.
#include "fwbase/script/script.h"

#include "fwbase/support/run_log.h"
#include "utility/cancellation_block.h"
#include "utility/xml_platform.h"

namespace fwbase {

using support::WriteGuard;

// The XML platform counts its users, and a host may be one: each engine counts as one at most.
ec::EC CScript::init() {
  const utility::CancellationBlock no_cancellation;
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  m_syntaxes.clear();
  ++m_registrations;
  m_xml.release();
  m_platform = m_platform || utility::start_xml_platform();
  if (!m_platform) {
    RUN_LOG(ERROR, "申请内存失败");
    return ec::SCRIPT_NO_MEMORY;
  }
  m_xml.init();
  return ec::SCRIPT_OK;
}

void CScript::release() {
  const utility::CancellationBlock no_cancellation;
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  ++m_releases;
  m_syntaxes.clear();
  ++m_registrations;
  m_templates.clear();
  drop_values(m_values);
  for (auto& [env, table] : m_env_values) {
    drop_values(*table);
  }
  m_env_values.clear();
  drop_sections();
  m_func_rules.clear();
  m_script_file.clear();
  m_xml.release();
  if (m_platform) {
    utility::stop_xml_platform();
    m_platform = false;
  }
}

void CScript::drop_values(ValueTable& table) {
  for (auto& [name, value] : table) {
    DelData(value.type, value.data);
  }
  table.clear();
}

void CScript::drop_sections() {
  for (auto& [name, calls] : m_sections) {
    if (calls) {  // a section keeps no list where memory ran out
      for (Fun& call : *calls) {
        ClearParam(call.params);
      }
    }
  }
  m_sections.clear();
  m_cur_section.clear();
}

}  // namespace fwbase
