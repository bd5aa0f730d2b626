#include "libconfig/mapping/CProxyMap.h"

#include "libconfig/mapping/RowTable.h"

using qel::config::RowTable;

struct CProxyMap::Families {
  RowTable ip{eParamID_IPAddress, eParamID_SubnetMask, eParamID_DefaultGateway};
  RowTable wifi{eParamID_WiFiIPAddress, eParamID_WiFiSubnetMask, eParamID_WiFiDefaultGateway};
  RowTable timecodeIn;
  RowTable currentClip;
  RowTable outputFormat;
  RowTable outputTiming;
  RowTable procAmp;
  RowTable scratchpad;  // all at selector 0
};

CProxyMap* CProxyMap::GetInstance() {
  static auto* const instance = new CProxyMap;
  return instance;
}

CProxyMap::CProxyMap() : _families(std::make_unique<Families>()) {}

CProxyMap::~CProxyMap() = default;

void CProxyMap::MapIPProxyByIPConfig(eParam_t proxy, eIPConfig_t config, eParam_t concrete) {
  _families->ip.Add(proxy, config, concrete);
}

void CProxyMap::MapWifiProxyByWifiIPConfig(eParam_t proxy, eIPConfig_t config, eParam_t concrete) {
  _families->wifi.Add(proxy, config, concrete);
}

eParam_t CProxyMap::mapIPParam(eParam_t proxy, eIPConfig_t config) const {
  return _families->ip.Find(proxy, config);
}

eParam_t CProxyMap::mapWifiIPParam(eParam_t proxy, eIPConfig_t config) const {
  return _families->wifi.Find(proxy, config);
}

void CProxyMap::MapTimecodeInByRS422Remote(eParam_t proxy, eRS422_t remote, eParam_t concrete) {
  _families->timecodeIn.Add(proxy, remote, concrete);
}

eParam_t CProxyMap::mapTimecodeIn(eParam_t proxy, eRS422_t remote) const {
  return _families->timecodeIn.Find(proxy, remote);
}

void CProxyMap::MapCurrentClipByMediaSlot(eParam_t proxy, eMediaSlot_t slot, eParam_t concrete) {
  _families->currentClip.Add(proxy, slot, concrete);
}

eParam_t CProxyMap::mapCurrentClip(eParam_t proxy, eMediaSlot_t slot) const {
  return _families->currentClip.Find(proxy, slot);
}

void CProxyMap::MapOutputFormatProxyByFrameRate(eParam_t proxy, eOutputFrameRate_t rate,
                                                eParam_t concrete) {
  _families->outputFormat.Add(proxy, rate, concrete);
}

eParam_t CProxyMap::mapOutputFormat(eParam_t proxy, eOutputFrameRate_t rate) const {
  return _families->outputFormat.Find(proxy, rate);
}

void CProxyMap::MapOutputTimingProxyByOutputFormat(eParam_t proxy, eHWOutputFormat_t format,
                                                   eParam_t concrete) {
  _families->outputTiming.Add(proxy, format, concrete);
}

eParam_t CProxyMap::mapOutputTiming(eParam_t proxy, eHWOutputFormat_t format) const {
  return _families->outputTiming.Find(proxy, format);
}

void CProxyMap::MapProcAmpProxyByVideoInput(eParam_t proxy, eVideoInputSelect_t input,
                                            eParam_t concrete) {
  _families->procAmp.Add(proxy, input, concrete);
}

eParam_t CProxyMap::mapProcAmp(eParam_t proxy, eVideoInputSelect_t input) const {
  return _families->procAmp.Find(proxy, input);
}

void CProxyMap::MapAudioToScratchpad(eParam_t proxy, eParam_t concrete) {
  _families->scratchpad.Add(proxy, 0, concrete);
}

eParam_t CProxyMap::mapAudioScratchpad(eParam_t proxy) const {
  return _families->scratchpad.Find(proxy, 0);
}

std::vector<eParam_t> CProxyMap::GetConcreteParams(eParam_t proxy) const {
  const Families& all = *_families;
  std::vector<eParam_t> params;
  for (const RowTable* const family :
       {&all.ip, &all.wifi, &all.timecodeIn, &all.currentClip, &all.outputFormat, &all.outputTiming,
        &all.procAmp, &all.scratchpad}) {
    family->AppendConcretes(proxy, params);
  }
  return params;
}
