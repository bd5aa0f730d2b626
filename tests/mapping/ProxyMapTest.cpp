// The tables of proxies, and what resolves them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "libconfig/mapping/CParamMapper.h"
#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/mapping/CSurrogateMap.h"
#include "libconfig/mapping/DelegatorConfig.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/RecorderParamMapper.h"
#include "tests/testing/FakeConfig.h"

using qel::config::LastOutcome;
using qel::config::Outcome;
using qel::vorlane::config::access::DelegatorConfig;
using quarn::mapper::RecorderParamMapper;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing_support::FakeConfig;

namespace {

constexpr eParam_t Param(uint32_t id) { return static_cast<eParam_t>(id); }

}  // namespace

TEST(ProxyMap, IsFilledByWhoeverComesFirst) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      MappingDescriptors::GetInstance()->CreateMappingDescriptors();
      EXPECT_EQ(0x32020200U,
                CProxyMap::GetInstance()->mapIPParam(Param(0x32020000), eIPConfig_DHCP));
    });
  }
  for (auto& thread : threads) thread.join();
  MappingDescriptors& proxies = *MappingDescriptors::GetInstance();
  EXPECT_THAT(proxies.GetProxyIDs(), ElementsAre(0x0800000a, 0x32020000, 0x32030000, 0x32040000,
                                                 0x3602000a, 0x3603000a, 0x3604000a));
  EXPECT_EQ(0x3604000aU, proxies.GetMappingDescriptor(Param(0x3604000a))->GetParamID());
  EXPECT_EQ(nullptr, proxies.GetMappingDescriptor(eParamID_IPConfig));
}

// What each proxy resolves to by the value of its selector, the row beyond the last one included.
TEST(ParamMapper, ResolvesEachProxyByItsSelector) {
  struct Row {
    uint32_t proxy, selector;
    uint32_t concrete[4];
  };
  const Row rows[] = {
      {0x0800000a, 0x23020000, {0x0800020a, 0x0800010a, 0x0800030a, 0x0800000a}},
      {0x32020000, 0x32010000, {0x32020100, 0x32020200, 0x32020300, 0x32020000}},
      {0x32030000, 0x32010000, {0x32030100, 0x32030200, 0x32030300, 0x32030000}},
      {0x32040000, 0x32010000, {0x32040100, 0x32040200, 0x32040300, 0x32040000}},
      {0x3602000a, 0x3601000a, {0x3602000a, 0x3602010a, 0x3602020a, 0x3602000a}},
      {0x3603000a, 0x3601000a, {0x3603000a, 0x3603010a, 0x3603020a, 0x3603000a}},
      {0x3604000a, 0x3601000a, {0x3604000a, 0x3604010a, 0x3604020a, 0x3604000a}},
      {0x06020000, 0x79030000, {0x06020000, 0x06020000, 0x06020000, 0x06020000}},
      {0x06030000, 0x79030000, {0x06030000, 0x06030000, 0x06030000, 0x06030000}},
      {0x06040000, 0x79030000, {0x06040000, 0x06040000, 0x06040000, 0x06040000}},
      {0x0a010000, 0x02010000, {0x0a010000, 0x0a010000, 0x0a010000, 0x0a010000}},
      {0x0a050000, 0x02010000, {0x0a050000, 0x0a050000, 0x0a050000, 0x0a050000}},
      {0x01010000, 0x03030000, {0x01010000, 0x01010000, 0x01010000, 0x01010000}},
  };
  for (const Row& row : rows) {
    for (unsigned value = 0; value < 4; ++value) {
      // Over a queue a read returns the value, and 0 is one, too.
      for (const bool queue : {false, true}) {
        FakeConfig config;
        config.numbers[Param(row.selector)] = value;
        config.setsOutcomes = config.returnsNumbers = queue;
        EXPECT_EQ(row.concrete[value], CParamMapper(&config).MapParamID(Param(row.proxy)))
            << std::hex << row.proxy << " at " << value;
        EXPECT_EQ(1U, config.numbers.size()) << "nothing but the selector is read";
        EXPECT_EQ(Outcome::kDone, LastOutcome());
      }
    }
  }
}

TEST(ParamMapper, ReadsNothingForWhatIsNoProxy) {
  FakeConfig config;
  const CParamMapper mapper(&config);
  for (const uint32_t id : {0x32010000, 0x32020100, 0x32050000, 0x06010000, 0x0a060000, 0}) {
    EXPECT_EQ(id, mapper.MapParamID(Param(id)));
    EXPECT_EQ(Outcome::kDone, LastOutcome());
  }
  EXPECT_EQ(0x32020000U, mapper.MapAFV(Param(0x32020000)));
  EXPECT_THAT(config.GetCalls(), IsEmpty());
}

