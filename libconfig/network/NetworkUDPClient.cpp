#include "libconfig/network/NetworkUDPClient.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <deque>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/NetworkRecordTable.h"
#include "libconfig/network/RecordReaders.h"
#include "libconfig/network/Socket.h"
#include "libconfig/support/Logger.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

namespace qel::vorlane::config::access {

using namespace qel::config;
using qel::logging::Logger;

namespace {

constexpr std::chrono::milliseconds kSetTime(limits::kUdpSetMs);

// Servers whose event numbers are remembered.
constexpr std::size_t kMostSenders = 64;

}  // namespace

// Number events on their way from the events thread to the response thread.
struct NetworkUDPClient::Responses {
  Mutex mutex;
  Condition changed;
  std::deque<XCONFIGMGR_RESPONSE_T> queue LIBCONFIG_GUARDED_BY(mutex);
  bool stop LIBCONFIG_GUARDED_BY(mutex) = false;
  bool hasThread = false;
  pthread_t thread = {};
  std::atomic<bool> disconnected{false};  // the server was told
};

NetworkUDPClient::NetworkUDPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID)
    : NetworkClient(connectionID, socket, configID,
                    std::make_unique<DatagramRecordReader>(*socket, kAnswerTime)),
      _responses(std::make_shared<Responses>()) {
  _responses->hasThread = qel::config::StartThread(&_responses->thread, ThreadKind::kJoinable, 0,
                                                   ResponseThreadHandler, this) == 0;
}

// Either thread may be the one that runs this, inside a listener's call.
NetworkUDPClient::~NetworkUDPClient() {
  GetEvents()->listeners.Close();  // ahead of letting the other thread go on
  UnregisterForEvents();
  if (!_responses->disconnected && GetSocket().get_port() != multicast::kPort) {
    // Disconnect, or the server keeps our entry; ignore its reply.
    const auto request = MakeConnectionRequest(XCFG_DISCONNECT_REQUEST, 0);
    GetSocket().send_some(&request, sizeof request, false);
  }
  Leave();
  {
    MutexLock lock(_responses->mutex);
    _responses->stop = true;
    _responses->queue.clear();
    _responses->changed.Broadcast();
  }
  if (!_responses->hasThread) return;
  if (::pthread_equal(_responses->thread, ::pthread_self()) != 0) {
    ::pthread_detach(_responses->thread);
    return;
  }
  // The thread may be waiting for the delivery that this one is inside of.
  GetEvents()->listeners.QuitDelivery();
  ::pthread_join(_responses->thread, nullptr);
}

void* NetworkUDPClient::ResponseThreadHandler(void* client) {
  // After a listener's exception, or without memory, numbers are no longer announced.
  RunGuarded([client] { static_cast<NetworkUDPClient*>(client)->ResponseQueueHandler(); });
  Logger::GetLogger()->Log("NetworkUDPClient::ResponseThreadHandler: Leaving thread\n");
  return nullptr;
}

// A listener may delete this client: only what is shared is touched after the call.
void NetworkUDPClient::ResponseQueueHandler() {
  const std::shared_ptr<Responses> responses = _responses;
  for (;;) {
    XCONFIGMGR_RESPONSE_T record;
    {
      MutexLock lock(responses->mutex);
      while (responses->queue.empty() && !responses->stop)
        responses->changed.Wait(responses->mutex);
      if (responses->stop) return;
      record = responses->queue.front();
      responses->queue.pop_front();
    }
    ProcessConfigParamEvent(record);
  }
}

bool NetworkUDPClient::RegisterForEvents() {
  return GetSocket().add_membership(multicast::kGroup, multicast::kInterface) != 0;
}

bool NetworkUDPClient::UnregisterForEvents() {
  return GetSocket().drop_membership(multicast::kGroup, multicast::kInterface) != 0;
}

bool NetworkUDPClient::ConfirmDisconnect() {
  _responses->disconnected = true;
  return GetSocket().get_port() == multicast::kPort || NetworkClient::ConfirmDisconnect();
}

