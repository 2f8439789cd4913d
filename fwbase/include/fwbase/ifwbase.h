// The facade: the one entry of the library.
#ifndef FWBASE_IFWBASE_H
#define FWBASE_IFWBASE_H

#include <fwbase/ec.h>
#include <fwbase/export.h>
#include <fwbase/idata_block.h>
#include <fwbase/iglobal_env.h>
#include <fwbase/imm.h>
#include <fwbase/irunlog.h>
#include <fwbase/iscript.h>

namespace fwbase {

struct FWBASE_API IFWBase {
  static IFWBase* instance();

  virtual ec::EC init() = 0;
  virtual void release() = 0;
  virtual IRunLog* runlog() const = 0;
  virtual IRunLog* runlog(IRunLog* replacement) = 0;
  virtual IGlobalEnv* global_env() const = 0;
  virtual IGlobalEnv* global_env(IGlobalEnv* replacement) = 0;
  virtual ec::EC create_global_env(IGlobalEnv*& env, void* key) = 0;
  virtual IGlobalEnv* global_env(void* key) const = 0;
  virtual void destroy_global_env(void* key) = 0;
  virtual IMM* mm() const = 0;
  virtual IMM* mm(IMM* replacement) = 0;
  virtual IScript* script() const = 0;
  virtual IScript* script(IScript* replacement) = 0;
  virtual IDataBlockFT* db_ft() const = 0;
  virtual IDataBlockFT* db_ft(IDataBlockFT* replacement) = 0;
  virtual ~IFWBase() {}
};

}  // namespace fwbase

#endif