TEST(ParamMapper, LeavesAProxyAloneWhenItsSelectorCannotBeRead) {
  FakeConfig config;
  config.numbers[eParamID_IPConfig] = 1;
  RecorderParamMapper mapper(&config);
  config.plain = true;
  EXPECT_EQ(eParamID_IPAddress_2, mapper.MapParamID(eParamID_IPAddress));
  config.failing = true;
  EXPECT_EQ(eParamID_IPAddress, mapper.MapParamID(eParamID_IPAddress));
  EXPECT_EQ(Outcome::kUnknown, LastOutcome());
  config.setsOutcomes = true;
  config.plain = false;
  EXPECT_EQ(eParamID_IPAddress, mapper.MapParamID(eParamID_IPAddress));
  EXPECT_EQ(Outcome::kNoAnswer, LastOutcome());
  EXPECT_EQ(eParamID_TimecodeIn, RecorderParamMapper().MapParamID(eParamID_TimecodeIn));
  EXPECT_EQ(Outcome::kNoConnection, LastOutcome());
}

TEST(ParamMapper, KnowsWhichProxiesAChangeTouches) {
  RecorderParamMapper mapper;
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_IPAddress_2), ElementsAre(eParamID_IPAddress));
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_IPConfig),
              ElementsAre(eParamID_IPAddress, eParamID_SubnetMask, eParamID_DefaultGateway));
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_RS422Remote), ElementsAre(eParamID_TimecodeIn));
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_WiFiIPAddress), ElementsAre(eParamID_WiFiIPAddress));
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_SysName), IsEmpty());
  // Proxies without rows have nothing to hear.
  EXPECT_THAT(mapper.ParamsChangedBy(eParamID_VideoInSelect), IsEmpty());
}

