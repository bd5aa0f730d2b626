// Whatever may stand in for a URI. Nothing here goes over the network.
#include <memory>
#include <string>

#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigCache.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/access/ConfigURI.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "libconfig/network/Url.h"

void Uri(const uint8_t* data, size_t size) {
  std::string uri(data, data + size);
  const url::URL parts = url::parse(uri);
  fuzz::Require(parts.scheme.empty() == parts.port.empty() &&
                parts.host.empty() == parts.port.empty());
  for (const std::string* const part : {&parts.scheme, &parts.host, &parts.port}) {
    fuzz::Require(part->find_first_of(":/ \t\n") == std::string::npos);
    fuzz::Require(part->empty() || uri.find(*part) != std::string::npos);
  }
  qel::config::access::LocalConfigFactory().GetConfigID(uri);
  fuzz::Require(!GetConfigURI(uri).empty() && !GetEventsURI(uri).empty());

  if (uri.find("tcp") != std::string::npos) return;
  ConfigFactoryImpl* const factory = ConfigFactoryImpl::GetInstance();
  Config* const config = factory->Connect(uri);
  if (auto* const cache = dynamic_cast<ConfigCache*>(config)) {
    delete cache;
  } else if (config != nullptr) {
    fuzz::Require(factory->Disconnect(config) != 0);
  }
}
