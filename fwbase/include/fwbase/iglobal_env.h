// Global environments: registries of named strings, addresses and objects.
#ifndef FWBASE_IGLOBAL_ENV_H
#define FWBASE_IGLOBAL_ENV_H

#include <string>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

struct FWBASE_API IGlobalEnv {
  struct FWBASE_API IObject {
    virtual const char* describe() const { return ""; }
    virtual IObject* clone() const = 0;
    virtual void release() = 0;
    virtual ~IObject() {}
  };

  virtual ec::EC init() = 0;
  virtual void release() = 0;

  virtual ec::EC insert_str(const char* name, const char* val) = 0;
  virtual const std::string& get_str(const char* name) = 0;
  virtual ec::EC get_str(const char* name, const char*& val) = 0;
  virtual ec::EC mod_str(const char* name, const char* val) = 0;
  virtual ec::EC ex_str(const char* name, const char* nval, bool end) = 0;
  virtual void rm_str(const char* name) = 0;

  virtual ec::EC insert_addr(const char* name, void* val) = 0;
  virtual void* get_addr(const char* name) = 0;
  virtual ec::EC get_addr(const char* name, void*& val) = 0;
  virtual ec::EC mod_addr(const char* name, void* val) = 0;
  virtual void rm_addr(const char* name) = 0;

  virtual ec::EC insert_obj(const char* name, const IObject* object) = 0;
  virtual ec::EC get_obj(const char* name, IObject** object) = 0;
  virtual ec::EC mod_obj(const char* name, const IObject* object) = 0;
  virtual void rm_obj(const char* name) = 0;

  virtual ~IGlobalEnv() {}
};

}  // namespace fwbase

#endif
