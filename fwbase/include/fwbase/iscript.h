// The script engine: XML scripts that call host functions, with typed variables.
#ifndef FWBASE_ISCRIPT_H
#define FWBASE_ISCRIPT_H

#include <cstdint>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

struct FWBASE_API IScript {
  enum VType : int { VT_INT = 0, VT_STRING = 1 };

  union VValue {
    std::int32_t int_value;
    const char* string_value;
  };

  struct FWBASE_API ISyntax {
    virtual const char* name() = 0;
    virtual VType* param_types() = 0;
    virtual int param_count() = 0;
    virtual ec::EC call(const VValue* args, void* env, const char* ret) = 0;
    virtual ~ISyntax() {}
  };

  virtual ec::EC init() = 0;
  virtual void release() = 0;
  virtual bool expand_syntax(ISyntax* syntax) = 0;
  virtual ec::EC load_script(const char* path) = 0;
  virtual ec::EC save_script() = 0;
  virtual ec::EC execute(void* env) = 0;
  virtual ec::EC exec_scommad(const char* section, void* env) = 0;
  virtual ec::EC get_value(const char* name, VType type, void* out) const = 0;
  virtual ec::EC set_value(const char* name, VType type, const void* data) = 0;
  virtual ec::EC rm_value(const char* name) = 0;
  virtual ec::EC get_value_env(const char* name, VType type, void* out, void* env) const = 0;
  virtual ec::EC set_value_env(const char* name, VType type, const void* data, void* env) = 0;
  virtual ~IScript() {}
};

}  // namespace fwbase

#endif
