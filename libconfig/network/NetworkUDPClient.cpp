#include "libconfig/network/NetworkUDPClient.h"

#include <cxxabi.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <deque>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/base/Thread.h"
#include "libconfig/network/ClientEvents.h"
#include "libconfig/network/ClientExchange.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/DatagramRouter.h"
#include "libconfig/network/Multicast.h"
#include "libconfig/network/Socket.h"
#include "libconfig/support/Logger.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

namespace qel::vorlane::config::access {

using qel::config::MutexLock;
using qel::config::Report;
using qel::config::ReportErrno;
using qel::logging::Logger;

namespace {

constexpr int kSocketBuffer = 108544;
constexpr int kSetMs = 6000;
constexpr int kGetMs = 12000;

// Servers whose event numbers are remembered.
constexpr std::size_t kMostSenders = 64;

}  // namespace

// Number events on their way from the events thread to the response thread.
struct NetworkUDPClient::Responses {
  qel::config::Mutex mutex;
  qel::config::Condition changed;
  std::deque<XCONFIGMGR_RESPONSE_T> queue LIBCONFIG_GUARDED_BY(mutex);
  bool stop LIBCONFIG_GUARDED_BY(mutex) = false;
  bool hasThread = false;
  pthread_t thread = {};
  std::atomic<bool> tookLeave{false};  // of the server
};

NetworkUDPClient::NetworkUDPClient(unsigned int connectionID, Socket* socket, eConfigID_t configID)
    : NetworkClient(connectionID, socket, configID, std::make_shared<DatagramRouter>(*socket)),
      _responses(std::make_shared<Responses>()) {
  socket->set_buffer_size(SO_RCVBUF, kSocketBuffer);
  socket->set_buffer_size(SO_SNDBUF, kSocketBuffer);
  _responses->hasThread =
      qel::config::StartThread(&_responses->thread, qel::config::ThreadKind::kJoinable, 0,
                               ResponseThreadHandler, this) == 0;
}

// Either thread may be the one that runs this, inside a listener's call.
NetworkUDPClient::~NetworkUDPClient() {
  UnregisterForEvents();
  if (!_responses->tookLeave && GetSocket().get_port() != multicast::kPort) {
    // The server remembers who has not taken leave. Its answer is nobody's business.
    const XCONFIGMGR_CONNECTION_REQUEST_T request = {XCFG_DISCONNECT_REQUEST,
                                                     GetConnectionID(),
                                                     0,
                                                     static_cast<uint32_t>(GetConfigID()),
                                                     0,
                                                     kResultWord};
    GetSocket().send_some(&request, sizeof request, false);
  }
  LeaveEventsThread();
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
  try {
    static_cast<NetworkUDPClient*>(client)->ResponseQueueHandler();
  } catch (abi::__forced_unwind&) {
    throw;
  } catch (...) {
    // A listener's exception, or no memory: numbers are no longer announced.
  }
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
  if (GetSocket().add_membership(multicast::kGroup, multicast::kInterface) == 0) return false;
  GetRouter()->ExpectReader();
  return true;
}

bool NetworkUDPClient::UnregisterForEvents() {
  return GetSocket().drop_membership(multicast::kGroup, multicast::kInterface) != 0;
}

bool NetworkUDPClient::ConfirmDisconnect() {
  _responses->tookLeave = true;
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
  const std::shared_ptr<RecordRouter> router = GetRouter();
  const std::shared_ptr<Events> events = GetEvents();
  const std::shared_ptr<Responses> responses = _responses;
  Logger* const logger = Logger::GetLogger();
  logger->Log("NetworkUDPClient::ProcessEvents enter\n");
  router->BecomeReader();
  ReceivedRecord record;
  int result = 0;
  while (router->NextEvent(record, result)) {
    const XCONFIGMGR_RESPONSE_T& header = record.header;
    if (record.size < sizeof header) continue;
    if (header.msgtype == XCFG_PARAM_CHANGED_EVENT) NoteSequence(record.sender, header.requestID);
    if (header.configID != static_cast<uint32_t>(GetConfigID())) {
      logger->Log("NetworkUDPClient::ProcessEvents - ConfigID:%d  Inbound ConfigID:%d\n",
                  static_cast<int>(GetConfigID()), static_cast<int>(header.configID));
      continue;
    }
    switch (header.msgtype) {
      case XCFG_PARAM_CHANGED_EVENT: {
        MutexLock lock(responses->mutex);
        if (responses->queue.size() >= qel::config::limits::kKeptEvents) {
          responses->queue.pop_front();
          ++_missedEvents;
        }
        responses->queue.push_back(header);
        responses->changed.Signal();
        break;
      }
      case XCFG_PARAM_STREAM_CHANGED_EVENT:
        if (header.streamLength > record.stream.size()) break;
        ProcessConfigStreamParamEvent(static_cast<eParam_t>(header.paramID), record.stream.data(),
                                      header.streamLength);
        break;
      default:
        logger->Log("NetworkUDPClient::ProcessEvents - Unknown message type %d\n",
                    static_cast<int>(header.msgtype));
    }
    if (events->clientGone) return;
  }
  if (result == 0) {
    logger->Log("NetworkUDPClient::ProcessEvents - ret == 0\n");
  } else {
    logger->Log("NetworkUDPClient::ProcessEvents - recv ERROR (%d)\n", result);
  }
  logger->Log("NetworkUDPClient::ProcessEvents exit\n");
}

int NetworkUDPClient::Set(eParam_t param, unsigned int value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_SET_PARAM_REQUEST, param);
  request.value = value;
  ConnectionUtilities::Dump(&request);
  ReceivedRecord answer;
  switch (exchange.Ask(request, sizeof answer.header, false, kSetMs, answer)) {
    case Received::kAnswer:
      break;
    case Received::kNotSent:
      Report("NetworkClient::Set - send failed\n");
      return 0;
    case Received::kTimeout:
      Report("NetworkClient::Set - select failed on port %d (PID:%d)\n", GetSocket().get_port(),
             static_cast<int>(::getpid()));
      return 0;
    default:
      ReportErrno("NetworkUDPClient::Set - recvfrom failed");
      return 0;
  }
  if (answer.header.error != 0) {
    Report("NetworkUDPClient::Set - response error:%d\n", static_cast<int>(answer.header.error));
    return 0;
  }
  return 1;
}