// Each family answers its own proxies and no others, keeps the first row for a value, and answers
// with the proxy where there is no row.
TEST(ProxyMap, KeepsFamiliesApart) {
  MappingDescriptors::GetInstance()->CreateMappingDescriptors();
  CProxyMap& map = *CProxyMap::GetInstance();
  const auto a = Param(0xEE010000), b = Param(0xEE020000), x = Param(0xEE000001);
  const auto y = Param(0xEE000002);
  const auto zero = eMediaSlot_t(0);
  EXPECT_EQ(a, map.mapCurrentClip(a, zero));
  map.MapCurrentClipByMediaSlot(a, zero, x);
  map.MapCurrentClipByMediaSlot(a, zero, y);
  map.MapCurrentClipByMediaSlot(b, zero, y);
  EXPECT_EQ(x, map.mapCurrentClip(a, zero));
  EXPECT_EQ(y, map.mapCurrentClip(b, zero));
  EXPECT_EQ(a, map.mapCurrentClip(a, eMediaSlot_t(1)));
  EXPECT_EQ(a, map.mapOutputFormat(a, eOutputFrameRate_t(0)));
  EXPECT_EQ(a, map.mapOutputTiming(a, eHWOutputFormat_t(0)));
  EXPECT_EQ(a, map.mapProcAmp(a, eVideoInputSelect_SDI));
  EXPECT_EQ(a, map.mapAudioScratchpad(a));
  EXPECT_EQ(a, map.mapTimecodeIn(a, eRS422_Local));
  map.MapAudioToScratchpad(a, y);
  EXPECT_EQ(y, map.mapAudioScratchpad(a));
  map.MapOutputFormatProxyByFrameRate(a, eOutputFrameRate_t(3), x);
  EXPECT_EQ(x, map.mapOutputFormat(a, eOutputFrameRate_t(3)));
  map.MapOutputTimingProxyByOutputFormat(a, eHWOutputFormat_t(4), y);
  EXPECT_EQ(y, map.mapOutputTiming(a, eHWOutputFormat_t(4)));
  map.MapProcAmpProxyByVideoInput(a, eVideoInputSelect_HDMI, x);
  EXPECT_EQ(x, map.mapProcAmp(a, eVideoInputSelect_HDMI));
  EXPECT_THAT(map.GetConcreteParams(a), ElementsAre(x, x, y, x, y));

  map.MapIPProxyByIPConfig(a, eIPConfig_DHCP, x);
  map.MapWifiProxyByWifiIPConfig(eParamID_IPAddress, eIPConfig_DHCP, x);
  map.MapIPProxyByIPConfig(eParamID_IPAddress, eIPConfig_DHCP, x);
  EXPECT_EQ(a, map.mapIPParam(a, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress, map.mapWifiIPParam(eParamID_IPAddress, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress_2, map.mapIPParam(eParamID_IPAddress, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress, map.mapIPParam(eParamID_IPAddress, eIPConfig_t(7)));
  EXPECT_EQ(eParamID_WiFiIPAddress, map.mapIPParam(eParamID_WiFiIPAddress, eIPConfig_DHCP));
}

TEST(SurrogateMap, HasRowsOfItsOwn) {
  CSurrogateMap& map = *CSurrogateMap::GetInstance();
  EXPECT_EQ(eParamID_IPAddress, map.mapIPParam(eParamID_IPAddress, eIPConfig_DHCP));
  const auto a = Param(0xEE010000), x = Param(0xEE000001);
  const auto rate = eOutputFrameRate_t(1);
  const auto format = eHWOutputFormat_t(2);
  EXPECT_EQ(a, map.mapAudioFollowVideo(a, eVideoInputSelect_SDI));
  map.MapAudioFollowVideo(a, eVideoInputSelect_SDI, x);
  EXPECT_EQ(x, map.mapAudioFollowVideo(a, eVideoInputSelect_SDI));
  EXPECT_EQ(a, map.mapProcAmp(a, eVideoInputSelect_SDI));
  map.MapProcAmpSurrogateByVideoInput(a, eVideoInputSelect_SDI, x);
  map.MapOutputFormatSurrogateByFrameRate(a, rate, x);
  map.MapOutputTimingSurrogateByOutputFormat(a, format, x);
  map.MapAudioToScratchpad(a, x);
  map.MapIPSurrogateByIPConfig(eParamID_SubnetMask, eIPConfig_Static, x);
  EXPECT_EQ(x, map.mapProcAmp(a, eVideoInputSelect_SDI));
  EXPECT_EQ(x, map.mapOutputFormat(a, rate));
  EXPECT_EQ(x, map.mapOutputTiming(a, format));
  EXPECT_EQ(x, map.mapAudioScratchpad(a));
  EXPECT_EQ(x, map.mapIPParam(eParamID_SubnetMask, eIPConfig_Static));
}

TEST(Delegator, HandsEveryOperationOnWithItsResult) {
  auto* const inner = new FakeConfig;
  DelegatorConfig config(inner);
  const auto p = eParamID_IPConfig;
  unsigned number = 0;
  std::string text;
  ConfigEvent event;
  EXPECT_EQ(1, config.Set(p, 7U));
  EXPECT_EQ(7U, config.Get(p));
  EXPECT_EQ(1, config.Get(p, number));
  EXPECT_EQ(1, config.Set(eParamID_SysName, std::string("rack")));
  EXPECT_EQ(1, config.Get(eParamID_SysName, text));
  EXPECT_EQ("rack", text);
  EXPECT_EQ(34, config.GetLastConfigUpdate().tv_usec);
  EXPECT_EQ(9, config.GetConfigID());
  EXPECT_EQ(1U, config.GetParamIDs().size());
  EXPECT_EQ(1U, config.GetDescriptorsByClassName("class").size());
  config.GetParamDescriptor(p);
  config.GetParamDescriptor("name");
  config.GetSerializable(p);
  const int results[] = {config.SetSerializable(p, nullptr),
                         config.GetData(p, text),
                         config.SetData(p, text),
                         config.AddConfigEventListener(nullptr),
                         config.AddConfigEventListener(p, nullptr),
                         config.AddConfigEventListener({p, p}, nullptr),
                         config.RemoveConfigEventListener(nullptr),
                         config.WaitForConfigEvent(event, 1, 2),
                         config.Lock(p, Config::eParamLock_Exclusive),
                         config.Unlock(p),
                         config.StartTransaction({p}, number),
                         config.Commit(5U),
                         config.Rollback(5U),
                         config.AddUpdatePrecondition(nullptr),
                         config.RemoveUpdatePrecondition(nullptr)};
  EXPECT_THAT(results, testing::Each(2));
  EXPECT_THAT(inner->GetCalls(), ElementsAreArray({"Set",
                                                   "Get",
                                                   "Get",
                                                   "Set",
                                                   "Get",
                                                   "GetConfigID",
                                                   "GetParamIDs",
                                                   "GetDescriptorsByClassName",
                                                   "GetParamDescriptor",
                                                   "GetParamDescriptor name",
                                                   "GetSerializable",
                                                   "SetSerializable",
                                                   "GetData",
                                                   "SetData",
                                                   "AddConfigEventListener",
                                                   "AddConfigEventListener id",
                                                   "AddConfigEventListener list",
                                                   "RemoveConfigEventListener",
                                                   "WaitForConfigEvent",
                                                   "Lock",
                                                   "Unlock",
                                                   "StartTransaction",
                                                   "Commit",
                                                   "Rollback",
                                                   "AddUpdatePrecondition",
                                                   "RemoveUpdatePrecondition"}));
}
