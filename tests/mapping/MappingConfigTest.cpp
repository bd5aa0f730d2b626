// Configurations in which proxies are what they stand for, over stores of this process and over
// TCP.
#include "libconfig/mapping/MappingConfig.h"

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/mapping/GetMappingConfig.h"
#include "libconfig/mapping/RecorderParamMapper.h"
#include "tests/testing/ActingListener.h"
#include "tests/testing/Names.h"
#include "tests/testing/PlayedServer.h"
#include "tests/testing/TestServer.h"

using qel::vorlane::config::access::MappingConfig;
using qel::vorlane::config::access::ParamMapper;
using quarn::mapper::RecorderParamMapper;

namespace {

// A store of its own for each test.
class MappedConfig : public testing::Test {
 protected:
  MappedConfig() {
    static int number = 2000;
    _option = "configid=" + std::to_string(++number);
    _store = ConfigFactoryImpl::GetInstance()->Connect("local:" + _option);
  }
  ~MappedConfig() override { ConfigFactoryImpl::GetInstance()->Disconnect(_store); }

  std::string LocalURI() const { return "local:" + _option; }
  std::string TcpURI() const { return _server.GetURI() + "/" + _option; }
  std::unique_ptr<MappingConfig> Local() {
    return std::unique_ptr<MappingConfig>(GetMappingConfig(LocalURI(), false, false));
  }
  std::unique_ptr<MappingConfig> Tcp(bool caching = false) {
    return std::unique_ptr<MappingConfig>(GetMappingConfig(TcpURI(), false, caching));
  }

  TestServer _server;
  std::string _option;
  Config* _store;
};

// Stands for what a test says, and counts its deaths.
class PlainMapper : public ParamMapper {
 public:
  PlainMapper(eParam_t proxy, eParam_t concrete, int* deaths)
      : _proxy(proxy), _concrete(concrete), _deaths(deaths) {}
  ~PlainMapper() override { ++*_deaths; }
  eParam_t MapParamID(eParam_t id) override { return id == _proxy ? _concrete : id; }
  std::vector<eParam_t> ParamsChangedBy(eParam_t id) override {
    return id == _concrete ? std::vector<eParam_t>{_proxy} : std::vector<eParam_t>{};
  }

 private:
  const eParam_t _proxy, _concrete;
  int* const _deaths;
};

}  // namespace

TEST_F(MappedConfig, ReadAndWriteTheParameterInForce) {
  const auto config = Local();
  const eParam_t addresses[] = {eParamID_IPAddress_1, eParamID_IPAddress_2, eParamID_IPAddress_3};
  for (unsigned mode = 0; mode < 3; ++mode) {
    ASSERT_EQ(1, config->Set(eParamID_IPConfig, mode));
    EXPECT_EQ(1, config->Set(eParamID_IPAddress, 0x0A000001 + mode));
    EXPECT_EQ(0x0A000001 + mode, _store->Get(addresses[mode]));
    unsigned address = 0;
    EXPECT_EQ(1, config->Get(eParamID_IPAddress, address));
    EXPECT_EQ(0x0A000001 + mode, address);
    EXPECT_EQ(address, config->Get(eParamID_IPAddress));
    EXPECT_EQ(GetDescriptor(addresses[mode]), config->GetParamDescriptor(eParamID_IPAddress));
    EXPECT_EQ(_store->GetSerializable(addresses[mode]),
              config->GetSerializable(eParamID_IPAddress));
  }
  EXPECT_EQ(0xC0A80002U, _store->Get(eParamID_IPAddress));
  EXPECT_EQ(GetDescriptor(eParamID_IPAddress), config->GetParamDescriptor("eParamID_IPAddress"));
}

TEST_F(MappedConfig, MapNothingWithoutAMapper) {
  const std::unique_ptr<MappingConfig> config(
      MappingConfig::Create(LocalURI(), LocalURI(), nullptr));
  RecordingListener listener;
  config->AddConfigEventListener(&listener);
  EXPECT_EQ(1, config->Set(eParamID_IPAddress, 0x0A000001U));
  EXPECT_EQ(0x0A000001U, config->Get(eParamID_IPAddress));
  EXPECT_EQ(GetDescriptor(eParamID_IPAddress), config->GetParamDescriptor(eParamID_IPAddress));
  EXPECT_THAT(listener.GetHeard(), ElementsAre(Pair(eParamID_IPAddress, "167772161")));
}

