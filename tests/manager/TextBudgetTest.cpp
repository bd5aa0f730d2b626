// What texts may take, and what is left of them when their stores are gone.
#include <malloc.h>

#include "libconfig/access/ParamRequest.h"
#include "libconfig/access/TextBudget.h"
#include "libconfig/base/Limits.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/manager/LocalConfigFactory.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Names.h"
#include "tests/testing/TestServer.h"
#include "tests/testing/Threads.h"
#include "tests/testing/Wire.h"

using qel::config::TextBudget;

namespace {

constexpr std::size_t kLimit = 100000;

struct Limit {
  Limit() { TextBudget::SetLimit(kLimit + TextBudget::GetHeld()); }
  ~Limit() { TextBudget::SetLimit(qel::config::limits::kTexts); }
};

// Of all arenas.
std::size_t UsedBytes() {
  const auto info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

bool SetAsPeer(Config& store, eParam_t param, std::size_t size) {
  StringValue text(eConfigID_Default, param, eParamType_String, std::string(size, 'x'));
  std::vector<char> bytes = qel::config::EncodeValue(text, eSerializationFormat_Network, 0);
  return qel::config::AnswerParamRequest(
             store, {113, param, 0, bytes.data(), static_cast<uint32_t>(bytes.size())},
             {eSerializationFormat_Network, false, 0, 1 << 20, 60})
             .error == 0;
}

}  // namespace

TEST(TextBudget, RefusesAPeersTextBeyondItAndSaysSoOnce) {
  Store own(0);
  Store store(61);
  const std::size_t before = TextBudget::GetHeld();
  const Limit limit;
  CaptureStderr();
  EXPECT_TRUE(SetAsPeer(*store.operator->(), eParamID_SysName, kLimit / 2));
  EXPECT_FALSE(SetAsPeer(*store.operator->(), eParamID_ClipName, kLimit / 2));
  EXPECT_FALSE(SetAsPeer(*store.operator->(), eParamID_ClipName, kLimit / 2));
  const std::string words = GetCapturedStderr();
  EXPECT_THAT(words, HasSubstr("more is refused\n"));
  EXPECT_EQ(words.find("refused"), words.rfind("refused"));
  EXPECT_TRUE(SetAsPeer(*store.operator->(), eParamID_SysName, kLimit / 2)) << "as long as before";
  EXPECT_TRUE(SetAsPeer(*own.operator->(), eParamID_SysName, kLimit / 4)) << "its part is kept";
  EXPECT_EQ(1, store->Set(eParamID_ClipName, std::string(10 * kLimit, 'x'))) << "not a peer's";
  EXPECT_EQ(before + kLimit / 2 + kLimit / 4 + 10 * kLimit, TextBudget::GetHeld());
  EXPECT_FALSE(SetAsPeer(*store.operator->(), eParamID_SysName, kLimit / 2 + 1));
  EXPECT_TRUE(SetAsPeer(*store.operator->(), eParamID_SysName, 1));
  EXPECT_TRUE(SetAsPeer(*own.operator->(), eParamID_SysName, 0));
}

TEST(TextBudget, ForgetsTheTextsOfAStoreThatIsGone) {
  const std::size_t held = TextBudget::GetHeld();
  const std::size_t before = UsedBytes();
  StringValue* value;
  {
    Store store(62);
    store->Set(eParamID_SysName, std::string(1 << 24, 'x'));
    EXPECT_EQ(held + (1 << 24), TextBudget::GetHeld());
    store->Set(eParamID_ClipName, std::string(1 << 24, 'x'));
    store->Set(eParamID_ClipName, std::string("short"));
    value = dynamic_cast<StringValue*>(store->GetSerializable(eParamID_SysName));
    EXPECT_LT(UsedBytes(), before + 3 * (1 << 23)) << "nor keeps it the memory of a longer one";
  }
  EXPECT_EQ(held, TextBudget::GetHeld());
  EXPECT_LT(UsedBytes(), before + (1 << 20));
  std::string text;
  value->Get(text);
  EXPECT_EQ("", text) << "a value outlives its store, its text does not";
}

TEST(TextBudget, LeavesTheProcessAsLargeAsBeforeItsPeersCame) {
  constexpr uint32_t kConfigurations = 24;
  TestServer server;
  CaptureStderr();
  Bytes texts;
  for (const eParam_t id : GetParamIDs()) {
    if (FindDescriptor(id)->GetParamType() != eParamType_String) continue;
    texts = std::move(texts) + SetStringRequest(id, std::string(60000, 'x'));
  }
  const auto bring = [&](bool withTexts) {
    std::vector<std::unique_ptr<WirePeer>> peers;
    for (uint32_t i = 0; i < kConfigurations; ++i) {
      peers.push_back(std::make_unique<WirePeer>(server.GetPort(), 100 + i));
      WirePeer& peer = *peers.back();
      if (withTexts) peer.Send(texts);
      peer.Send(ParamRequest(80, eParamID_IPConfig, 0, 7));
      // Behind the refusals of what was too much.
      for (WordList answer; answer.empty() || answer[0] != 96;) answer = peer.Record();
    }
    const std::size_t held = TextBudget::GetHeld();
    peers.clear();
    EXPECT_TRUE(Eventually([&] { return TextBudget::GetHeld() == 0; }));
    return held;
  };
  bring(false);
  const std::size_t before = UsedBytes();
  EXPECT_GT(bring(true), std::size_t{55} << 20);
  EXPECT_LT(UsedBytes(), before + (1 << 20));
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("more is refused\n"));
}
