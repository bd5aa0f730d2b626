// Describes a parameter that holds an unsigned 32-bit number: its range, its factory default and
// how user interfaces step and show it.
#pragma once

#include "libconfig/descriptors/ParamDescriptor.h"

class LIBCONFIG_API IntegerDescriptor : public ParamDescriptor {
 public:
  // The order of the virtual operations is binary interface: append only.
  ~IntegerDescriptor() override;
  // Both bounds belong to the range.
  virtual unsigned int GetMinValue() const;
  virtual void SetMinValue(unsigned int value);
  virtual unsigned int GetMaxValue() const;
  virtual void SetMaxValue(unsigned int value);
  virtual unsigned int GetFactoryDefault() const;
  virtual void SetFactoryDefault(unsigned int value);
  // The step of one increment.
  virtual unsigned int GetAdjustBy() const;
  virtual void SetAdjustBy(unsigned int value);
  virtual unsigned int GetScaleBy() const;
  virtual void SetScaleBy(unsigned int value);
  virtual unsigned int GetOffsetBy() const;
  virtual void SetOffsetBy(unsigned int value);
  // Digits behind the decimal point when shown.
  virtual unsigned int GetDisplayPrecision() const;
  virtual void SetDisplayPrecision(unsigned int digits);
  virtual std::string GetUnits() const;
  virtual void SetUnits(std::string units);
  virtual std::string GetUnits2() const;
  virtual void SetUnits2(std::string units);

 private:
  unsigned int _minValue = 0;
  unsigned int _maxValue = 0xFFFFFFFF;
  unsigned int _factoryDefault = 0;
  unsigned int _adjustBy = 1;
  unsigned int _scaleBy = 1;
  unsigned int _offsetBy = 0;
  unsigned int _displayPrecision = 0;
  std::string _units;
  std::string _units2;
};
