// What a queue client sends, and what it makes of the answers: right ones, wrong ones, late ones.
#include <dlfcn.h>
#include <mqueue.h>
#include <unistd.h>

#include "libconfig/access/Outcome.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/queue/FakeDaemon.h"
#include "tests/testing/Eventually.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/RecordingListener.h"
#include "tests/testing/Wire.h"

using std::chrono::milliseconds;

namespace {

// The kernel waits for queues by the wall clock. Once that has been set back, a wait which is not
// over soon takes that much longer.
std::atomic<int> g_secondsSetBack{0};

timespec SetBack(const timespec& end) {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  const bool isLong =
      end.tv_sec - now.tv_sec > 1 ||
      (end.tv_sec - now.tv_sec) * 1000000000LL + end.tv_nsec - now.tv_nsec > 200000000;
  return {end.tv_sec + (isLong ? g_secondsSetBack.load() : 0), end.tv_nsec};
}

}  // namespace

extern "C" ssize_t mq_timedreceive(mqd_t queue, char* buffer, size_t size, unsigned* priority,
                                   const timespec* end) {
  static const auto real =
      reinterpret_cast<decltype(&mq_timedreceive)>(::dlsym(RTLD_NEXT, "mq_timedreceive"));
  const timespec late = SetBack(*end);
  return real(queue, buffer, size, priority, &late);
}

extern "C" int mq_timedsend(mqd_t queue, const char* message, size_t length, unsigned priority,
                            const timespec* end) {
  static const auto real =
      reinterpret_cast<decltype(&mq_timedsend)>(::dlsym(RTLD_NEXT, "mq_timedsend"));
  const timespec late = SetBack(*end);
  return real(queue, message, length, priority, &late);
}

