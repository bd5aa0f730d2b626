#include "libconfig/mapping/Resolver.h"

#include <boost/unordered_map.hpp>

namespace qel::config {

namespace {

template <typename Selector, eParam_t (CProxyMap::*kLookUp)(eParam_t, Selector) const>
eParam_t In(const CProxyMap& map, eParam_t proxy, uint32_t value) {
  return (map.*kLookUp)(proxy, static_cast<Selector>(value));
}

constexpr auto kIP = In<eIPConfig_t, &CProxyMap::mapIPParam>;
constexpr auto kWifiIP = In<eIPConfig_t, &CProxyMap::mapWifiIPParam>;
constexpr auto kTimecodeIn = In<eRS422_t, &CProxyMap::mapTimecodeIn>;
constexpr auto kProcAmp = In<eVideoInputSelect_t, &CProxyMap::mapProcAmp>;
constexpr auto kOutputTiming = In<eHWOutputFormat_t, &CProxyMap::mapOutputTiming>;
constexpr auto kOutputFormat = In<eOutputFrameRate_t, &CProxyMap::mapOutputFormat>;

boost::unordered_map<eParam_t, const Resolution*> ByProxy() {
  boost::unordered_map<eParam_t, const Resolution*> found;
  for (const Resolution& row : GetResolutions()) found.emplace(row.proxy, &row);
  return found;
}

}  // namespace

const std::vector<Resolution>& GetResolutions() {
  static const auto* const rows = new std::vector<Resolution>{
      {eParamID_IPAddress, eParamID_IPConfig, kIP},
      {eParamID_SubnetMask, eParamID_IPConfig, kIP},
      {eParamID_DefaultGateway, eParamID_IPConfig, kIP},
      {eParamID_WiFiIPAddress, eParamID_WiFiIPConfig, kWifiIP},
      {eParamID_WiFiSubnetMask, eParamID_WiFiIPConfig, kWifiIP},
      {eParamID_WiFiDefaultGateway, eParamID_WiFiIPConfig, kWifiIP},
      {eParamID_TimecodeIn, eParamID_RS422Remote, kTimecodeIn},
      {eParamID_ProcAmp_1, eParamID_VideoInSelect, kProcAmp},
      {eParamID_ProcAmp_2, eParamID_VideoInSelect, kProcAmp},
      {eParamID_ProcAmp_3, eParamID_VideoInSelect, kProcAmp},
      {eParamID_ProcAmp_4, eParamID_VideoInSelect, kProcAmp},
      {eParamID_ProcAmp_5, eParamID_VideoInSelect, kProcAmp},
      {eParamID_OutputTiming_1, eParamID_OutputFormat, kOutputTiming},
      {eParamID_OutputTiming_2, eParamID_OutputFormat, kOutputTiming},
      {eParamID_OutputTiming_3, eParamID_OutputFormat, kOutputTiming},
      {eParamID_OutputFormatProxy, eParamID_OutputFrameRate, kOutputFormat},
  };
  return *rows;
}

const Resolution* FindResolution(eParam_t id) {
  static const auto* const byProxy =
      new boost::unordered_map<eParam_t, const Resolution*>(ByProxy());
  const auto found = byProxy->find(id);
  return found == byProxy->end() ? nullptr : found->second;
}

}  // namespace qel::config