// A number that lies behind the one expected is the first of a server that began anew.
void NetworkUDPClient::NoteSequence(uint64_t sender, uint32_t number) {
  if (_nextEvents.size() >= kMostSenders && _nextEvents.count(sender) == 0) _nextEvents.clear();
  const auto [expected, isNew] = _nextEvents.try_emplace(sender, number);
  const uint32_t missed = number - expected->second;
  if (!isNew && missed < 0x80000000) _missedEvents += missed;
  expected->second = number + 1;
}

void NetworkUDPClient::ProcessEvents() {
  Logger* const logger = Logger::GetLogger();
  logger->Log("NetworkUDPClient::ProcessEvents enter\n");
  const auto reportUnknown = [logger](int type) {
    logger->Log("NetworkUDPClient::ProcessEvents - Unknown message type %d\n", type);
  };
  const Ended ended =
      TellEvents(reportUnknown, [this](ReceivedRecord& event) { ProcessEvent(event); });
  if (ended == Ended::kClientGone) return;
  if (ended == Ended::kHere) {
    logger->Log("NetworkUDPClient::ProcessEvents - ret == 0\n");
  } else {
    logger->Log("NetworkUDPClient::ProcessEvents - recv ERROR (%d)\n", -1);
  }
  logger->Log("NetworkUDPClient::ProcessEvents exit\n");
}

// A listener may delete this client: nothing of it is touched after the call.
void NetworkUDPClient::ProcessEvent(ReceivedRecord& record) {
  const auto header = record.As<XCONFIGMGR_RESPONSE_T>();
  const bool isNumber = header.msgtype == XCFG_PARAM_CHANGED_EVENT;
  if (isNumber) NoteSequence(record.sender, header.requestID);
  if (header.configID != static_cast<uint32_t>(GetConfigID())) {
    Logger::GetLogger()->Log("NetworkUDPClient::ProcessEvents - ConfigID:%d  Inbound ConfigID:%d\n",
                             static_cast<int>(GetConfigID()), static_cast<int>(header.configID));
    return;
  }
  if (isNumber) {
    MutexLock lock(_responses->mutex);
    if (_responses->queue.size() >= limits::kKeptEvents) {
      _responses->queue.pop_front();
      ++_missedEvents;
    }
    _responses->queue.push_back(header);
    _responses->changed.Signal();
  } else if (header.streamLength <= record.stream.size()) {
    ProcessConfigStreamParamEvent(static_cast<eParam_t>(header.paramID), record.stream.data(),
                                  header.streamLength);
  }
}

int NetworkUDPClient::Set(eParam_t param, unsigned int value) {
  static constexpr Operation kSet = {sizeof(XCONFIGMGR_RESPONSE_T),
                                     false,
                                     nullptr,
                                     "NetworkClient::Set - send failed\n",
                                     "NetworkClient::Set - select failed on port %d (PID:%d)\n",
                                     "NetworkUDPClient::Set - recvfrom failed",
                                     nullptr,
                                     "NetworkUDPClient::Set - response error:%d\n"};
  Exchange exchange(*this, kSetTime);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_PARAM_REQUEST, param);
  request.value = value;
  ConnectionUtilities::Dump(&request);
  ReceivedRecord answer;
  return exchange.Ask(kSet, request, answer) && IsDone(kSet, answer.As<XCONFIGMGR_RESPONSE_T>());
}

const NetworkClient::Operation NetworkUDPClient::kGetText = {
    sizeof(XCONFIGMGR_RESPONSE_T),
    true,
    "NetworkUDPClient::Get",
    "NetworkUDPClient::Get - socket send failed\n",
    "NetworkClient::Get [Stream] - select failed on port %d (PID:%d)\n",
    "NetworkUDPClient::Get - recvfrom failed",
    nullptr,
    "NetworkUDPClient::Get - response error != 0\n",
    nullptr,
    nullptr,
    "NetworkUDPClient::Get - invalid streamLength (PID:%d)\n",
    "NetworkUDPClient::Get - warning! deserialized non-StringValue:\"%s\" Len:%d\n"};

int NetworkUDPClient::Get(eParam_t param, std::string& value) {
  Exchange exchange(*this);
  return RequestText(exchange, kGetText, param) ? Get(value) : 0;
}

int NetworkUDPClient::Get(std::string& value) { return ReceiveText(kGetText, value); }

}  // namespace qel::vorlane::config::access
