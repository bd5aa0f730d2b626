// The daemon's end of the queues, as a test wants it to behave.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "libconfig/access/queue/PosixMQClient.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/descriptors/Catalogue.h"
#include "tests/testing/Emulator.h"
#include "tests/testing/Queues.h"

namespace testing_support {

// Answers each request on a thread of its own, until it is destroyed.
class FakeDaemon {
 public:
  // Given the request and the queue to answer on. False when it leaves the answer to the fake,
  // which agrees to everything.
  using Behaviour = std::function<bool(const WordList& request, TestQueue& response)>;

  explicit FakeDaemon(Behaviour behaviour = {})
      : _requests(Requests()), _behaviour(std::move(behaviour)) {
    while (_requests.Waiting() > 0) _requests.Receive();
    _thread = std::thread([this] { Run(); });
  }
  ~FakeDaemon() {
    _requests.SendBytes({});
    _thread.join();
  }
  FakeDaemon(const FakeDaemon&) = delete;
  FakeDaemon& operator=(const FakeDaemon&) = delete;

  // One for the whole process: factories leave it open.
  static TestQueue& Requests() {
    static TestQueue queue(TestQueueName());
    return queue;
  }
  // Open until its client has taken its leave: a process that closes any descriptor of a queue gets
  // no more notifications of it, and the client is in the same one.
  static std::shared_ptr<TestQueue> ResponseQueue(uint32_t connection) {
    const std::lock_guard<std::mutex> lock(QueuesMutex());
    std::shared_ptr<TestQueue>& queue = Queues()[connection];
    if (queue == nullptr) {
      queue = std::make_shared<TestQueue>(
          TestQueue::Existing(ConnectionUtilities::GetQueueName(connection)));
    }
    return queue;
  }
  // Those of clients whose leave it did not hear of.
  static void ForgetAll() {
    const std::lock_guard<std::mutex> lock(QueuesMutex());
    Queues().clear();
  }
  // All of the request that the behaviour is given.
  const Bytes& GetRequest() const { return _request; }
  // Of the first connection of a factory of this process.
  static uint32_t FirstConnection() { return static_cast<uint32_t>(::getpid()) << 16; }

 private:
  void Run() {
    for (;;) {
      _request = _requests.Receive(-1);
      if (_request.empty()) return;
      const WordList words = ToWords(_request);
      // A new connection has a new queue, whatever its name.
      if (words[0] == 16) Forget(words[1]);
      const std::shared_ptr<TestQueue> response = ResponseQueue(words[1]);
      const bool done = _behaviour && _behaviour(words, *response);
      // One that is refused is not heard of again either.
      if (words[0] == 17 || (words[0] == 16 && done)) Forget(words[1]);
      if (!done) response->Send(Response{}.To(words));
    }
  }

  static void Forget(uint32_t connection) {
    const std::lock_guard<std::mutex> lock(QueuesMutex());
    Queues().erase(connection);
  }
  static std::mutex& QueuesMutex() {
    static std::mutex mutex;
    return mutex;
  }
  static std::map<uint32_t, std::shared_ptr<TestQueue>>& Queues() {
    static std::map<uint32_t, std::shared_ptr<TestQueue>> queues;
    return queues;
  }

  TestQueue& _requests;
  Bytes _request;
  const Behaviour _behaviour;
  std::thread _thread;
};

// Ahead of the look at what is left.
class RequestsAreRemoved : public testing::Environment {
 public:
  void TearDown() override { FakeDaemon::Requests().Close(); }
};

inline testing::Environment* const kRequestsAreRemoved =
    testing::AddGlobalTestEnvironment(new RequestsAreRemoved);

// A test with a factory, for a daemon that the test makes first.
class QueueTest : public testing::Test {
 protected:
  void SetUp() override {
    const std::string reason = WhyNoQueues();
    if (!reason.empty()) GTEST_SKIP() << reason;
    CreateDescriptors();
  }
  void TearDown() override {
    GiveBack();
    _factory.reset();
    _daemon.reset();
    FakeDaemon::ForgetAll();
  }

  void Connect(FakeDaemon::Behaviour behaviour = {}, const char* uri = "") {
    _daemon = std::make_unique<FakeDaemon>(std::move(behaviour));
    _factory = std::make_unique<PosixMQFactory>(TestQueueName());
    _factory->SetPatience(_patience);
    _client = _factory->Connect(uri);
    ASSERT_NE(nullptr, _client);
  }

  // To a daemon that answers the requests of one type with `answer`.
  void ConnectTo(uint32_t type, std::function<void(const WordList&, TestQueue&)> answer) {
    Connect([type, answer](const WordList& request, TestQueue& queue) {
      if (request[0] == type) answer(request, queue);
      return request[0] == type;
    });
  }

  // Ahead of what the daemon's behaviour refers to.
  void GiveBack() {
    if (_client != nullptr) _factory->Disconnect(_client);
    _client = nullptr;
  }

  std::chrono::milliseconds _patience{60000};
  std::unique_ptr<FakeDaemon> _daemon;
  std::unique_ptr<PosixMQFactory> _factory;
  PosixMQClient* _client = nullptr;
};

}  // namespace testing_support
