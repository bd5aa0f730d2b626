#include "libconfig/descriptors/ParamDescriptor.h"

#include <algorithm>
#include <cstdio>

#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/IntegerDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"

using qel::config::MutexLock;

namespace {

template <typename T>
bool Contains(const std::vector<T>& list, const T& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

template <typename T>
bool RemoveFirst(std::vector<T>& list, const T& item) {
  const auto found = std::find(list.begin(), list.end(), item);
  if (found == list.end()) return false;
  list.erase(found);
  return true;
}

template <typename Map, typename Value>
bool Lookup(const Map& map, const std::string& key, Value& value) {
  const auto found = map.find(key);
  if (found == map.end()) return false;
  value = found->second;
  return true;
}

}  // namespace

ParamDescriptor::~ParamDescriptor() = default;

eParam_t ParamDescriptor::GetParamID() const { return _paramID; }
void ParamDescriptor::SetParamID(eParam_t id) { _paramID = id; }

eParamType_t ParamDescriptor::GetParamType() const { return _paramType; }
void ParamDescriptor::SetParamType(eParamType_t type) { _paramType = type; }

std::string ParamDescriptor::GetParamIDName() const { return _paramIDName; }
void ParamDescriptor::SetParamIDName(std::string name) { _paramIDName = std::move(name); }

eFeature_t ParamDescriptor::GetFeatureType() const { return _featureType; }
void ParamDescriptor::SetFeatureType(eFeature_t type) { _featureType = type; }

ePersist_t ParamDescriptor::GetPersistenceType() const { return _persistenceType; }
void ParamDescriptor::SetPersistenceType(ePersist_t type) { _persistenceType = type; }

eUserRegisterData_t ParamDescriptor::GetRegisterType() const { return _registerType; }
void ParamDescriptor::SetRegisterType(eUserRegisterData_t type) { _registerType = type; }

eFactoryReset_t ParamDescriptor::GetFactoryResetType() const { return _factoryResetType; }
void ParamDescriptor::SetFactoryResetType(eFactoryReset_t type) { _factoryResetType = type; }

eAccess_t ParamDescriptor::GetAccessType() const { return _accessType; }
void ParamDescriptor::SetAccessType(eAccess_t type) { _accessType = type; }

std::string ParamDescriptor::GetName() const { return _name; }
void ParamDescriptor::SetName(std::string name) { _name = std::move(name); }

std::string ParamDescriptor::GetShortName() const { return _shortName; }
std::string ParamDescriptor::GetShortName(unsigned int) const { return GetShortName(); }
void ParamDescriptor::SetShortName(std::string name) { _shortName = std::move(name); }

std::string ParamDescriptor::GetRegEx() const { return _regEx; }
void ParamDescriptor::SetRegEx(std::string pattern) { _regEx = std::move(pattern); }

std::vector<eParam_t> ParamDescriptor::GetDependentParamIDs() const { return _dependents; }

void ParamDescriptor::SetDependentParamIDs(std::vector<eParam_t> ids) {
  _dependents = std::move(ids);
}

void ParamDescriptor::AddDependentParamID(eParam_t id) {
  RemoveDependentParamID(id);
  _dependents.push_back(id);
}

bool ParamDescriptor::RemoveDependentParamID(eParam_t id) { return RemoveFirst(_dependents, id); }

std::vector<eParam_t> ParamDescriptor::GetDependsOnParamIDs() const { return _dependsOn; }

void ParamDescriptor::SetDependsOnParamIDs(std::vector<eParam_t> ids) {
  _dependsOn = std::move(ids);
}

void ParamDescriptor::AddDependsOnParamID(eParam_t id) {
  RemoveDependsOnParamID(id);
  _dependsOn.push_back(id);
}

bool ParamDescriptor::RemoveDependsOnParamID(eParam_t id) { return RemoveFirst(_dependsOn, id); }

std::map<std::string, std::vector<ParamDescriptor::Relation>> ParamDescriptor::GetRelations()
    const {
  return _relations;
}

std::vector<ParamDescriptor::Relation> ParamDescriptor::GetRelation(std::string name) const {
  std::vector<Relation> relation;
  Lookup(_relations, name, relation);
  return relation;
}

void ParamDescriptor::AddRelation(std::string name, eParam_t id, unsigned int value) {
  _relations[std::move(name)].push_back({id, value});
}

std::vector<std::string> ParamDescriptor::GetClassNames() const { return _classNames; }

void ParamDescriptor::AddClassName(std::string name) {
  RemoveClassName(name);
  _classNames.push_back(std::move(name));
}

bool ParamDescriptor::RemoveClassName(std::string name) { return RemoveFirst(_classNames, name); }

bool ParamDescriptor::HasClassName(std::string name) const { return Contains(_classNames, name); }

void ParamDescriptor::ToggleClassName(std::string name) {
  if (HasClassName(name)) {
    RemoveClassName(std::move(name));
  } else {
    AddClassName(std::move(name));
  }
}

void ParamDescriptor::GetAttributes(std::map<std::string, std::string>& attributes) const {
  attributes = _texts;
}

void ParamDescriptor::GetAttributes(std::map<std::string, unsigned int>& attributes) const {
  attributes = _numbers;
}

bool ParamDescriptor::GetAttribute(std::string key, unsigned int& value) const {
  return Lookup(_numbers, key, value);
}

bool ParamDescriptor::GetAttribute(std::string key, std::string& value) const {
  return Lookup(_texts, key, value);
}

void ParamDescriptor::AddAttribute(std::string key, unsigned int value) {
  _numbers[std::move(key)] = value;
}

void ParamDescriptor::AddAttribute(std::string key, std::string value) {
  _texts[std::move(key)] = std::move(value);
}

IntegerDescriptor::~IntegerDescriptor() = default;

unsigned int IntegerDescriptor::GetMinValue() const { return _minValue; }
void IntegerDescriptor::SetMinValue(unsigned int value) { _minValue = value; }

unsigned int IntegerDescriptor::GetMaxValue() const { return _maxValue; }
void IntegerDescriptor::SetMaxValue(unsigned int value) { _maxValue = value; }

unsigned int IntegerDescriptor::GetFactoryDefault() const { return _factoryDefault; }
void IntegerDescriptor::SetFactoryDefault(unsigned int value) { _factoryDefault = value; }

unsigned int IntegerDescriptor::GetAdjustBy() const { return _adjustBy; }
void IntegerDescriptor::SetAdjustBy(unsigned int value) { _adjustBy = value; }

unsigned int IntegerDescriptor::GetScaleBy() const { return _scaleBy; }
void IntegerDescriptor::SetScaleBy(unsigned int value) { _scaleBy = value; }

unsigned int IntegerDescriptor::GetOffsetBy() const { return _offsetBy; }
void IntegerDescriptor::SetOffsetBy(unsigned int value) { _offsetBy = value; }

unsigned int IntegerDescriptor::GetDisplayPrecision() const { return _displayPrecision; }
void IntegerDescriptor::SetDisplayPrecision(unsigned int digits) { _displayPrecision = digits; }

std::string IntegerDescriptor::GetUnits() const { return _units; }
void IntegerDescriptor::SetUnits(std::string units) { _units = std::move(units); }

std::string IntegerDescriptor::GetUnits2() const { return _units2; }
void IntegerDescriptor::SetUnits2(std::string units) { _units2 = std::move(units); }

StringDescriptor::~StringDescriptor() = default;

unsigned int StringDescriptor::GetMinLength() const { return _minLength; }
void StringDescriptor::SetMinLength(unsigned int length) { _minLength = length; }

unsigned int StringDescriptor::GetMaxLength() const { return _maxLength; }
void StringDescriptor::SetMaxLength(unsigned int length) { _maxLength = length; }

std::string StringDescriptor::GetFactoryDefault() const { return _factoryDefault; }
void StringDescriptor::SetFactoryDefault(std::string value) { _factoryDefault = std::move(value); }

EnumDescriptor::~EnumDescriptor() = default;

std::map<unsigned int, EnumValueDescriptor> EnumDescriptor::GetEnumValueDescriptors() const {
  MutexLock lock(_mutex);
  return _values;
}

std::vector<EnumValueDescriptor> EnumDescriptor::GetOrderedEnumValueDescriptors() {
  MutexLock lock(_mutex);
  std::vector<EnumValueDescriptor> ordered;
  ordered.reserve(_order.size());
  for (const unsigned int value : _order) ordered.push_back(_values[value]);
  return ordered;
}

EnumValueDescriptor EnumDescriptor::GetEnumValueDescriptor(unsigned int value) const {
  MutexLock lock(_mutex);
  const auto found = _values.find(value);
  return found == _values.end() ? EnumValueDescriptor() : found->second;
}

void EnumDescriptor::SetEnumValueDescriptors(std::map<unsigned int, EnumValueDescriptor> values) {
  MutexLock lock(_mutex);
  _values = std::move(values);
}

void EnumDescriptor::AddNameValuePair(unsigned int value, std::string name) {
  AddNameValuePair(value, name, name);
}

void EnumDescriptor::AddNameValuePair(unsigned int value, std::string name, std::string shortName) {
  MutexLock lock(_mutex);
  _values[value] = {value, std::move(name), std::move(shortName)};
  _order.push_back(value);
}

std::string EnumDescriptor::GetEnumValue(unsigned int value) const {
  {
    MutexLock lock(_mutex);
    const auto found = _values.find(value);
    if (found != _values.end()) return found->second.name;
  }
  if (value == 0) return "(nil)";
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

bool EnumDescriptor::HasValue(unsigned int value) const {
  MutexLock lock(_mutex);
  return _values.count(value) != 0;
}
