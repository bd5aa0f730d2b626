// The tables of proxies, and what resolves them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "libconfig/mapping/CParamMapper.h"
#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/mapping/CSurrogateMap.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/RecorderParamMapper.h"
#include "tests/testing/FakeConfig.h"

using qel::config::LastOutcome;
using qel::config::Outcome;
using quarn::mapper::RecorderParamMapper;
using testing::ElementsAre;
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

// A family that has no row for `proxy` yet: it keeps the first row for a value, and answers with
// the proxy where there is none.
template <typename Map, typename Value>
void Fill(Map& map, void (Map::*add)(eParam_t, Value, eParam_t),
          eParam_t (Map::*find)(eParam_t, Value) const, eParam_t proxy, eParam_t concrete) {
  const auto value = Value(5), other = Value(6);
  EXPECT_EQ(proxy, (map.*find)(proxy, value)) << "no row of another family or map";
  (map.*add)(proxy, value, concrete);
  (map.*add)(proxy, value, Param(0xEEFFFFFF));
  EXPECT_EQ(concrete, (map.*find)(proxy, value));
  EXPECT_EQ(proxy, (map.*find)(proxy, other));
  EXPECT_EQ(Param(0xEE990000), (map.*find)(Param(0xEE990000), value));
}

TEST(ProxyMap, KeepsFamiliesAndMapsApart) {
  MappingDescriptors::GetInstance()->CreateMappingDescriptors();
  const auto a = Param(0xEE010000);
  const auto x = [](unsigned i) { return Param(0xEE000001 + i); };
  using Proxies = CProxyMap;
  Proxies& proxies = *Proxies::GetInstance();
  Fill(proxies, &Proxies::MapProcAmpProxyByVideoInput, &Proxies::mapProcAmp, a, x(4));
  Fill(proxies, &Proxies::MapOutputTimingProxyByOutputFormat, &Proxies::mapOutputTiming, a, x(3));
  Fill(proxies, &Proxies::MapOutputFormatProxyByFrameRate, &Proxies::mapOutputFormat, a, x(2));
  Fill(proxies, &Proxies::MapCurrentClipByMediaSlot, &Proxies::mapCurrentClip, a, x(1));
  Fill(proxies, &Proxies::MapTimecodeInByRS422Remote, &Proxies::mapTimecodeIn, a, x(0));
  EXPECT_EQ(a, proxies.mapAudioScratchpad(a));
  proxies.MapAudioToScratchpad(a, x(5));
  EXPECT_EQ(x(5), proxies.mapAudioScratchpad(a));
  EXPECT_THAT(proxies.GetConcreteParams(a), ElementsAre(x(0), x(1), x(2), x(3), x(4), x(5)));

  using Surrogates = CSurrogateMap;
  Surrogates& surrogates = *Surrogates::GetInstance();
  Fill(surrogates, &Surrogates::MapAudioFollowVideo, &Surrogates::mapAudioFollowVideo, a, x(6));
  Fill(surrogates, &Surrogates::MapProcAmpSurrogateByVideoInput, &Surrogates::mapProcAmp, a, x(7));
  Fill(surrogates, &Surrogates::MapOutputFormatSurrogateByFrameRate, &Surrogates::mapOutputFormat,
       a, x(8));
  Fill(surrogates, &Surrogates::MapOutputTimingSurrogateByOutputFormat,
       &Surrogates::mapOutputTiming, a, x(9));
  Fill(surrogates, &Surrogates::MapIPSurrogateByIPConfig, &Surrogates::mapIPParam,
       eParamID_SubnetMask, x(10));
  EXPECT_EQ(a, surrogates.mapAudioScratchpad(a));
  surrogates.MapAudioToScratchpad(a, x(11));
  EXPECT_EQ(x(11), surrogates.mapAudioScratchpad(a));
}

TEST(ProxyMap, TakesAddressesOfTheirOwnAdapterOnly) {
  MappingDescriptors::GetInstance()->CreateMappingDescriptors();
  CProxyMap& map = *CProxyMap::GetInstance();
  const auto a = Param(0xEE010000), x = Param(0xEE000001);
  map.MapIPProxyByIPConfig(a, eIPConfig_DHCP, x);
  map.MapWifiProxyByWifiIPConfig(eParamID_IPAddress, eIPConfig_DHCP, x);
  map.MapIPProxyByIPConfig(eParamID_IPAddress, eIPConfig_DHCP, x);
  EXPECT_EQ(a, map.mapIPParam(a, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress, map.mapWifiIPParam(eParamID_IPAddress, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress_2, map.mapIPParam(eParamID_IPAddress, eIPConfig_DHCP));
  EXPECT_EQ(eParamID_IPAddress, map.mapIPParam(eParamID_IPAddress, eIPConfig_t(7)));
  EXPECT_EQ(eParamID_WiFiIPAddress, map.mapIPParam(eParamID_WiFiIPAddress, eIPConfig_DHCP));
}
