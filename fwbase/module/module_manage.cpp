// Creation and destruction of modules. Host code runs under the lock and may throw: a module is
// forgotten before it is released, and there is memory to remember one before it is made.
#include "fwbase/module/module_manage.h"

#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "fwbase/runlog/runlog.h"

namespace fwbase {

using support::ReadGuard;
using support::WriteGuard;

namespace {

/// An entry without a module yet, or an empty one without memory. What follows takes no memory.
template <typename Modules, typename... Value>
typename Modules::node_type new_entry(Value... value) {
  try {
    Modules made;
    made.emplace(nullptr, typename Modules::mapped_type{value...});
    return made.extract(made.begin());
  } catch (const std::bad_alloc&) {
    return {};
  }
}

/// Puts an entry into its map; cannot fail.
template <typename Modules>
void insert_entry(Modules& modules, typename Modules::node_type entry, IMM::IBase* module) {
  entry.key() = module;
  modules.insert(std::move(entry));
}

/// Calls the module's init(); a module that does not come into service goes back to its factory.
ec::EC init_or_give_back(IMM::IBase* module, IMM::IFactory* factory, void* arg) {
  ec::EC initialised = 0;
  try {
    initialised = module->init(arg);
  } catch (...) {
    factory->destroy(module);
    throw;
  }
  if (ec::failed(initialised)) {
    factory->destroy(module);
  }
  return initialised;
}

/// Calls `release` for each entry from the highest address to the lowest. The entries stay until
/// the walk ends, by the last one or by an exception; then those that were reached go.
template <typename Modules, typename Release>
void release_from_highest(Modules& modules, Release release) {
  auto reached = modules.end();
  try {
    while (reached != modules.begin()) {
      --reached;
      release(*reached);
    }
  } catch (...) {
    modules.erase(reached, modules.end());
    throw;
  }
  modules.clear();
}

}  // namespace

CModuleManage::~CModuleManage() {
  const WriteGuard guard(m_lock);
  forget_libraries();
}

ec::EC CModuleManage::init() {
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  m_direct_modules.clear();
  m_factory_modules.clear();
  forget_libraries();
  m_mids.clear();
  m_last_auto_mid = kLastReservedMid;
  return ec::MM_OK;
}

void CModuleManage::release() {
  RUN_TRACE("");
  const WriteGuard guard(m_lock);
  m_mids.clear();
  release_factory_modules();
  release_direct_modules();
  close_libraries();
}

void CModuleManage::release_factory_modules() {
  release_from_highest(m_factory_modules,
                       [this](const auto& entry) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
                         const auto [module, factory] = entry;
                         if (do_is_valid(factory)) {
                           module->release();
                           factory->destroy(module);
                         }
                       });
}

void CModuleManage::release_direct_modules() {
  release_from_highest(m_direct_modules, [](const auto& entry) { entry.first->release(); });
}

void CModuleManage::close_libraries() {
  while (!m_libraries.empty()) {
    m_libraries.erase(std::prev(m_libraries.end()));
  }
}

// Their code stays loaded: it may be in use.
void CModuleManage::forget_libraries() {
  for (const auto& [path, library] : m_libraries) {
    library->forget();
  }
  m_libraries.clear();
}

