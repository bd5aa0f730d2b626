// What each surrogate stands for: a parameter that takes another's place in a menu, by the value of
// a selector. It has the shape of CProxyMap, and the same rules for rows, lookups and threads; the
// recorder has no rows for it.
#pragma once

#include <memory>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/mapping/SelectorValues.h"

namespace qel::config {
class ProxyFamilies;
}

class LIBCONFIG_API CSurrogateMap {
 public:
  static CSurrogateMap* GetInstance();

  CSurrogateMap(const CSurrogateMap&) = delete;
  CSurrogateMap& operator=(const CSurrogateMap&) = delete;

  // Without a selector.
  void MapAudioToScratchpad(eParam_t proxy, eParam_t concrete);
  eParam_t mapAudioScratchpad(eParam_t proxy) const;

  void MapOutputFormatSurrogateByFrameRate(eParam_t proxy, eOutputFrameRate_t rate,
                                           eParam_t concrete);
  eParam_t mapOutputFormat(eParam_t proxy, eOutputFrameRate_t rate) const;

  void MapOutputTimingSurrogateByOutputFormat(eParam_t proxy, eHWOutputFormat_t format,
                                              eParam_t concrete);
  eParam_t mapOutputTiming(eParam_t proxy, eHWOutputFormat_t format) const;

  // Rows for anything but the wired adapter's address, mask and gateway are ignored.
  void MapIPSurrogateByIPConfig(eParam_t proxy, eIPConfig_t config, eParam_t concrete);
  eParam_t mapIPParam(eParam_t proxy, eIPConfig_t config) const;

  void MapProcAmpSurrogateByVideoInput(eParam_t proxy, eVideoInputSelect_t input,
                                       eParam_t concrete);
  eParam_t mapProcAmp(eParam_t proxy, eVideoInputSelect_t input) const;

  void MapAudioFollowVideo(eParam_t proxy, eVideoInputSelect_t input, eParam_t concrete);
  eParam_t mapAudioFollowVideo(eParam_t proxy, eVideoInputSelect_t input) const;

 private:
  CSurrogateMap();
  ~CSurrogateMap();

  const std::unique_ptr<qel::config::ProxyFamilies> _families;
};
