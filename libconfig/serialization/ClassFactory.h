// The registry that turns a class identifier found in a stream into an object. Each factory makes
// one class; the registry owns the factories. All static operations may be called from any thread.
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
  // True when every Create returns the same object, which nobody deletes or keeps.
  virtual bool IsShared();

  // Enters `factory` under its identifier and takes ownership. A factory that held the place before
  // is forgotten, not deleted.
  static void Register(ClassFactory* factory);

  // An object of class `id`, already bearing `id`. For a class without a factory it prints a
  // message and returns null. See IsShared for who owns the object.
  static Serializable* Create(eClassID_t id);

  // Whether Create(id) hands out a shared prototype.
  static bool IsShared(eClassID_t id);

  // Registers the library's own factories, unless anything is registered already. The first Create
  // does it.
  static void InitFactories();

  // Deletes all factories, once, at shutdown. Create then answers as for an unknown class.
  static void DestroyFactories();

  // Entries in the registry, those left behind for unknown identifiers included.
  static std::size_t GetRegistrySize();

 private:
  static void RegisterLibraryFactories();

  const eClassID_t _classID;
};
