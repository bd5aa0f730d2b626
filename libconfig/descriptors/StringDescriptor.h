// Describes a parameter that holds text. The length limits are advice to user interfaces; the store
// does not enforce them.
#pragma once

#include "libconfig/descriptors/ParamDescriptor.h"

class LIBCONFIG_API StringDescriptor : public ParamDescriptor {
 public:
  // The order of the virtual operations is binary interface: append only.
  ~StringDescriptor() override;
  virtual unsigned int GetMinLength() const;
  virtual void SetMinLength(unsigned int length);
  virtual unsigned int GetMaxLength() const;
  virtual void SetMaxLength(unsigned int length);
  virtual std::string GetFactoryDefault() const;
  virtual void SetFactoryDefault(std::string value);

 private:
  unsigned int _minLength = 0;
  unsigned int _maxLength = 0xFFFFFFFF;
  std::string _factoryDefault;
};
