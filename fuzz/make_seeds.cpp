// make_seeds FOLDER: writes the corpora that the fuzz targets begin with, one folder a target.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "configd/state/Sector.h"
#include "fuzz/Fuzz.h"
#include "tests/testing/Golden.h"

namespace {

using testing_support::Golden;
using testing_support::GoldenMessage;

std::string g_folder;

std::string Text(const std::vector<char>& bytes) { return {bytes.begin(), bytes.end()}; }

void Write(const std::string& target, const std::vector<std::string>& seeds) {
  const std::string folder = g_folder + "/" + target;
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    std::ofstream file(folder + "/" + std::to_string(i));
    file << seeds[i];
    if (!file.flush()) std::exit(1);
  }
}

using Messages = std::vector<GoldenMessage>;

// What one side says in these exchanges.
Messages Side(const Golden& golden, bool fromClient, const std::vector<std::string>& exchanges) {
  Messages messages;
  for (const std::string& name : exchanges) {
    for (GoldenMessage& message : golden.GetExchange(name)) {
      if (message.fromClient == fromClient) messages.push_back(std::move(message));
    }
  }
  return messages;
}

// All of them behind one another, and each by itself.
std::vector<std::string> Seeds(const Messages& messages) {
  std::vector<std::string> seeds(1);
  for (const GoldenMessage& message : messages) {
    seeds.push_back(Text(message.ToBytes()));
    seeds[0] += (seeds.size() == 2 ? "" : fuzz::kMark) + seeds.back();
  }
  return seeds;
}

// Behind the disconnect there are the answer to one more listener request, and what it hears of.
Messages QueueAnswers(const Golden& golden) {
  constexpr uint32_t kListenAnswer = 64;
  constexpr uint32_t kChange = 144;
  constexpr uint32_t kNextRequest = 8;
  Messages messages = Side(golden, false, {"queue"});
  const Messages all = messages;
  for (const uint32_t type : {kListenAnswer, kChange, kChange}) {
    for (const GoldenMessage& message : all) {
      if (message.fields[0].second != type) continue;
      messages.push_back(message);
      if (type == kListenAnswer) messages.back().fields[2].second = kNextRequest;
    }
  }
  return messages;
}

std::string State(std::size_t values) {
  Sector sector;
  Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
  for (const eParam_t id : GetParamIDs()) {
    if (values == 0) break;
    unsigned int number;
    std::string text;
    const bool isText = FindDescriptor(id)->GetParamType() == eParamType_String;
    if (isText && store->Get(id, text) != 0) {
      sector.values.emplace_back(
          new StringValue(eConfigID_Default, id, eParamType_String, std::move(text)));
    } else if (!isText && store->Get(id, number) != 0) {
      sector.values.emplace_back(
          new IntegerValue(eConfigID_Default, id, eParamType_Integer, number));
    } else {
      continue;
    }
    --values;
  }
  std::string bytes = Text(EncodeSector(std::move(sector)));
  // The target adds it.
  return bytes.substr(0, bytes.size() - 4);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  g_folder = arguments[1];
  const Golden golden({{"id", 1}, {"sequence", 1}, {"seconds", 1}, {"microseconds", 2}});

  std::vector<std::string> objects;
  for (const std::string& name : golden.GetObjectNames()) {
    objects.push_back(Text(golden.GetObject(name)));
  }
  Write("objects", objects);
  Write("uri", {"tcp://127.0.0.1:43110", "udp://127.0.0.1:1?configid=2", "local:configid=3",
                "cached:local:", "multicast://", "mq:priority=10"});

  std::vector<std::string> requests = Seeds(Side(golden, true, {"tcp"}));
  requests.push_back(Seeds(Side(golden, true, {"tcp-listen"}))[0]);
  Write("tcp_requests", requests);
  Write("udp_requests", Seeds(Side(golden, true, {"udp"})));
  Write("queue_requests", Seeds(Side(golden, true, {"queue"})));
  // The last of tcp-listen: no longer listening.
  Messages tcp = Side(golden, false, {"tcp", "multicast"});
  tcp.insert(tcp.end() - 2, Side(golden, false, {"tcp-listen"}).back());
  Write("tcp_answers", Seeds(tcp));
  Write("udp_answers", Seeds(Side(golden, false, {"udp"})));
  Write("multicast_events", Seeds(Side(golden, false, {"multicast"})));
  Write("queue_answers", Seeds(QueueAnswers(golden)));
  Write("systemv", Seeds(Side(golden, true, {"systemv"})));

  Write("state", {State(0), State(1), State(9), State(60)});
  Write("settings",
        {R"({"format": "configctl settings", "version": 1, "left_out": ["SystemPassword"],)"
         R"( "settings": {"IPConfig": "Static Addr", "IPAddress": "10.0.0.3",)"
         R"( "IntervalFrames": 12, "SysName": {"hex": "ff00"}}})"});
  const auto typed = [](const char* name, const char* value) {
    return std::string(name) + fuzz::kMark + value;
  };
  Write("values", {typed("IPConfig", "static addr"), typed("IPAddress", "10.0.0.3"),
                   typed("50.1", "0x1"), typed("eParamID_SysName", "Edit 7"),
                   typed("0x32010000", "1"), typed("SystemPassword", "secret")});
  Write("logger_control", {"", "watch IPConfig\nwatch SysName\n", "watch\n", "watch NoParam x\n"});
  Write("flash_info", {"", "2026-11-21 18:20 ok\n"});
  return 0;
}