TEST_F(MappedConfig, AnnounceTheProxiesBehindTheChange) {
  _store->Set(eParamID_IPAddress_1, 1U);
  _store->Set(eParamID_IPAddress_2, 2U);
  _store->Set(eParamID_SubnetMask_2, 3U);
  _store->Set(eParamID_DefaultGateway_2, 4U);
  const auto config = Local();
  RecordingListener listener;
  config->AddConfigEventListener(&listener);
  // Of the parameter in force, and of another one.
  _store->Set(eParamID_IPAddress_1, 5U);
  _store->Set(eParamID_IPAddress_2, 6U);
  EXPECT_THAT(listener.GetHeard(),
              ElementsAre(Pair(eParamID_IPAddress_1, "5"), Pair(eParamID_IPAddress, "5"),
                          Pair(eParamID_IPAddress_2, "6"), Pair(eParamID_IPAddress, "5")));

  // Of the selector: all proxies of its family, and then what the store itself announces, where a
  // proxy's own value is followed by the one in force.
  RecordingListener second;
  config->AddConfigEventListener(&second);
  _store->Set(eParamID_IPConfig, 1U);
  EXPECT_THAT(second.GetHeard(),
              ElementsAre(Pair(eParamID_IPConfig, "1"), Pair(eParamID_IPAddress, "6"),
                          Pair(eParamID_SubnetMask, "3"), Pair(eParamID_DefaultGateway, "4"),
                          Pair(eParamID_IPAddress_3, "0"), Pair(eParamID_IPAddress, "6"),
                          Pair(eParamID_SubnetMask_3, "0"), Pair(eParamID_SubnetMask, "3"),
                          Pair(eParamID_DefaultGateway, "0"), Pair(eParamID_DefaultGateway, "4")));
  EXPECT_EQ(1, config->RemoveConfigEventListener(&listener));
  EXPECT_EQ(0, config->RemoveConfigEventListener(&listener));

  // A wireless proxy is one of its own concrete parameters.
  _store->Set(eParamID_WiFiIPConfig, 0U);
  RecordingListener wireless;
  config->AddConfigEventListener(&wireless);
  _store->Set(eParamID_WiFiIPAddress, 7U);
  _store->Set(eParamID_WiFiDHCPIPAddress, 8U);
  EXPECT_THAT(
      wireless.GetHeard(),
      ElementsAre(Pair(eParamID_WiFiIPAddress, "7"), Pair(eParamID_WiFiIPAddress, "7"),
                  Pair(eParamID_WiFiDHCPIPAddress, "8"), Pair(eParamID_WiFiIPAddress, "7")));
  _store->Set(eParamID_WiFiIPConfig, 1U);
  EXPECT_EQ("8", wireless.GetValues(eParamID_WiFiIPAddress).back());
}

TEST_F(MappedConfig, OwnAMapperThatStandsForAnything) {
  const auto unknown = static_cast<eParam_t>(0x01020304);
  int deaths = 0;
  std::unique_ptr<MappingConfig> config(MappingConfig::Create(
      LocalURI(), LocalURI(), new PlainMapper(eParamID_ReelName, eParamID_SysName, &deaths)));
  RecordingListener listener;
  config->AddConfigEventListener(&listener);
  EXPECT_EQ(1, config->Set(eParamID_ReelName, std::string("Edit 7")));
  EXPECT_THAT(listener.GetHeard(),
              ElementsAre(Pair(eParamID_SysName, "Edit 7"), Pair(eParamID_ReelName, "Edit 7")));
  std::string text;
  EXPECT_EQ(1, config->Get(eParamID_ReelName, text));
  EXPECT_EQ("Edit 7", text);
  // The proxy itself need not be known, what it stands for has to be.
  ParamMapper* const second = new PlainMapper(unknown, eParamID_IPConfig, &deaths);
  config->SetParamMapper(second);
  EXPECT_EQ(1, deaths);
  config->SetParamMapper(second);
  EXPECT_EQ(1, deaths);
  _store->Set(eParamID_IPConfig, 2U);
  EXPECT_THAT(listener.GetValues(unknown), ElementsAre("2"));
  config->SetParamMapper(new PlainMapper(eParamID_IPConfig, unknown, &deaths));
  config->ParamChanged(unknown, 1U, timeval{});
  EXPECT_THAT(listener.GetHeard().back(), Pair(unknown, "1")) << "and nothing for the proxy";
  config.reset();
  EXPECT_EQ(3, deaths);
}