ec::EC CModuleManage::create_module(IBase*& out, const char* path, const char* fname, void* arg) {
  RUN_TRACE("");
  if (path == nullptr || fname == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:path=0x%x,funname=0x%x", addr32(path), addr32(fname));
    return ec::MM_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  Library* const library = open_library(path, fname);
  if (library == nullptr) {
    RUN_LOG(ERROR, "此模块的库文件加载失败: path=%s", path);
    return ec::MM_LOAD_FAILED;
  }
  const char* reason = nullptr;
  const CreateFun fn = library->function(fname, reason);
  if (fn == nullptr) {
    RUN_LOG(ERROR, "获取导出函数失败: error=%s", reason);
  }
  return create_module(out, fn, arg, path, fname);
}

Library* CModuleManage::open_library(const char* path, const char* fname) {
  const auto known = m_libraries.find(std::string_view(path));
  if (known != m_libraries.end()) {
    RUN_LOG(DEBUG, "此模块在早前已加载,直接口使用: path=%s,funname=%s", path, fname);
    return known->second.get();
  }
  try {
    std::unique_ptr<Library> library(new (std::nothrow) Library(path));
    return library ? m_libraries.emplace(path, std::move(library)).first->second.get() : nullptr;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

ec::EC CModuleManage::create_module(IBase*& out, IBase* (*fn)(), void* arg) {
  const WriteGuard guard(m_lock);
  return create_module(out, fn, arg, "NULL", "NULL");
}

ec::EC CModuleManage::create_module(IBase*& out, CreateFun fn, void* arg, const char* path,
                                    const char* fname) {
  if (fn == nullptr) {
    RUN_LOG(ERROR, "创建模块的导出函数为NULL. path=%s, fname=%s", path, fname);
    return ec::MM_BAD_PARAM;
  }
  DirectModules::node_type entry = new_entry<DirectModules>(path, fname);
  if (!entry.empty()) {
    out = fn();
  }
  if (entry.empty() || out == nullptr) {
    RUN_LOG(ERROR, "无法通过模块导出函数返回模块的实例. path=%s, fname=%s", path, fname);
    return ec::MM_INIT_FAILED;
  }
  if (m_direct_modules.contains(out)) {
    RUN_LOG(DEBUG, "此模块已在早前初始化,直接使用. path=%s, fname=%s", path, fname);
    return ec::MM_OK;
  }
  const ec::EC initialised = out->init(arg);
  if (ec::failed(initialised)) {
    RUN_LOG(ERROR, "模块初始化失败. path=%s, fname=%s", path, fname);
    return initialised;
  }
  insert_entry(m_direct_modules, std::move(entry), out);
  RUN_LOG(DEBUG, "对模块进行初始化: path=%s, fname=%s", path, fname);
  return ec::MM_OK;
}

ec::EC CModuleManage::create_module(IBase*& out, IFactory* factory, void* arg) {
  RUN_TRACE("");
  if (factory == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:factory=0x%x", addr32(factory));
    return ec::MM_BAD_PARAM;
  }
  const WriteGuard guard(m_lock);
  if (!do_is_valid(factory)) {
    RUN_LOG(ERROR, "工厂模块无效:factory=0x%x", addr32(factory));
    return ec::MM_BAD_FACTORY;
  }
  FactoryModules::node_type entry = new_entry<FactoryModules>(factory);
  if (!entry.empty()) {
    out = factory->create();
  }
  if (entry.empty() || out == nullptr) {
    RUN_LOG(ERROR, "通过工厂创建模块失败:factory=0x%x", addr32(factory));
    return ec::MM_FACTORY_FAILED;
  }
  if (m_factory_modules.contains(out)) {
    return ec::MM_OK;
  }
  const ec::EC initialised = init_or_give_back(out, factory, arg);
  if (ec::succeeded(initialised)) {
    insert_entry(m_factory_modules, std::move(entry), out);
    return ec::MM_OK;
  }
  return initialised;
}

IMM::IFactory* CModuleManage::get_module_factory(IBase* m) const {
  RUN_TRACE("");
  if (m == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:base=%x", addr32(m));
    return nullptr;
  }
  const ReadGuard guard(m_lock);
  const auto found = m_factory_modules.find(m);
  if (found == m_factory_modules.end()) {
    RUN_LOG(ERROR, "此模块没有对应的工厂接口");
    return nullptr;
  }
  return found->second;
}

bool CModuleManage::is_valid(IBase* m) const {
  const ReadGuard guard(m_lock);
  return do_is_valid(m);
}

bool CModuleManage::do_is_valid(IBase* m) const {
  RUN_TRACE("");
  if (m == nullptr) {
    RUN_LOG(ERROR, "输入参数错误:module=%x", addr32(m));
    return false;
  }
  if (m_direct_modules.contains(m)) {
    RUN_LOG(DEBUG, "这是一个直接创建的模块");
    return true;
  }
  if (m_factory_modules.contains(m)) {
    RUN_LOG(DEBUG, "这是一个由工厂创建的模块");
    return true;
  }
  RUN_LOG(ERROR, "这是一个无效的模块:module=%x", addr32(m));
  return false;
}

bool CModuleManage::destroy_module(IBase* m) {
  RUN_TRACE("");
  if (m == nullptr) {
    RUN_LOG(ERROR, "输入参数错误: m=%x", addr32(m));
    return false;
  }
  const WriteGuard guard(m_lock);
  if (m_direct_modules.erase(m) != 0) {
    m->release();
    RUN_LOG(DEBUG, "销毁的是一个直接创建的模块实例");
    return true;
  }
  const auto found = m_factory_modules.find(m);
  if (found == m_factory_modules.end()) {
    RUN_LOG(ERROR, "无法销毁一个无效的模块");
    return false;
  }
  IFactory* const factory = found->second;
  const bool factory_is_valid = do_is_valid(factory);
  m_factory_modules.erase(found);
  if (factory_is_valid) {
    m->release();
    factory->destroy(m);
  }
  RUN_LOG(DEBUG, "销毁的是一个由工厂创建的模块");
  return true;
}

}  // namespace fwbase
