// A rule for a store: while the recorder records, nobody changes how it reaches the network.
#include <cstdio>

#include "libconfig/libconfig.h"

namespace {

constexpr unsigned int kIdle = 1;
constexpr unsigned int kRecording = 2;

// Called on the thread that sets, on several at once; it holds nothing that they would share.
class KeepNetworkWhileRecording : public qel::config::UpdatePrecondition {
 public:
  bool IsUpdateValid(Config* store, eParam_t param, unsigned int& /*value*/) override {
    return IsAllowed(store, param);
  }
  bool IsUpdateValid(Config* store, eParam_t param, std::string& /*value*/) override {
    return IsAllowed(store, param);
  }
  bool IsUpdateValid(Config* store, eParam_t param, Serializable& /*value*/) override {
    return IsAllowed(store, param);
  }

 private:
  static bool IsAllowed(Config* store, eParam_t param) {
    return param != eParamID_IPConfig || store->Get(eParamID_TransportState) != kRecording;
  }
};

}  // namespace

int main() {
  qel::config::SilenceMessages();
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  Config* const store = factory->Connect("local:configid=0");
  if (store == nullptr) return 1;
  store->AddUpdatePrecondition(new KeepNetworkWhileRecording);  // the store's from here on
  for (const unsigned int state : {kRecording, kIdle}) {
    store->Set(eParamID_TransportState, state);
    const bool taken = store->Set(eParamID_IPConfig, 1U) != 0;
    std::printf("%s: %s\n", state == kRecording ? "recording" : "idle", taken ? "set" : "refused");
  }
  return factory->Disconnect(store) != 0 ? 0 : 1;
}
