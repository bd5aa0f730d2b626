#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>

#include "libconfig/libconfig.h"

// Called on a thread of the library's, until Disconnect begins.
struct Printer : ConfigEventListener {
  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned value, timeval) override {
    std::printf("%s is now %u\n", GetDescriptor(param)->GetName().c_str(), value);
    if (param == eParamID_IPConfig && !told.exchange(true)) heard.set_value();
  }
  void ParamChanged(eParam_t, std::string, timeval) override {}

  std::atomic<bool> told{false};
  std::promise<void> heard;
};

int main(int argc, char** argv) {
  const char* uri = argc > 1 ? argv[1] : "tcp://127.0.0.1:43110";
  Printer printer;
  Config* config = ConfigFactoryImpl::GetInstance()->Connect(uri);
  if (config == nullptr || !config->AddConfigEventListener(&printer)) return 1;
  std::printf("IP Config is %u\n", config->Get(eParamID_IPConfig));
  config->Set(eParamID_IPConfig, 1U);
  printer.heard.get_future().wait_for(std::chrono::seconds(5));
  qel::config::SilenceMessages();  // that the connection ends is no news
  return ConfigFactoryImpl::GetInstance()->Disconnect(config) ? 0 : 1;
}
