// The module manager: creates modules, tells valid ones, destroys them, numbers them.
#ifndef FWBASE_IMM_H
#define FWBASE_IMM_H

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

struct FWBASE_API IMM {
  struct FWBASE_API IBase {
    virtual ec::EC init(void* arg) = 0;
    virtual void release() = 0;
    virtual ~IBase() {}
  };

  struct FWBASE_API IFactory : IBase {
    virtual IBase* create() = 0;
    virtual void destroy(IBase* module) = 0;
  };

  typedef IBase* (*CreateFun)();

  virtual ec::EC init() = 0;
  virtual void release() = 0;
  virtual ec::EC create_module(IBase*& out, const char* path, const char* fname, void* arg) = 0;
  virtual ec::EC create_module(IBase*& out, IFactory* factory, void* arg) = 0;
  virtual ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) = 0;
  virtual IFactory* get_module_factory(IBase* m) const = 0;
  virtual bool is_valid(IBase* m) const = 0;
  virtual bool destroy_module(IBase* m) = 0;
  virtual bool create_mid(unsigned int id, IBase* m) = 0;
  virtual unsigned int auto_create_mid(IBase* m) = 0;
  virtual void destroy_mid(unsigned int id) = 0;
  virtual IBase* query_mid(unsigned int id) const = 0;
  virtual ~IMM() {}
};

}  // namespace fwbase

#endif