TEST_F(MappedConfig, SayWhichConnectionFailed) {
  int deaths = 0;
  PlainMapper mapper(eParamID_ReelName, eParamID_SysName, &deaths);
  int closedPort;
  { closedPort = WireListener().GetPort(); }
  const std::string nobody = "tcp://127.0.0.1:" + std::to_string(closedPort);
  const auto failure = [&](const std::string& events, const std::string& uri, bool caching) {
    CaptureStderr();
    EXPECT_EQ(nullptr, MappingConfig::Create(uri, events, &mapper, true, caching));
    return GetCapturedStderr();
  };
  const std::string noConfig = "MappingConfig::Create: pConfig failed\n";
  const std::string noEvents = "MappingConfig::Create: pEvConfig failed\n";
  EXPECT_EQ(noConfig, failure(LocalURI(), "nonsense", false));
  EXPECT_THAT(failure(LocalURI(), nobody, true), HasSubstr(noConfig));
  EXPECT_THAT(failure("nonsense", LocalURI(), false), HasSubstr(noEvents));
  EXPECT_THAT(failure(nobody, TcpURI(), true), HasSubstr(noEvents));
  EXPECT_THAT(failure(nobody + "/caching=true", TcpURI(), true), HasSubstr(noEvents));
  EXPECT_EQ(0, deaths);
  CaptureStderr();
  EXPECT_EQ(nullptr, GetMappingConfig("socket", false, true));
  EXPECT_EQ(
      "MappingConfig::Create: pConfig failed\n"
      "GetMappingConfig: Failed to create a MappingConfig instance\n",
      GetCapturedStderr());
}

// What was read before is in the cache, and must not be what an event carries.
TEST_F(MappedConfig, ReadThroughACacheThatIsNeverOlderThanTheEvent) {
  RecordingListener listener;
  const auto config = Tcp(true);
  ASSERT_NE(nullptr, config);
  config->AddConfigEventListener(&listener);
  config->Get(eParamID_IPAddress);
  for (unsigned i = 1; i <= 100; ++i) {
    const unsigned mode = i % 3;
    const eParam_t inForce[] = {eParamID_IPAddress_1, eParamID_IPAddress_2, eParamID_IPAddress_3};
    _store->Set(eParamID_IPConfig, mode);
    ASSERT_TRUE(listener.WaitFor(eParamID_DefaultGateway, "0"));
    _store->Set(inForce[mode], i);
    ASSERT_TRUE(listener.WaitFor(eParamID_IPAddress, std::to_string(i)));
    EXPECT_EQ(i, config->Get(eParamID_IPAddress));
  }
}

// Requests go to the server, events come from the device's multicast group.
TEST_F(MappedConfig, MapOverDatagrams) {
  TestServer server(SOCK_DGRAM);
  RecordingListener listener;
  const std::unique_ptr<MappingConfig> config(
      GetMappingConfig(server.GetURI() + "/" + _option, false, true));
  ASSERT_NE(nullptr, config);
  config->AddConfigEventListener(&listener);
  EXPECT_EQ(1, config->Set(eParamID_RS422Remote, 1U));
  EXPECT_EQ(1, config->Set(eParamID_TimecodeIn, 3U));
  EXPECT_EQ(3U, _store->Get(eParamID_RS422TimecodeIn));
  EXPECT_TRUE(Eventually([&] { return listener.GetHeard().size() == 4; }));
  EXPECT_THAT(listener.GetHeard(),
              ElementsAre(Pair(eParamID_RS422Remote, "1"), Pair(eParamID_TimecodeIn, testing::_),
                          Pair(eParamID_RS422TimecodeIn, "3"), Pair(eParamID_TimecodeIn, "3")));
}

// The selector can still be read, what it points to cannot.
TEST_F(MappedConfig, LeaveTheProxiesOutWhenTheLinkDies) {
  PlayedServer server([](PlayedPeer& peer) {
    const auto get = peer.Request();
    EXPECT_EQ(0x32010000U, get.at(6));
    peer.Answer(get, 1);
    EXPECT_EQ(0x32020200U, peer.Request().at(6));
  });
  const std::unique_ptr<MappingConfig> config(
      MappingConfig::Create(server.GetURI(), LocalURI(), new RecorderParamMapper));
  ASSERT_NE(nullptr, config);
  RecordingListener listener;
  config->AddConfigEventListener(&listener);
  _store->Set(eParamID_IPConfig, 1U);
  server.WaitUntilPlayed();
  EXPECT_THAT(listener.GetHeard(),
              ElementsAre(Pair(eParamID_IPConfig, "1"), Pair(eParamID_IPAddress_3, "0"),
                          Pair(eParamID_SubnetMask_3, "0"), Pair(eParamID_DefaultGateway, "0")));
  EXPECT_EQ(0, config->Set(eParamID_IPAddress, 1U));
  unsigned value = 4711;
  EXPECT_EQ(0, config->Get(eParamID_IPAddress, value));
  EXPECT_EQ(4711U, value);
}

TEST_F(MappedConfig, BearChangesFromInsideACall) {
  const auto config = Local();
  ActingListener listener([&] {
    config->Set(eParamID_MediaUpdated, 2U);
    // An event source of its own, on the same thread.
    config->ParamChanged(eParamID_MediaUpdated, 3U, timeval{});
  });
  config->AddConfigEventListener(&listener);
  _store->Set(eParamID_MediaUpdated, 1U);
  EXPECT_THAT(listener.GetValues(eParamID_MediaUpdated), ElementsAre("1", "3", "2"));
}
