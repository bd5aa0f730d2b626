// Answers older client code's questions about parameters, through one mapped configuration that all
// objects of the process share. The first object connects to the device's own service over UDP;
// when that fails, it says so and ends the process with status 1. The connection stays until the
// process ends.
//
// Any thread may call, and construct.
#pragma once

#include <string>

#include "libconfig/base/Export.h"
#include "libconfig/legacy/CParam.h"

class Config;
class ParamDescriptor;

class LIBCONFIG_API CParam_QX4 : public CParam {
 public:
  CParam_QX4(eParam_t id, eParamType_t type);
  // Has all objects use `config` from now on. It stays the caller's, and has to live until another
  // one takes its place; with null nothing is answered until then.
  CParam_QX4(eParam_t id, eParamType_t type, Config* config);
  ~CParam_QX4() override;

  // What the configuration in force answers; null when there is none.
  static ParamDescriptor* GetParamDescriptor(eParam_t id);
  // "BOGUS" without a descriptor.
  static std::string GetParamName(eParam_t id);
  // "BOGUS" for what is no enumeration, "Invalid" for an unknown value of one.
  static std::string GetParamEnumName(eParam_t id, unsigned int value);
  // The upper three bytes: "50.1.0".
  static std::string GetParamNumber(eParam_t id);
  using CParam::GetParamType;
  // 0, with a message, without a descriptor.
  static eParamType_t GetParamType(eParam_t id);
  // 0 for texts and everything else without a number.
  static unsigned int GetFactoryValue(eParam_t id);
  // The current value: a number in decimal, a text as it is, the name of an enumeration's value, or
  // "(7)" where it has none. "BOGUS" when it cannot be read.
  static std::string ToString(eParam_t id);

  // The class that holds values of type `type`, the way older code was told it: -1, with a message,
  // for an unknown type, and otherwise the class in row number `type` of a table whose rows are
  // not in that order. So 1 for type 10 and 0 for any other.
  static eClassID_t GetClassID(eParamType_t type);

  // The configuration in force; null until the first object connects. Replace it only while no
  // other thread uses this class; ownership does not change.
  static Config* _pConfigAccess;
};
