// The registry that turns a class identifier found in a stream into an object. Each factory makes
// one class; the registry owns the factories. All static operations may be called from any thread,
// and no lock is held while a factory is called.
//
// A program adds a class of its own, or replaces one of the library's, before it starts threads:
//
//   ClassFactory::InitFactories();
//   new MyFactory;  // whose constructor calls Register(this)
//   Serializable* const object = ClassFactory::CreateOwned(kMyClass);
//
// Of the classes 0, 1, 6 and 7 Create hands out one shared prototype. The next reader overwrites
// it, so do not keep it, delete it or work on it: copy it, or ask CreateOwned.
#pragma once

#include <cstddef>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

class Serializable;

// What precedes every object in a stream.
struct ClassFactoryHeader {
  eClassID_t classID = eClassID_None;
};

class LIBCONFIG_API ClassFactory {
 public:
  explicit ClassFactory(eClassID_t classID) : _classID(classID) {}
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  virtual ~ClassFactory();
  virtual eClassID_t GetClassID();
  // An object of the factory's class: a new one that the caller owns, or the shared prototype of a
  // factory whose IsShared is true. Null when none can be made.
  virtual Serializable* Create() = 0;
  // True when every Create returns the same object, which must not be deleted or kept. Unless it is
  // overridden, that follows from GetClassID: a factory for one of the classes 0, 1, 6 and 7 that
  // makes new objects has to return false here, or the objects leak.
  virtual bool IsShared();

  // Enters `factory` under its identifier and takes ownership. A factory that held the place before
  // is forgotten, not deleted.
  static void Register(ClassFactory* factory);

  // An object of class `id`, already bearing `id`. For a class without a factory it prints a
  // message and returns null. See IsShared for who owns the object.
  static Serializable* Create(eClassID_t id);

  // The same, but always an object of the caller's own: a copy of a shared prototype. Null, too,
  // for a prototype that is neither a ConfigValue nor a record of this library.
  static Serializable* CreateOwned(eClassID_t id);

  // What CreateOwned makes of a shared prototype, with the fields that it holds at present.
  static Serializable* Copy(Serializable& prototype);

  // Whether Create(id) hands out a shared prototype.
  static bool IsShared(eClassID_t id);

  // Registers the library's own factories, unless anything is registered already. The first Create
  // does it.
  static void InitFactories();

  // Deletes all factories, once, at shutdown. Create then answers as for an unknown class.
  // REQUIRES: no other thread creates or reads objects.
  static void DestroyFactories();

  // Entries in the registry, those left behind for unknown identifiers included.
  static std::size_t GetRegistrySize();

 private:
  static void RegisterLibraryFactories();

  const eClassID_t _classID;
};
