#include "libconfig/descriptors/EnumDescriptor.h"

#include <cstdio>

using qel::config::MutexLock;

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
