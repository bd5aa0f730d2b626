#include "libconfig/descriptors/StringDescriptor.h"

StringDescriptor::~StringDescriptor() = default;

unsigned int StringDescriptor::GetMinLength() const { return _minLength; }
void StringDescriptor::SetMinLength(unsigned int length) { _minLength = length; }

unsigned int StringDescriptor::GetMaxLength() const { return _maxLength; }
void StringDescriptor::SetMaxLength(unsigned int length) { _maxLength = length; }

std::string StringDescriptor::GetFactoryDefault() const { return _factoryDefault; }
void StringDescriptor::SetFactoryDefault(std::string value) { _factoryDefault = std::move(value); }
