// Global environments: registries of named strings, addresses and objects.
#ifndef FWBASE_IGLOBAL_ENV_H
#define FWBASE_IGLOBAL_ENV_H

#include <string>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Where the modules of a process publish and look up named values. One environment keeps three
/// independent tables: strings, addresses (untyped pointers) and objects.
///
/// Names:   zero-terminated, compared byte by byte, never null. Names and string values are copied.
/// Parent:  the facade's default environment has none. The parent of an environment made by
///          IFWBase::create_global_env() is the default environment that was installed at that
///          moment. Look-ups (get_*) that miss continue in the parent, while they hold the lock of
///          the environment in which they started. No other operation looks at the parent: a child
///          may insert a name that its parent has (and hides it), and cannot modify or remove the
///          parent's values. The parent must live as long as its children are in use.
/// Threads: every operation may be called from any thread. Look-ups take the environment's lock
///          for reading, everything else takes it for writing. Null arguments are refused before
///          the lock is taken.
/// Failure: a failure leaves the tables as they were, except in the case that mod_obj() names. A
///          failure is logged once, at ERROR unless said otherwise. When memory runs out, an
///          operation that returns a code logs this, gives GENV_BAD_PARAM and changes nothing.
/// Hosts:   clone() and release() of stored objects are called under the lock. They must not call
///          the same environment, nor the module manager: its modules use environments in their
///          init() and release(), under the manager's lock, so the two locks would be taken in
///          opposite orders. An exception from clone() or release() reaches the caller, with the
///          lock given back and the tables sound; each operation says what is stored then.
/// Trace:   init(), release() and the object operations trace their entry and exit.
struct FWBASE_API IGlobalEnv {
  /// An object that a host stores by name. The environment stores copies only.
  struct FWBASE_API IObject {
    /// A text for printing and debugging. Environments never call it.
    virtual const char* describe() const { return ""; }

    /// Gives a new, independent copy, to be disposed of with release(). Null means that no copy
    /// could be made. Look-ups of several threads may copy one stored object at the same time.
    virtual IObject* clone() const = 0;

    /// Disposes of this copy. The copy is not used afterwards, whether release() returns or throws.
    virtual void release() = 0;

    virtual ~IObject() {}
  };

  /// Empties the three tables and gives GENV_OK. Stored objects are forgotten, not released: call
  /// release() first if the environment may hold objects. Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Calls release() on every stored object, in the order of the names, then empties the object,
  /// address and string tables. The environment stays usable; a second call finds nothing to do.
  /// When objects throw, the other objects are still released, the tables are emptied, and the
  /// first exception reaches the caller. Takes the lock for writing.
  ///
  /// IFWBase::release() unloads modules before it empties environments: an object whose code is in
  /// a module's library must be gone by then. A module removes its objects in its own
  /// IMM::IBase::release().
  virtual void release() = 0;

  /// Stores a string under a new name.
  /// name, val   both required; copied.
  ///
  /// Returns
  ///   GENV_OK          stored
  ///   GENV_BAD_PARAM   name or val is null
  ///   GENV_STR_EXISTS  the name has a string, which stays as it is
  FWBASE_RESULT virtual ec::EC insert_str(const char* name, const char* val) = 0;

  /// Gives a stored string of this environment or its parents. An unknown or null name gives an
  /// empty string: one object for the whole process, never destroyed. The reference stays valid
  /// until that string is modified or removed, or its environment is emptied or destroyed; the
  /// environment's lock is not held after the return. Never logs.
  virtual const std::string& get_str(const char* name) = 0;

  /// Gives a stored string, looking in the parents as well.
  /// val   receives the characters of the stored string, which stay valid until that string is
  ///       modified or removed, or its environment is emptied or destroyed. Untouched on failure.
  ///
  /// Returns
  ///   GENV_OK             found
  ///   GENV_BAD_PARAM      name is null
  ///   GENV_STR_NOT_FOUND  neither this environment nor its parents have it; logged once, by the
  ///                       last one
  ///   a parent's code     when the parent is a host's own environment: what that gave
  FWBASE_RESULT virtual ec::EC get_str(const char* name, const char*& val) = 0;

  /// Replaces the value of a string of this environment.
  /// name, val   both required; val is copied, and may be the present value.
  ///
  /// Returns
  ///   GENV_OK             replaced; earlier pointers and references to it are no longer valid
  ///   GENV_BAD_PARAM      name or val is null
  ///   GENV_STR_NOT_FOUND  no such string here, whatever the parents have
  FWBASE_RESULT virtual ec::EC mod_str(const char* name, const char* val) = 0;

