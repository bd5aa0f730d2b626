#include "libconfig/mapping/ProxyFamilies.h"

#include <boost/unordered_map.hpp>
#include <tuple>

#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/mapping/CSurrogateMap.h"

namespace qel::config {
namespace {

bool TakesRowsFor(Family family, eParam_t proxy) {
  switch (family) {
    case Family::kIP:
      return proxy == eParamID_IPAddress || proxy == eParamID_SubnetMask ||
             proxy == eParamID_DefaultGateway;
    case Family::kWifiIP:
      return proxy == eParamID_WiFiIPAddress || proxy == eParamID_WiFiSubnetMask ||
             proxy == eParamID_WiFiDefaultGateway;
    default:
      return true;
  }
}

boost::unordered_map<eParam_t, const Resolution*> ByProxy() {
  boost::unordered_map<eParam_t, const Resolution*> found;
  for (const Resolution& row : GetResolutions()) found.emplace(row.proxy, &row);
  return found;
}

}  // namespace

bool ProxyFamilies::Key::operator<(const Key& other) const {
  return std::tie(proxy, family, value) < std::tie(other.proxy, other.family, other.value);
}

void ProxyFamilies::Add(Family family, eParam_t proxy, uint32_t value, eParam_t concrete) {
  if (TakesRowsFor(family, proxy)) _rows.emplace(Key{proxy, family, value}, concrete);
}

eParam_t ProxyFamilies::Find(Family family, eParam_t proxy, uint32_t value) const {
  const auto row = _rows.find(Key{proxy, family, value});
  return row == _rows.end() ? proxy : row->second;
}

std::vector<eParam_t> ProxyFamilies::GetConcretes(eParam_t proxy) const {
  std::vector<eParam_t> concretes;
  for (auto row = _rows.lower_bound(Key{proxy, Family::kIP, 0});
       row != _rows.end() && row->first.proxy == proxy; ++row) {
    concretes.push_back(row->second);
  }
  return concretes;
}

const std::vector<Resolution>& GetResolutions() {
  static const auto* const rows = new std::vector<Resolution>{
      {eParamID_IPAddress, eParamID_IPConfig, Family::kIP},
      {eParamID_SubnetMask, eParamID_IPConfig, Family::kIP},
      {eParamID_DefaultGateway, eParamID_IPConfig, Family::kIP},
      {eParamID_WiFiIPAddress, eParamID_WiFiIPConfig, Family::kWifiIP},
      {eParamID_WiFiSubnetMask, eParamID_WiFiIPConfig, Family::kWifiIP},
      {eParamID_WiFiDefaultGateway, eParamID_WiFiIPConfig, Family::kWifiIP},
      {eParamID_TimecodeIn, eParamID_RS422Remote, Family::kTimecodeIn},
      {eParamID_ProcAmp_1, eParamID_VideoInSelect, Family::kProcAmp},
      {eParamID_ProcAmp_2, eParamID_VideoInSelect, Family::kProcAmp},
      {eParamID_ProcAmp_3, eParamID_VideoInSelect, Family::kProcAmp},
      {eParamID_ProcAmp_4, eParamID_VideoInSelect, Family::kProcAmp},
      {eParamID_ProcAmp_5, eParamID_VideoInSelect, Family::kProcAmp},
      {eParamID_OutputTiming_1, eParamID_OutputFormat, Family::kOutputTiming},
      {eParamID_OutputTiming_2, eParamID_OutputFormat, Family::kOutputTiming},
      {eParamID_OutputTiming_3, eParamID_OutputFormat, Family::kOutputTiming},
      {eParamID_OutputFormatProxy, eParamID_OutputFrameRate, Family::kOutputFormat},
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

using qel::config::Family;
using qel::config::ProxyFamilies;

CProxyMap* CProxyMap::GetInstance() {
  static auto* const instance = new CProxyMap;
  return instance;
}

CProxyMap::CProxyMap() : _families(std::make_unique<ProxyFamilies>()) {}

CProxyMap::~CProxyMap() = default;

std::vector<eParam_t> CProxyMap::GetConcreteParams(eParam_t proxy) const {
  return _families->GetConcretes(proxy);
}

CSurrogateMap* CSurrogateMap::GetInstance() {
  static auto* const instance = new CSurrogateMap;
  return instance;
}

CSurrogateMap::CSurrogateMap() : _families(std::make_unique<ProxyFamilies>()) {}

CSurrogateMap::~CSurrogateMap() = default;

// The registration and the lookup of one family in one map, by a selector of type VALUE.
#define SELECTED(MAP, FAMILY, VALUE, REGISTER, LOOK_UP)                \
  void MAP::REGISTER(eParam_t proxy, VALUE value, eParam_t concrete) { \
    _families->Add(Family::FAMILY, proxy, value, concrete);            \
  }                                                                    \
  eParam_t MAP::LOOK_UP(eParam_t proxy, VALUE value) const {           \
    return _families->Find(Family::FAMILY, proxy, value);              \
  }
#define UNSELECTED(MAP, FAMILY, REGISTER, LOOK_UP)        \
  void MAP::REGISTER(eParam_t proxy, eParam_t concrete) { \
    _families->Add(Family::FAMILY, proxy, 0, concrete);   \
  }                                                       \
  eParam_t MAP::LOOK_UP(eParam_t proxy) const { return _families->Find(Family::FAMILY, proxy, 0); }

// clang-format off
SELECTED(CProxyMap, kIP, eIPConfig_t, MapIPProxyByIPConfig, mapIPParam)
SELECTED(CProxyMap, kWifiIP, eIPConfig_t, MapWifiProxyByWifiIPConfig, mapWifiIPParam)
SELECTED(CProxyMap, kTimecodeIn, eRS422_t, MapTimecodeInByRS422Remote, mapTimecodeIn)
SELECTED(CProxyMap, kCurrentClip, eMediaSlot_t, MapCurrentClipByMediaSlot, mapCurrentClip)
SELECTED(CProxyMap, kOutputFormat, eOutputFrameRate_t, MapOutputFormatProxyByFrameRate, mapOutputFormat)
SELECTED(CProxyMap, kOutputTiming, eHWOutputFormat_t, MapOutputTimingProxyByOutputFormat, mapOutputTiming)
SELECTED(CProxyMap, kProcAmp, eVideoInputSelect_t, MapProcAmpProxyByVideoInput, mapProcAmp)
UNSELECTED(CProxyMap, kAudioScratchpad, MapAudioToScratchpad, mapAudioScratchpad)

SELECTED(CSurrogateMap, kIP, eIPConfig_t, MapIPSurrogateByIPConfig, mapIPParam)
SELECTED(CSurrogateMap, kOutputFormat, eOutputFrameRate_t, MapOutputFormatSurrogateByFrameRate, mapOutputFormat)
SELECTED(CSurrogateMap, kOutputTiming, eHWOutputFormat_t, MapOutputTimingSurrogateByOutputFormat, mapOutputTiming)
SELECTED(CSurrogateMap, kProcAmp, eVideoInputSelect_t, MapProcAmpSurrogateByVideoInput, mapProcAmp)
SELECTED(CSurrogateMap, kAudioFollowVideo, eVideoInputSelect_t, MapAudioFollowVideo, mapAudioFollowVideo)
UNSELECTED(CSurrogateMap, kAudioScratchpad, MapAudioToScratchpad, mapAudioScratchpad)
// clang-format on
