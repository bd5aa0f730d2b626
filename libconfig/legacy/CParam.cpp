#include "libconfig/legacy/CParam.h"

CParam::~CParam() = default;

eParam_t CParam::GetParamID() const { return _paramID; }

eParamType_t CParam::GetParamType() const { return _paramType; }

eParam_t CParam::GetParamEnum() const { return _paramID; }

bool CParam::ShowWhenDisabled() const { return false; }
