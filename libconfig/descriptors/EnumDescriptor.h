// Describes a parameter whose values are named choices. Any thread may call any operation.
//
//   if (const auto* choices = dynamic_cast<EnumDescriptor*>(FindDescriptor(id)))
//     std::puts(choices->GetEnumValue(value).c_str());
#pragma once

#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/EnumValueDescriptor.h"
#include "libconfig/descriptors/IntegerDescriptor.h"

class LIBCONFIG_API EnumDescriptor : public IntegerDescriptor {
 public:
  // The order of the virtual operations is binary interface: append only.
  ~EnumDescriptor() override;
  virtual std::map<unsigned int, EnumValueDescriptor> GetEnumValueDescriptors() const;
  // One record for each AddNameValuePair, in the order of the calls: a value that was added twice
  // stands there twice, both times with its latest names. A value that SetEnumValueDescriptors
  // dropped comes as, and becomes, the default record.
  virtual std::vector<EnumValueDescriptor> GetOrderedEnumValueDescriptors();
  // The default record when there is no such value.
  virtual EnumValueDescriptor GetEnumValueDescriptor(unsigned int value) const;
  virtual void SetEnumValueDescriptors(std::map<unsigned int, EnumValueDescriptor> values);
  virtual void AddNameValuePair(unsigned int value, std::string name);
  virtual void AddNameValuePair(unsigned int value, std::string name, std::string shortName);
  // The name; for an absent value "0x" and its hexadecimal digits, or "(nil)" for 0.
  virtual std::string GetEnumValue(unsigned int value) const;

  // Whether `value` is one of the choices, without a copy.
  bool HasValue(unsigned int value) const;

 private:
  mutable qel::config::Mutex _mutex;
  std::map<unsigned int, EnumValueDescriptor> _values LIBCONFIG_GUARDED_BY(_mutex);
  std::vector<unsigned int> _order LIBCONFIG_GUARDED_BY(_mutex);
};
