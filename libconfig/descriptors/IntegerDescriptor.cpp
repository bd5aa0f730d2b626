#include "libconfig/descriptors/IntegerDescriptor.h"

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