int NetworkUDPClient::Get(eParam_t param, std::string& value) {
  Exchange exchange(*this);
  XCONFIGMGR_REQUEST_T request = MakeRequest(XCFG_GET_STREAM_PARAM_REQUEST, param);
  ConnectionUtilities::Dump(&request);
  if (!exchange.Request(request, sizeof(XCONFIGMGR_RESPONSE_T), true, kGetMs)) {
    ReportErrno("NetworkUDPClient::Get");
    Report("NetworkUDPClient::Get - socket send failed\n");
    return 0;
  }
  return Get(value);
}

int NetworkUDPClient::Get(std::string& value) {
  ReceivedRecord answer;
  switch (Exchange::Receive(*this, answer)) {
    case Received::kAnswer:
      break;
    case Received::kTimeout:
      Report("NetworkClient::Get [Stream] - select failed on port %d (PID:%d)\n",
             GetSocket().get_port(), static_cast<int>(::getpid()));
      return 0;
    default:
      ReportErrno("NetworkUDPClient::Get - recvfrom failed");
      return 0;
  }
  ConnectionUtilities::Dump(&answer.header);
  if (answer.header.error != 0) {
    Report("NetworkUDPClient::Get - response error != 0\n");
    return 0;
  }
  const uint32_t length = answer.header.streamLength;
  if (length == 0 || length > answer.stream.size()) {
    Report("NetworkUDPClient::Get - invalid streamLength (PID:%d)\n", static_cast<int>(::getpid()));
    return 0;
  }
  const auto decoded =
      qel::config::DecodeValue(answer.stream.data(), length, eSerializationFormat_Network);
  auto* const text = dynamic_cast<StringValue*>(decoded.get());
  if (text == nullptr) {
    Report("NetworkUDPClient::Get - warning! deserialized non-StringValue:\"%s\" Len:%d\n",
           decoded == nullptr ? "" : decoded->ToString().c_str(), static_cast<int>(length));
    return 0;
  }
  text->Get(value);
  return 1;
}

}  // namespace qel::vorlane::config::access