namespace {

constexpr uint32_t kIPConfig = 0x32010000;
const std::string kText = "Edit 7";

using QueueExchange = QueueTest;

TEST_F(QueueExchange, SpeaksTheRecordsOfItsProtocol) {
  const auto messages =
      Golden({{"id", FakeDaemon::FirstConnection()}, {"seconds", 1700000000}, {"microseconds", 42}})
          .GetExchange("queue");
  std::atomic<std::size_t> next{0};
  Connect(
      [&](const WordList&, TestQueue& queue) {
        if (next == messages.size()) return false;
        EXPECT_EQ(messages[next].ToHex(), Hex(_daemon->GetRequest()));
        const uint32_t type = messages[next].fields[0].second;
        for (++next; next < messages.size() && !messages[next].fromClient; ++next) {
          if (type >= 48) queue.SendBytes(messages[next].ToBytes());
        }
        return type >= 48;
      },
      "mq:priority=0");
  EXPECT_EQ(0U, _client->Get(eParamID_MediaUpdated));
  EXPECT_EQ(1, _client->Set(eParamID_SysName, kText));
  std::string text;
  EXPECT_EQ(1, _client->Get(eParamID_SysName, text));
  EXPECT_EQ(kText, text);
  EXPECT_EQ(1700000000, _client->GetLastConfigUpdate().tv_sec);
  EXPECT_EQ(42, _client->GetLastConfigUpdate().tv_usec);
  RecordingListener changes;
  EXPECT_EQ(1, _client->AddConfigEventListener(&changes));
  EXPECT_EQ(1, _client->Set(eParamID_MediaUpdated, 1U));
  EXPECT_TRUE(changes.WaitFor(eParamID_MediaUpdated, "1"));
  EXPECT_EQ(1, _client->RemoveConfigEventListener(&changes));
  GiveBack();
  _daemon.reset();
  EXPECT_EQ(messages.size(), next);
}

TEST_F(QueueExchange, RefusesAnswersThatAreNotItsOwn) {
  WordList answer;
  Bytes stream;
  std::function<void(WordList&)> spoil;
  Connect([&](const WordList& request, TestQueue& queue) {
    if (request[0] < 80) return false;
    answer = Response{}.To(request);
    spoil(answer);
    return queue.Send(answer, stream);
  });
  const std::string name = ConnectionUtilities::GetQueueName(FakeDaemon::FirstConnection());
  std::string text = "as it was";
  const auto get = [&] { EXPECT_EQ(0U, _client->Get(eParamID_IPConfig)); };
  const auto set = [&] { EXPECT_EQ(0, _client->Set(eParamID_IPConfig, 1U)); };
  const auto getText = [&] { EXPECT_EQ(0, _client->Get(eParamID_SysName, text)); };
  const std::string noMatch =
      "PosixMQClient::Get(): response message did not match response message info\n";
  const Bytes value = StringValueBytes(eParamID_SysName, kText);
  const struct {
    std::function<void(WordList&)> spoil;
    std::function<void()> call;
    std::string complaint;
    Bytes stream = {};
  } cases[] = {
      {[](WordList& words) { words[1] = 0x00070003; }, get,
       "IsValidResponse - request.connectionID (" + name +
           ") != response.connectionID (/mqd_7_3)\n" + noMatch},
      {[](WordList& words) { words[3] = 5; }, set,
       "IsValidResponse - request.configID (0) != response.configID (5)\n"
       "PosixMQClient::Set - invalid response for the given request\n"},
      {[](WordList& words) { words[0] = 98; }, get, noMatch},
      {[](WordList& words) { words.resize(9); }, get, noMatch},
      {[](WordList& words) { words[9] = 1; }, get,
       "PosixMQClient::Get(): response message indicated an error\n"},
      {[](WordList& words) { words[9] = 1; }, getText,
       "PosixMQClient::Get - response error != 0\n"},
      {[](WordList& words) { words[9] = 1; }, set, ""},
      {[](WordList&) {}, getText, "PosixMQClient::Get - invalid streamLength\n"},
      {[](WordList& words) { words[11] = 24; }, getText,
       "PosixMQClient::Get - invalid streamLength\n", value},
      {[](WordList& words) { words[11] = 22; }, getText, "", value},
  };
  for (const auto& c : cases) {
    spoil = c.spoil;
    stream = c.stream;
    EXPECT_EQ(c.complaint, MessagesOf(c.call));
  }
  spoil = [](WordList& words) { words[2] += 1000; };
  EXPECT_THAT(MessagesOf([&] { EXPECT_EQ(0, _client->Set(eParamID_SysName, kText)); }),
              HasSubstr("PosixMQClient::Get - response does not match"));
  EXPECT_EQ("as it was", text);
  spoil = [](WordList&) {};
  stream.clear();
  EXPECT_EQ(1, _client->Set(eParamID_IPConfig, 1U)) << "the next one is none the worse";
  GiveBack();
}

TEST_F(QueueExchange, IsGivenUpInTheEndAndItsLateAnswerIsNobodys) {
  _patience = milliseconds(500);
  WordList kept;
  ConnectTo(80, [&](const WordList& words, TestQueue& queue) {
    if (words[5] == kIPConfig) {
      kept = words;  // answered with the next one
      return;
    }
    Response late;
    late.value = 99;
    Response right;
    right.value = 3;
    queue.Send(Response{}.Event(144, words[1]));
    queue.Send(late.To(kept));
    queue.Send(right.To(words));
  });
  EXPECT_EQ(
      "PosixMQClient::Get(): mq_receive returned -1, FAILED: Connection timed out\n"
      "PosixMQClient::Get(): mq_receive returned -1, FAILED",
      MessagesOf([&] { EXPECT_EQ(0U, _client->Get(eParamID_IPConfig)); }));
  EXPECT_EQ("", MessagesOf([&] { EXPECT_EQ(3U, _client->Get(eParamID_MediaUpdated)); }));
}

TEST_F(QueueExchange, EndsInItsTimeThoughAnotherOneHasMore) {
  std::atomic<int> asked{0};
  std::atomic<int> ended{0};
  ConnectTo(80, [&](const WordList&, TestQueue&) { ++asked; });
  std::thread slow([&] {
    EXPECT_EQ(0U, _client->Get(eParamID_IPConfig));
    ++ended;
  });
  EXPECT_TRUE(Eventually([&] { return asked == 1; }));
  _factory->SetPatience(milliseconds(20));
  PosixMQClient* const hasty = _factory->Connect("");
  ASSERT_NE(nullptr, hasty);
  EXPECT_EQ("PosixMQClient::Get - mq_receive failed: Connection timed out\n", MessagesOf([&] {
              std::string text;
              EXPECT_EQ(0, hasty->Get(eParamID_SysName, text));
            }));
  EXPECT_EQ(0, ended) << "it waited for the other one";
  const WordList answer = Response{}.To({80, FakeDaemon::FirstConnection(), 1, 0});
  FakeDaemon::ResponseQueue(FakeDaemon::FirstConnection())->Send(answer);
  slow.join();
  EXPECT_EQ(1, asked);
  _factory->Disconnect(hasty);
}

// Nobody reads the queue of a daemon that ended in order, and that another one has replaced.
TEST_F(QueueExchange, FailsAtOnceWhenTheDaemonsQueueIsGone) {
  const std::string name = "/gone_" + std::to_string(::getpid());
  const TestQueue requests(name);
  const TestQueue responses(name + "_r");
  ASSERT_TRUE(requests.IsOpen() && responses.IsOpen());
  int counter = 0;
  PosixMQClient client(1, 0, requests.Get(), responses.Get(), nullptr, counter, eConfigID_Default);
  ::mq_unlink(name.c_str());
  EXPECT_EQ(
      "PosixMQClient::Set mq_send failed: No such file or directory\n"
      "PosixMQClient::Set - mq_send failed\n",
      MessagesOf([&] { EXPECT_EQ(0, client.Set(eParamID_IPConfig, 1U)); }));
  EXPECT_EQ(qel::config::Outcome::kNoConnection, qel::config::LastOutcome());
}

TEST_F(QueueExchange, EndsBeforeAFullRequestQueue) {
  _patience = milliseconds(500);
  Connect();
  // The daemon is gone, and nobody takes what is in its queue.
  _daemon.reset();
  while (FakeDaemon::Requests().Waiting() < 128) ASSERT_TRUE(FakeDaemon::Requests().SendBytes({}));
  EXPECT_EQ(
      "PosixMQClient::Set mq_send failed: Connection timed out\n"
      "PosixMQClient::Set - mq_send failed\n",
      MessagesOf([&] { EXPECT_EQ(0, _client->Set(eParamID_IPConfig, 1U)); }));
  EXPECT_EQ("PosixMQClient::Set: mq_send failed\n", MessagesOf([&] {
              EXPECT_EQ(0, _client->Set(eParamID_SysName, std::string(600, 'x')));
            }));
}

TEST_F(QueueExchange, EndsInItsTimeThoughTheClockIsSetBack) {
  _patience = milliseconds(500);
  ConnectTo(80, [](const WordList&, TestQueue&) {});
  g_secondsSetBack = 20;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(0U, _client->Get(eParamID_IPConfig));
  _daemon.reset();
  while (FakeDaemon::Requests().Waiting() < 128) ASSERT_TRUE(FakeDaemon::Requests().SendBytes({}));
  EXPECT_EQ(0U, _client->Get(eParamID_IPConfig));
  EXPECT_EQ(qel::config::Outcome::kNoConnection, qel::config::LastOutcome());
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
  g_secondsSetBack = 0;
}

}  // namespace
