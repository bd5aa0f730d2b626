#include "libconfig/access/ConfigEventListener.h"

void ConfigEventListener::DataChanged(eParam_t, std::string&, timeval) {}

void ConfigEventListener::ParamChanged(ConfigEvent) {}