  /// Extends a string of this environment.
  /// nval   required; the text to add, copied; may be the present value.
  /// end    true: adds after the present value; false: before it ("b" extended by "a" gives "ab").
  ///
  /// Returns
  ///   GENV_OK             extended; earlier pointers and references to it are no longer valid
  ///   GENV_BAD_PARAM      name or nval is null
  ///   GENV_STR_NOT_FOUND  no such string here, whatever the parents have
  FWBASE_RESULT virtual ec::EC ex_str(const char* name, const char* nval, bool end) = 0;

  /// Removes a string of this environment. Null and unknown names are ignored, without a record.
  /// Pointers and references to the string are no longer valid.
  virtual void rm_str(const char* name) = 0;

  /// Stores an address under a new name. The environment neither uses nor frees what the address
  /// points to.
  /// name   required; copied.
  /// val    any pointer; null is a value like any other.
  ///
  /// Returns
  ///   GENV_OK           stored
  ///   GENV_BAD_PARAM    name is null
  ///   GENV_ADDR_EXISTS  the name has an address, which stays as it is
  FWBASE_RESULT virtual ec::EC insert_addr(const char* name, void* val) = 0;

  /// Gives a stored address of this environment or its parents; null for an unknown or null name.
  /// The form that returns a code tells a stored null from a missing address. Never logs.
  virtual void* get_addr(const char* name) = 0;

  /// Gives a stored address, looking in the parents as well.
  /// val   receives it; untouched on failure.
  ///
  /// Returns
  ///   GENV_OK              found
  ///   GENV_BAD_PARAM       name is null
  ///   GENV_ADDR_NOT_FOUND  neither this environment nor its parents have it; logged once, by the
  ///                        last one
  ///   a parent's code      when the parent is a host's own environment: what that gave
  FWBASE_RESULT virtual ec::EC get_addr(const char* name, void*& val) = 0;

  /// Replaces an address of this environment.
  /// val   any pointer, null included.
  ///
  /// Returns
  ///   GENV_OK              replaced
  ///   GENV_BAD_PARAM       name is null
  ///   GENV_ADDR_NOT_FOUND  no such address here, whatever the parents have
  FWBASE_RESULT virtual ec::EC mod_addr(const char* name, void* val) = 0;

  /// Removes an address of this environment. A null name, and a name that this environment does not
  /// have, are ignored, without a record.
  virtual void rm_addr(const char* name) = 0;

  /// Stores a copy of an object under a new name.
  /// name     required; copied.
  /// object   required; its clone() makes the copy. The caller keeps the object itself.
  ///
  /// Returns
  ///   GENV_OK          stored; recorded at DEBUG
  ///   GENV_BAD_PARAM   name or object is null, or clone() gave null
  ///   GENV_OBJ_EXISTS  the name has an object, which stays; nothing was cloned
  ///
  /// When clone() throws, nothing is stored.
  FWBASE_RESULT virtual ec::EC insert_obj(const char* name, const IObject* object) = 0;

  /// Gives a copy of a stored object of this environment or its parents.
  /// object   required; receives the copy, which the caller disposes of with release(). Untouched
  ///          on failure.
  ///
  /// Returns
  ///   GENV_OK             found
  ///   GENV_BAD_PARAM      name or object is null, or clone() gave null
  ///   GENV_OBJ_NOT_FOUND  neither this environment nor its parents have it; logged once, by the
  ///                       last one
  ///   a parent's code     when the parent is a host's own environment: what that gave
  FWBASE_RESULT virtual ec::EC get_obj(const char* name, IObject** object) = 0;

  /// Replaces an object of this environment: calls release() on the stored copy first, then stores
  /// a clone() of the new object.
  /// name, object   both required; the caller keeps the object itself.
  ///
  /// Returns
  ///   GENV_OK             replaced
  ///   GENV_BAD_PARAM      name or object is null: nothing changed; or clone() gave null: the old
  ///                       copy has been released and the name is gone
  ///   GENV_OBJ_NOT_FOUND  no such object here, whatever the parents have
  ///
  /// When release() or clone() throws, the name is gone as well.
  FWBASE_RESULT virtual ec::EC mod_obj(const char* name, const IObject* object) = 0;

  /// Calls release() on an object of this environment and removes it; recorded at DEBUG. A null
  /// name, and a name that this environment does not have, are logged at WARN. When release()
  /// throws, the object is still removed.
  virtual void rm_obj(const char* name) = 0;

  /// Destroys the environment with its tables. Stored objects are not released: call release()
  /// first.
  virtual ~IGlobalEnv() {}
};

}  // namespace fwbase

#endif
