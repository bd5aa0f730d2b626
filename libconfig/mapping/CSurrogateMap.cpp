#include "libconfig/mapping/CSurrogateMap.h"

#include "libconfig/mapping/RowTable.h"

using qel::config::RowTable;

struct CSurrogateMap::Families {
  RowTable scratchpad;  // all at selector 0
  RowTable outputFormat;
  RowTable outputTiming;
  RowTable ip{eParamID_IPAddress, eParamID_SubnetMask, eParamID_DefaultGateway};
  RowTable procAmp;
  RowTable audioFollowVideo;
};

CSurrogateMap* CSurrogateMap::GetInstance() {
  static auto* const instance = new CSurrogateMap;
  return instance;
}

CSurrogateMap::CSurrogateMap() : _families(std::make_unique<Families>()) {}

CSurrogateMap::~CSurrogateMap() = default;

void CSurrogateMap::MapAudioToScratchpad(eParam_t proxy, eParam_t concrete) {
  _families->scratchpad.Add(proxy, 0, concrete);
}

eParam_t CSurrogateMap::mapAudioScratchpad(eParam_t proxy) const {
  return _families->scratchpad.Find(proxy, 0);
}

void CSurrogateMap::MapOutputFormatSurrogateByFrameRate(eParam_t proxy, eOutputFrameRate_t rate,
                                                        eParam_t concrete) {
  _families->outputFormat.Add(proxy, rate, concrete);
}

eParam_t CSurrogateMap::mapOutputFormat(eParam_t proxy, eOutputFrameRate_t rate) const {
  return _families->outputFormat.Find(proxy, rate);
}

void CSurrogateMap::MapOutputTimingSurrogateByOutputFormat(eParam_t proxy, eHWOutputFormat_t format,
                                                           eParam_t concrete) {
  _families->outputTiming.Add(proxy, format, concrete);
}

eParam_t CSurrogateMap::mapOutputTiming(eParam_t proxy, eHWOutputFormat_t format) const {
  return _families->outputTiming.Find(proxy, format);
}

void CSurrogateMap::MapIPSurrogateByIPConfig(eParam_t proxy, eIPConfig_t config,
                                             eParam_t concrete) {
  _families->ip.Add(proxy, config, concrete);
}

eParam_t CSurrogateMap::mapIPParam(eParam_t proxy, eIPConfig_t config) const {
  return _families->ip.Find(proxy, config);
}

void CSurrogateMap::MapProcAmpSurrogateByVideoInput(eParam_t proxy, eVideoInputSelect_t input,
                                                    eParam_t concrete) {
  _families->procAmp.Add(proxy, input, concrete);
}

eParam_t CSurrogateMap::mapProcAmp(eParam_t proxy, eVideoInputSelect_t input) const {
  return _families->procAmp.Find(proxy, input);
}

void CSurrogateMap::MapAudioFollowVideo(eParam_t proxy, eVideoInputSelect_t input,
                                        eParam_t concrete) {
  _families->audioFollowVideo.Add(proxy, input, concrete);
}

eParam_t CSurrogateMap::mapAudioFollowVideo(eParam_t proxy, eVideoInputSelect_t input) const {
  return _families->audioFollowVideo.Find(proxy, input);
}
