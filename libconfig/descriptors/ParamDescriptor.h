// What a parameter is: its identity, display texts, how it is kept and reset, its tags and its
// relations to other parameters. A descriptor holds no current value. The catalogue owns all
// descriptors for the life of the process; the setters serve while it is built, afterwards any
// thread may read. Every getter returns copies.
//
// GetParamDescriptor answers with a plain ParamDescriptor for an identifier that is not in the
// catalogue.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

// Do not renumber any of these: user interfaces and stored presets carry them.
enum eFeature_t : int32_t {
  eFeature_Panel = 2,    // worked at the front panel while recording
  eFeature_General = 3,  // everything else
};

enum ePersist_t : int32_t {
  ePersist = 0,  // the value survives restarts
  ePersist_Not = 1,
};

enum eUserRegisterData_t : int32_t {
  eRegister_Include = 0,  // saved into presets and recalled from them
  eRegister_Exclude = 1,
};

enum eFactoryReset_t : int32_t {
  eFactoryReset_Exclude = 0,
  eFactoryReset_Include = 1,
};

enum eAccess_t : int32_t {
  eAccess_ReadWrite = 0,
  eAccess_ReadOnly = 1,
};

class LIBCONFIG_API ParamDescriptor {
 public:
  // A relation "enabled_by" with {P, 1} says: idle unless parameter P holds 1.
  struct Relation {
    eParam_t paramID;
    unsigned int value;
  };

  ParamDescriptor() = default;
  ParamDescriptor(const ParamDescriptor&) = delete;
  ParamDescriptor& operator=(const ParamDescriptor&) = delete;

  // The order of the virtual operations is binary interface: append only.
  virtual ~ParamDescriptor();
  virtual eParam_t GetParamID() const;
  virtual void SetParamID(eParam_t id);
  virtual eParamType_t GetParamType() const;
  virtual void SetParamType(eParamType_t type);
  // The symbolic identifier, such as "eParamID_IPConfig".
  virtual std::string GetParamIDName() const;
  virtual void SetParamIDName(std::string name);
  virtual eFeature_t GetFeatureType() const;
  virtual void SetFeatureType(eFeature_t type);
  virtual ePersist_t GetPersistenceType() const;
  virtual void SetPersistenceType(ePersist_t type);
  virtual eUserRegisterData_t GetRegisterType() const;
  virtual void SetRegisterType(eUserRegisterData_t type);
  virtual eFactoryReset_t GetFactoryResetType() const;
  virtual void SetFactoryResetType(eFactoryReset_t type);
  virtual eAccess_t GetAccessType() const;
  virtual void SetAccessType(eAccess_t type);
  virtual std::string GetName() const;
  virtual void SetName(std::string name);
  // The form for narrow panels.
  virtual std::string GetShortName() const;
  virtual std::string GetShortName(unsigned int unused) const;
  virtual void SetShortName(std::string name);
  // The pattern of valid input; "*" where anything goes.
  virtual std::string GetRegEx() const;
  virtual void SetRegEx(std::string pattern);

  // Parameters whose meaning or limits depend on this one, and those that this one depends on. Add
  // moves an entry that is already there to the end; Set takes the list as it is. Remove tells
  // whether the entry was there.
  virtual std::vector<eParam_t> GetDependentParamIDs() const;
  virtual void SetDependentParamIDs(std::vector<eParam_t> ids);
  virtual void AddDependentParamID(eParam_t id);
  virtual bool RemoveDependentParamID(eParam_t id);
  virtual std::vector<eParam_t> GetDependsOnParamIDs() const;
  virtual void SetDependsOnParamIDs(std::vector<eParam_t> ids);
  virtual void AddDependsOnParamID(eParam_t id);
  virtual bool RemoveDependsOnParamID(eParam_t id);

  virtual std::map<std::string, std::vector<Relation>> GetRelations() const;
  // Empty when there is no relation of that name.
  virtual std::vector<Relation> GetRelation(std::string name) const;
  virtual void AddRelation(std::string name, eParam_t id, unsigned int value);

  // Tags, in the order of their last addition, each once.
  virtual std::vector<std::string> GetClassNames() const;
  virtual void AddClassName(std::string name);
  virtual bool RemoveClassName(std::string name);
  virtual bool HasClassName(std::string name) const;
  virtual void ToggleClassName(std::string name);

  // Free-form attributes. Text and numbers are two separate sets. GetAttribute returns false and
  // leaves `value` as it was when the key is absent.
  virtual void GetAttributes(std::map<std::string, std::string>& attributes) const;
  virtual void GetAttributes(std::map<std::string, unsigned int>& attributes) const;
  virtual bool GetAttribute(std::string key, unsigned int& value) const;
  virtual bool GetAttribute(std::string key, std::string& value) const;
  virtual void AddAttribute(std::string key, unsigned int value);
  virtual void AddAttribute(std::string key, std::string value);

  // The dependents without a copy, for the path of every change. Valid as long as the descriptor.
  const std::vector<eParam_t>& Dependents() const { return _dependents; }

 private:
  eParam_t _paramID{};
  eParamType_t _paramType = eParamType_Unknown;
  std::string _paramIDName;
  eFeature_t _featureType = eFeature_General;
  ePersist_t _persistenceType = ePersist;
  eUserRegisterData_t _registerType = eRegister_Include;
  eFactoryReset_t _factoryResetType = eFactoryReset_Include;
  eAccess_t _accessType = eAccess_ReadWrite;
  std::string _name;
  std::string _shortName;
  std::string _regEx;
  std::vector<eParam_t> _dependents;
  std::vector<eParam_t> _dependsOn;
  std::map<std::string, std::vector<Relation>> _relations;
  std::vector<std::string> _classNames;
  std::map<std::string, unsigned int> _numbers;
  std::map<std::string, std::string> _texts;
};
