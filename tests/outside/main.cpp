#include <libconfig/libconfig.h>

#include <cstdio>

int main() {
  Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
  if (store == nullptr || store->Set(eParamID_IPConfig, 1U) == 0) return 1;
  if (g_paramDescriptors.size() < qel::config::generic::g_paramDescriptors.size()) return 1;
  if (productID.isQuarn() == productID.isVimble()) return 1;
  std::printf("an outside project sees IPConfig = %u\n", store->Get(eParamID_IPConfig));
  return store->Get(eParamID_IPConfig) == 1 && ConfigFactoryImpl::GetInstance()->Disconnect(store)
             ? 0
             : 1;
}
