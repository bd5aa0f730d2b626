#include <cstdio>

#include "libconfig/libconfig.h"

struct Printer : ConfigEventListener {
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned value, timeval) override {
    std::printf("%s is now %u\n", GetDescriptor(param)->GetName().c_str(), value);
  }
  void ParamChanged(eParam_t, std::string, timeval) override {}
};

int main(int argc, char** argv) {
  const char* uri = argc > 1 ? argv[1] : "tcp://127.0.0.1:43110";
  Printer printer;
  Config* config = ConfigFactoryImpl::GetInstance()->Connect(uri);
  if (config == nullptr || !config->AddConfigEventListener(&printer)) return 1;
  std::printf("IP Config is %u\n", config->Get(eParamID_IPConfig));
  config->Set(eParamID_IPConfig, 1U);
  config->Get(eParamID_IPConfig);  // its answer comes behind the events of the change
  qel::config::SilenceMessages();  // that the connection ends is no news
  return ConfigFactoryImpl::GetInstance()->Disconnect(config) ? 0 : 1;
}
