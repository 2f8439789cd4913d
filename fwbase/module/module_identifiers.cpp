// Module identifiers: numbers for modules, chosen by the caller or handed out.
#include <new>

#include "fwbase/module/module_manage.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase {

using support::ReadGuard;
using support::WriteGuard;

bool CModuleManage::create_mid(unsigned int id, IBase* m) {
  RUN_TRACE("");
  if (m == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:id=%d, module=%x", id, addr32(m));
    return false;
  }
  const WriteGuard guard(m_lock);
  try {
    if (m_mids.emplace(id, m).second) {
      return true;
    }
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "内存不足:id=%d", id);
    return false;
  }
  RUN_LOG(ERROR, "此MID已存在:id=%d", id);
  return false;
}

unsigned int CModuleManage::auto_create_mid(IBase* m) {
  if (m == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:module=%x", addr32(m));
    return 0;
  }
  const WriteGuard guard(m_lock);
  const std::uint32_t id = m_last_auto_mid + 1;
  try {
    m_mids.insert_or_assign(id, m);
  } catch (const std::bad_alloc&) {
    RUN_LOG(ERROR, "内存不足:id=%d", id);
    return 0;
  }
  m_last_auto_mid = id;
  return id;
}

void CModuleManage::destroy_mid(unsigned int id) {
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  if (m_mids.erase(id) == 0) {
    RUN_LOG(WARN, "此MID不存在:id=%d", id);
  }
}

IMM::IBase* CModuleManage::query_mid(unsigned int id) const {
  RUN_TRACE("");
  const ReadGuard guard(m_lock);
  const auto found = m_mids.find(id);
  if (found == m_mids.end()) {
    RUN_LOG(WARN, "此MID不存在:id=%d", id);
    return nullptr;
  }
  return found->second;
}

}  // namespace fwbase
