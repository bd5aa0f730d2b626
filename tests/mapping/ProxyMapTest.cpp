// The tables of proxies, and what resolves them.
#include "libconfig/mapping/CParamMapper.h"
#include "libconfig/mapping/CProxyMap.h"
#include "libconfig/mapping/CSurrogateMap.h"
#include "libconfig/mapping/MappingDescriptors.h"
#include "libconfig/mapping/RecorderParamMapper.h"
#include "tests/testing/FakeConfig.h"
#include "tests/testing/Names.h"
#include "tests/testing/Threads.h"

using qel::config::LastOutcome;
using qel::config::Outcome;
using quarn::mapper::RecorderParamMapper;

namespace {

constexpr eParam_t Param(uint32_t id) { return static_cast<eParam_t>(id); }

}  // namespace

TEST(ProxyMap, IsFilledByWhoeverComesFirst) {
  OnThreads(4, [](int) {
    MappingDescriptors::GetInstance()->CreateMappingDescriptors();
    EXPECT_EQ(0x32020200U, CProxyMap::GetInstance()->mapIPParam(Param(0x32020000), eIPConfig_DHCP));
  });
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
      {0x0a010000, 0x02010000, {0x0a010000, 0x0a010000, 0x0a010000, 0x0a010000}},
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

// A row in each family of both maps, for one parameter and one value.
TEST(ProxyMap, KeepsFamiliesAndMapsApart) {
  const auto a = Param(0xEE010000);
  const auto x = [](unsigned i) { return Param(0xEE000001 + i); };
  CProxyMap& proxies = *CProxyMap::GetInstance();
  CSurrogateMap& surrogates = *CSurrogateMap::GetInstance();
  constexpr auto kRate = eOutputFrameRate_t(5);
  constexpr auto kFormat = eHWOutputFormat_t(5);
  constexpr auto kInput = eVideoInputSelect_t(5);
  constexpr auto kMask = eParamID_SubnetMask;
  proxies.MapTimecodeInByRS422Remote(a, eRS422_t(5), x(0));
  proxies.MapCurrentClipByMediaSlot(a, eMediaSlot_t(5), x(1));
  proxies.MapOutputFormatProxyByFrameRate(a, kRate, x(2));
  proxies.MapOutputTimingProxyByOutputFormat(a, kFormat, x(3));
  proxies.MapProcAmpProxyByVideoInput(a, kInput, x(4));
  proxies.MapAudioToScratchpad(a, x(5));
  surrogates.MapOutputFormatSurrogateByFrameRate(a, kRate, x(6));
  surrogates.MapOutputTimingSurrogateByOutputFormat(a, kFormat, x(7));
  surrogates.MapProcAmpSurrogateByVideoInput(a, kInput, x(8));
  surrogates.MapAudioFollowVideo(a, kInput, x(9));
  surrogates.MapIPSurrogateByIPConfig(kMask, eIPConfig_t(5), x(10));
  surrogates.MapAudioToScratchpad(a, x(11));
  EXPECT_THAT(proxies.GetConcreteParams(a), ElementsAre(x(0), x(1), x(2), x(3), x(4), x(5)));
  const eParam_t found[] = {
      surrogates.mapOutputFormat(a, kRate),
      surrogates.mapOutputTiming(a, kFormat),
      surrogates.mapProcAmp(a, kInput),
      surrogates.mapAudioFollowVideo(a, kInput),
      surrogates.mapIPParam(kMask, eIPConfig_t(5)),
      surrogates.mapAudioScratchpad(a),
  };
  for (unsigned i = 0; i < std::size(found); ++i) EXPECT_EQ(x(6 + i), found[i]) << i;
  // The first row for a value counts, and no other value has it.
  proxies.MapProcAmpProxyByVideoInput(a, kInput, x(12));
  EXPECT_EQ(x(4), proxies.mapProcAmp(a, kInput));
  EXPECT_EQ(a, proxies.mapProcAmp(a, eVideoInputSelect_t(6)));
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
