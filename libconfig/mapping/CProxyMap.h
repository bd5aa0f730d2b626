// What each proxy stands for, by the value of its family's selector. One for the process, never
// destroyed. MappingDescriptors fills in the recorder's rows; a program that knows of more
// registers them at start-up, before anybody resolves a proxy. From then on the tables are only
// read, by any thread, without a lock.
//
// An operation named Map… registers one row: at this value of the selector, `proxy` stands for
// `concrete`. A second row for the same value is ignored. An operation named map… looks a row up,
// and answers with `proxy` itself where there is none: for an identifier that is no proxy of the
// family, and for a value that has no row.
#pragma once

#include <memory>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/mapping/SelectorValues.h"

namespace qel::config {
class ProxyFamilies;
}

class LIBCONFIG_API CProxyMap {
 public:
  static CProxyMap* GetInstance();

  CProxyMap(const CProxyMap&) = delete;
  CProxyMap& operator=(const CProxyMap&) = delete;

  // Wired and wireless addresses. Rows for anything but the adapter's address, mask and gateway are
  // ignored.
  void MapIPProxyByIPConfig(eParam_t proxy, eIPConfig_t config, eParam_t concrete);
  void MapWifiProxyByWifiIPConfig(eParam_t proxy, eIPConfig_t config, eParam_t concrete);
  eParam_t mapIPParam(eParam_t proxy, eIPConfig_t config) const;
  eParam_t mapWifiIPParam(eParam_t proxy, eIPConfig_t config) const;

  void MapTimecodeInByRS422Remote(eParam_t proxy, eRS422_t remote, eParam_t concrete);
  eParam_t mapTimecodeIn(eParam_t proxy, eRS422_t remote) const;

  void MapCurrentClipByMediaSlot(eParam_t proxy, eMediaSlot_t slot, eParam_t concrete);
  eParam_t mapCurrentClip(eParam_t proxy, eMediaSlot_t slot) const;

  void MapOutputFormatProxyByFrameRate(eParam_t proxy, eOutputFrameRate_t rate, eParam_t concrete);
  eParam_t mapOutputFormat(eParam_t proxy, eOutputFrameRate_t rate) const;

  void MapOutputTimingProxyByOutputFormat(eParam_t proxy, eHWOutputFormat_t format,
                                          eParam_t concrete);
  eParam_t mapOutputTiming(eParam_t proxy, eHWOutputFormat_t format) const;

  void MapProcAmpProxyByVideoInput(eParam_t proxy, eVideoInputSelect_t input, eParam_t concrete);
  eParam_t mapProcAmp(eParam_t proxy, eVideoInputSelect_t input) const;

  // Without a selector.
  void MapAudioToScratchpad(eParam_t proxy, eParam_t concrete);
  eParam_t mapAudioScratchpad(eParam_t proxy) const;

  // All that `proxy` stands for at some value of its selector; empty when there are no rows.
  std::vector<eParam_t> GetConcreteParams(eParam_t proxy) const;

 private:
  friend class CParamMapper;

  CProxyMap();
  ~CProxyMap();

  const std::unique_ptr<qel::config::ProxyFamilies> _families;
};
