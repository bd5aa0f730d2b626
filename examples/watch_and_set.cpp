#include <cstdio>

#include "libconfig/libconfig.h"

struct Printer : ConfigEventListener {
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned value, timeval) override {
    std::printf("%s is now %u\n", GetDescriptor(param)->GetName().c_str(), value);
  }
  void ParamChanged(eParam_t param, std::string value, timeval) override {
    std::printf("%s is now \"%s\"\n", GetDescriptor(param)->GetName().c_str(), value.c_str());
  }
};

int main(int argc, char** argv) {
  Printer printer;
  Config* config =
      ConfigFactoryImpl::GetInstance()->Connect(argc > 1 ? argv[1] : GetConfigURI("tcp"));
  if (config == nullptr || !config->AddConfigEventListener(&printer)) return 1;
  std::printf("IP Config is %u\n", config->Get(eParamID_IPConfig));
  config->Set(eParamID_IPConfig, 1U);
  config->Set(eParamID_SysName, std::string("Edit 7"));
  std::string name;
  config->Get(eParamID_SysName, name);  // answered behind the events of both changes
  return ConfigFactoryImpl::GetInstance()->Disconnect(config) && name == "Edit 7" ? 0 : 1;
}
