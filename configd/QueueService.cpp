#include "configd/QueueService.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "configd/LineWriter.h"
#include "libconfig/access/MessageTable.h"

namespace {

constexpr std::chrono::seconds kSweepPause{10};
// How long a client with a full queue is given until it is looked at again.
constexpr std::chrono::milliseconds kFirstPause{5};
constexpr std::chrono::milliseconds kLongestPause{500};
constexpr std::chrono::milliseconds kWakePause{50};
constexpr std::size_t kConfigurations = 64;

XCONFIGMGR_RESPONSE_T ResponseTo(const XCONFIGMGR_REQUEST_T& request) {
  XCONFIGMGR_RESPONSE_T response = {};
  response.msgtype = request.msgtype + 16;
  response.connectionID = request.connectionID;
  response.requestID = request.requestID;
  response.configID = request.configID;
  response.paramID = request.paramID;
  return response;
}

}  // namespace

QueueService::QueueService(std::string name) : _queue(std::move(name)) {}

QueueService::~QueueService() {
  if (_thread.joinable()) {
    {
      std::unique_lock<std::mutex> lock(_mutex);
      _stop = true;
      _changed.notify_all();
      // Again and again, as another process may take what is meant to wake us.
      do _queue.Wake();
      while (!_changed.wait_for(lock, kWakePause, [this] { return _ended; }));
    }
    _thread.join();
    _helper.join();
    // Nobody would remove the queues of clients that have died already.
    _connections.Sweep();
  }
  _stores.clear();
}

void QueueService::Start() {
  FindStore(0);
  _thread = std::thread([this] { Run(); });
  _helper = std::thread([this] { LookAfterClients(); });
}

void QueueService::Run() {
  std::string request;
  while (!_stop) {
    if (_queue.Receive(request)) Handle(request);
  }
  const std::lock_guard<std::mutex> lock(_mutex);
  _ended = true;
  _changed.notify_all();
}

// Removes the queues of those that died every now and then, and gives the slow ones, as soon as
// they have room, what was kept for them.
void QueueService::LookAfterClients() {
  auto sweep = std::chrono::steady_clock::now() + kSweepPause;
  auto pause = kFirstPause;
  std::unique_lock<std::mutex> lock(_mutex);
  for (;;) {
    _changed.wait_until(lock, sweep, [this] { return _stop || _kept; });
    if (_kept) _changed.wait_for(lock, pause, [this] { return _stop.load(); });
    if (_stop) return;
    _kept = false;
    lock.unlock();
    std::vector<std::string> lines;
    const QueueConnections::Kept kept = _connections.Flush(lines);
    for (std::string& line : lines) LineWriter::Instance().Write(std::move(line));
    if (std::chrono::steady_clock::now() >= sweep) {
      _connections.Sweep();
      sweep = std::chrono::steady_clock::now() + kSweepPause;
    }
    lock.lock();
    _kept |= kept != QueueConnections::Kept::kNothing;
    pause =
        kept == QueueConnections::Kept::kAsMuch ? std::min(2 * pause, kLongestPause) : kFirstPause;
  }
}

void QueueService::Handle(const std::string& message) {
  XCONFIGMGR_REQUEST_T request = {};
  std::memcpy(&request, message.data(), std::min(message.size(), sizeof request));
  const auto* const record = qel::config::IsRequest(request.msgtype)
                                 ? qel::config::FindQueueRecord(request.msgtype)
                                 : nullptr;
  if (record == nullptr || message.size() < record->size) return;
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  response.paramID = 0;
  bool known = true;
  switch (request.msgtype) {
    case XCFG_CONNECT_REQUEST:
      // Whoever died meanwhile makes room.
      _connections.Sweep();
      response.result = _connections.Open(request.connectionID, request.priority);
      break;
    case XCFG_DISCONNECT_REQUEST:
      _connections.Answer(response);
      _connections.Close(request.connectionID);
      return;
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
      known = _connections.SetListening(request.connectionID, true);
      break;
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      known = _connections.SetListening(request.connectionID, false);
      break;
    default: {
      std::string stream = message.substr(sizeof request);
      const bool cut = request.streamLength > stream.size();
      if (!cut) stream.resize(request.streamLength);
      HandleParam(request, stream, cut);
      return;
    }
  }
  if (!known) response.result = eQueueError_NotConnected;
  _connections.Answer(response);
}

void QueueService::HandleParam(const XCONFIGMGR_REQUEST_T& request, const std::string& stream,
                               bool cut) {
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  if (!_connections.Contains(request.connectionID)) {
    response.error = eQueueError_NotConnected;
    _connections.Answer(response);
    return;
  }
  QueueStore* const store = FindStore(request.configID);
  std::string answer;
  if (store == nullptr) {
    response.error = eQueueError_TooMany;
  } else if (cut) {
    response.error = eQueueError_Refused;
  } else {
    switch (request.msgtype) {
      case XCFG_GET_PARAM_REQUEST:
        store->Get(response);
        break;
      case XCFG_SET_PARAM_REQUEST:
        store->Set(request.value, response);
        break;
      case XCFG_GET_STREAM_PARAM_REQUEST:
        store->GetText(response, answer);
        break;
      default:
        store->SetText(stream, response);
        break;
    }
  }
  _connections.Answer(response, answer);
}

// Null when there are too many. Only the device's own configuration is announced: that is what
// clients ask for when they listen.
QueueStore* QueueService::FindStore(uint32_t configID) {
  const auto found = _stores.find(configID);
  if (found != _stores.end()) return found->second.get();
  if (_stores.size() >= kConfigurations) return nullptr;
  QueueStore::Announce announce;
  if (configID == 0) {
    announce = [this](const XCONFIGMGR_RESPONSE_T& event, const std::string& stream) {
      if (!_connections.Announce(event, stream)) return;
      const std::lock_guard<std::mutex> lock(_mutex);
      _kept = true;
      _changed.notify_all();
    };
  }
  Config* const config = ConfigFactoryImpl::GetInstance()->Connect(
      "local:configid=" + std::to_string(static_cast<int32_t>(configID)));
  auto& store = _stores[configID];
  store = std::make_unique<QueueStore>(config, std::move(announce));
  return store.get();
}
