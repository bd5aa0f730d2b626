#include "libconfig/mapping/MappingDescriptors.h"

#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/support/CTimeVal.h"
#include "libconfig/support/Logger.h"

using qel::config::MutexLock;

namespace {

template <typename Selector>
struct Row {
  eParam_t proxy;
  Selector value;
  eParam_t concrete;
};

// Crossed on purpose: the first of the three belongs to the nine-pin controller, value 1.
constexpr Row<eRS422_t> kTimecodeRows[] = {
    {eParamID_TimecodeIn, eRS422_Remote, eParamID_RS422TimecodeIn},
    {eParamID_TimecodeIn, eRS422_Local, eParamID_LocalTimecodeIn},
    {eParamID_TimecodeIn, eRS422_FireWire, eParamID_FW400TimecodeIn},
};

constexpr Row<eIPConfig_t> kIPRows[] = {
    {eParamID_IPAddress, eIPConfig_Default, eParamID_IPAddress_1},
    {eParamID_IPAddress, eIPConfig_DHCP, eParamID_IPAddress_2},
    {eParamID_IPAddress, eIPConfig_Static, eParamID_IPAddress_3},
    {eParamID_SubnetMask, eIPConfig_Default, eParamID_SubnetMask_1},
    {eParamID_SubnetMask, eIPConfig_DHCP, eParamID_SubnetMask_2},
    {eParamID_SubnetMask, eIPConfig_Static, eParamID_SubnetMask_3},
    {eParamID_DefaultGateway, eIPConfig_Default, eParamID_DefaultGateway_1},
    {eParamID_DefaultGateway, eIPConfig_DHCP, eParamID_DefaultGateway_2},
    {eParamID_DefaultGateway, eIPConfig_Static, eParamID_DefaultGateway_3},
};

// In default mode a wireless proxy is its own concrete parameter.
constexpr Row<eIPConfig_t> kWifiRows[] = {
    {eParamID_WiFiIPAddress, eIPConfig_Default, eParamID_WiFiIPAddress},
    {eParamID_WiFiIPAddress, eIPConfig_DHCP, eParamID_WiFiDHCPIPAddress},
    {eParamID_WiFiIPAddress, eIPConfig_Static, eParamID_WiFiStaticIPAddress},
    {eParamID_WiFiSubnetMask, eIPConfig_Default, eParamID_WiFiSubnetMask},
    {eParamID_WiFiSubnetMask, eIPConfig_DHCP, eParamID_WiFiDHCPSubnetMask},
    {eParamID_WiFiSubnetMask, eIPConfig_Static, eParamID_WiFiStaticSubnetMask},
    {eParamID_WiFiDefaultGateway, eIPConfig_Default, eParamID_WiFiDefaultGateway},
    {eParamID_WiFiDefaultGateway, eIPConfig_DHCP, eParamID_WiFiDHCPDefaultGateway},
    {eParamID_WiFiDefaultGateway, eIPConfig_Static, eParamID_WiFiStaticDefaultGateway},
};

}  // namespace

ParamMappingDescriptor::~ParamMappingDescriptor() = default;

eParam_t ParamMappingDescriptor::GetParamID() const { return _paramID; }

MappingDescriptors* MappingDescriptors::GetInstance() {
  static auto* const instance = new MappingDescriptors;
  return instance;
}

template <typename Rows, typename Map>
void MappingDescriptors::AddRows(const Rows& rows, Map map) {
  for (const auto& row : rows) {
    (CProxyMap::GetInstance()->*map)(row.proxy, row.value, row.concrete);
    auto& descriptor = _descriptors[row.proxy];
    if (descriptor == nullptr) descriptor = std::make_unique<ParamMappingDescriptor>(row.proxy);
  }
}

void MappingDescriptors::CreateMappingDescriptors() {
  MutexLock lock(_mutex);
  if (!_descriptors.empty()) return;
  CTimeVal duration;
  duration.start();
  AddRows(kTimecodeRows, &CProxyMap::MapTimecodeInByRS422Remote);
  AddRows(kIPRows, &CProxyMap::MapIPProxyByIPConfig);
  AddRows(kWifiRows, &CProxyMap::MapWifiProxyByWifiIPConfig);
  duration.stop();
  qel::logging::Logger::GetLogger()->Log(
      "MappingDescriptors::CreateMappingDescriptors took %d ms\n", duration.get_total_ms());
}

ParamMappingDescriptor* MappingDescriptors::GetMappingDescriptor(eParam_t proxy) {
  MutexLock lock(_mutex);
  const auto found = _descriptors.find(proxy);
  return found == _descriptors.end() ? nullptr : found->second.get();
}

std::vector<eParam_t> MappingDescriptors::GetProxyIDs() {
  MutexLock lock(_mutex);
  std::vector<eParam_t> ids;
  ids.reserve(_descriptors.size());
  for (const auto& entry : _descriptors) ids.push_back(entry.first);
  return ids;
}
