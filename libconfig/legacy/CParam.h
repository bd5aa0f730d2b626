// One parameter as older client code knows it: an identifier and a type. Immutable.
#pragma once

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"

class LIBCONFIG_API CParam {
 public:
  CParam(eParam_t id, eParamType_t type) : _paramID(id), _paramType(type) {}
  virtual ~CParam();
  virtual eParam_t GetParamID() const;
  virtual eParamType_t GetParamType() const;
  // The identifier under its oldest name.
  virtual eParam_t GetParamEnum() const;
  // Whether a menu still shows the parameter while another one disables it. False unless
  // overridden.
  virtual bool ShowWhenDisabled() const;

 private:
  const eParam_t _paramID;
  const eParamType_t _paramType;
};
