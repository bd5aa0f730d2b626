#include "libconfig/access/queue/QueueRequests.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "libconfig/access/Config.h"
#include "libconfig/access/ConfigEventListener.h"
#include "libconfig/access/MessageTable.h"
#include "libconfig/access/MissedEventListener.h"
#include "libconfig/access/ParamRequest.h"
#include "libconfig/access/Transport.h"
#include "libconfig/access/queue/PosixMQFactory.h"
#include "libconfig/base/Limits.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

namespace qel::config {

namespace {

// In events, which answer nothing.
constexpr uint32_t kNoRequest = 0xFFFFFFFF;

// The device's own configuration. It alone is announced: that is what clients subscribe to.
constexpr uint32_t kAnnounced = 0;

constexpr ParamFraming kFraming = {eSerializationFormat_Queue, true, sizeof(XCONFIGMGR_RESPONSE_T),
                                   PosixMQFactory::kMessageSize, eMessageError_TooLong};

XCONFIGMGR_RESPONSE_T ResponseTo(const XCONFIGMGR_REQUEST_T& request) {
  XCONFIGMGR_RESPONSE_T response = {};
  response.msgtype = AnswerType(request.msgtype);
  response.connectionID = request.connectionID;
  response.requestID = request.requestID;
  response.configID = request.configID;
  return response;
}

}  // namespace

// One configuration: the store, and when each parameter changed.
class QueueRequests::Store : public ConfigEventListener, public MissedEventListener {
 public:
  Store(QueueRequests& requests, uint32_t configID)
      : _requests(requests),
        _isAnnounced(configID == kAnnounced),
        _store(ConnectStore(static_cast<eConfigID_t>(configID))) {
    if (_store == nullptr) return;
    try {
      _store->AddConfigEventListener(this);
    } catch (...) {
      DisconnectStore(_store);
      throw;
    }
  }
  ~Store() override {
    if (_store == nullptr) return;
    _store->RemoveConfigEventListener(this);
    DisconnectStore(_store);
  }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Null when the store could not be had.
  Config* Get() const { return _store; }

  void FillTime(XCONFIGMGR_RESPONSE_T& response) {
    MutexLock lock(_mutex);
    const auto found = _times.find(static_cast<eParam_t>(response.paramID));
    if (found == _times.end()) return;
    response.timeSeconds = static_cast<uint32_t>(found->second.tv_sec);
    response.timeMicroseconds = static_cast<uint32_t>(found->second.tv_usec);
  }

  using ConfigEventListener::ParamChanged;
  void ParamChanged(eParam_t param, unsigned int value, timeval) override {
    XCONFIGMGR_RESPONSE_T event = Note(XCFG_PARAM_CHANGED_EVENT, param);
    event.value = value;
    Announce(event, {});
  }
  void ParamChanged(eParam_t param, std::string value, timeval) override {
    const XCONFIGMGR_RESPONSE_T event = Note(XCFG_PARAM_STREAM_CHANGED_EVENT, param);
    // The client would learn nothing from a record without its text.
    if (!_isAnnounced || value.size() > kFraming.longest) return;
    StringValue text(_store->GetConfigID(), param, eParamType_String, std::move(value));
    std::vector<char> record = EncodeValue(text, kFraming.format, kFraming.header);
    if (record.size() <= kFraming.longest) Announce(event, std::move(record));
  }
  void EventMissed(eParam_t) noexcept override {
    if (_isAnnounced) _requests._peers.DropListening();
  }

 private:
  XCONFIGMGR_RESPONSE_T Note(uint32_t type, eParam_t param) {
    timeval now;
    ::gettimeofday(&now, nullptr);
    {
      MutexLock lock(_mutex);
      try {
        _times[param] = now;
      } catch (const std::bad_alloc&) {
        // The event matters more than its time in later answers.
      }
    }
    XCONFIGMGR_RESPONSE_T event = {};
    event.msgtype = type;
    event.requestID = kNoRequest;
    event.configID = static_cast<uint32_t>(_store->GetConfigID());
    event.paramID = param;
    event.timeSeconds = static_cast<uint32_t>(now.tv_sec);
    event.timeMicroseconds = static_cast<uint32_t>(now.tv_usec);
    return event;
  }

  void Announce(const XCONFIGMGR_RESPONSE_T& event, std::vector<char> record) {
    if (_isAnnounced && _requests._peers.Announce(event, std::move(record))) _requests._onKept();
  }

  QueueRequests& _requests;
  const bool _isAnnounced;
  Config* const _store;
  Mutex _mutex;
  std::map<eParam_t, timeval> _times LIBCONFIG_GUARDED_BY(_mutex);  // as this server saw it
};

QueueRequests::QueueRequests(std::function<void()> onKept) : _onKept(std::move(onKept)) {}

QueueRequests::~QueueRequests() = default;

void QueueRequests::Start() { FindStore(kAnnounced); }

void QueueRequests::Process(char* message, std::size_t length) {
  XCONFIGMGR_REQUEST_T request = {};
  std::memcpy(&request, message, std::min(length, sizeof request));
  const RecordType* const record =
      IsRequest(request.msgtype) ? FindQueueRecord(request.msgtype) : nullptr;
  if (record == nullptr || length < record->size) return;
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  switch (request.msgtype) {
    case XCFG_CONNECT_REQUEST:
      // Clients that have died make room.
      _peers.Sweep();
      response.result = _peers.Open(request.connectionID, request.priority);
      break;
    case XCFG_DISCONNECT_REQUEST:
      _peers.Answer(response);
      _peers.Close(request.connectionID);
      return;
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      if (!_peers.SetListening(request.connectionID,
                               request.msgtype == XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST)) {
        response.result = eMessageError_NotConnected;
      }
      break;
    default:
      ProcessParam(request, message + record->size, length - record->size);
      return;
  }
  _peers.Answer(response);
}

void QueueRequests::ProcessParam(const XCONFIGMGR_REQUEST_T& request, char* stream,
                                 std::size_t length) {
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  response.paramID = request.paramID;
  if (!_peers.Contains(request.connectionID)) {
    response.error = eMessageError_NotConnected;
    _peers.Answer(response);
    return;
  }
  ParamAnswer answer;
  Store* const store = FindStore(request.configID);
  if (store == nullptr) {
    answer.error = eMessageError_TooMany;
  } else if (request.streamLength > length) {
    answer.error = eMessageError_Refused;
  } else {
    answer = AnswerParamRequest(*store->Get(),
                                {request.msgtype, static_cast<eParam_t>(request.paramID),
                                 request.value, stream, request.streamLength},
                                kFraming);
    response.value = request.msgtype == XCFG_SET_PARAM_REQUEST ? request.value : answer.value;
    store->FillTime(response);
  }
  response.error = answer.error;
  _peers.Answer(response, std::move(answer.record));
}

// Null when there are too many, or the store cannot be had now: it is asked for again next time.
QueueRequests::Store* QueueRequests::FindStore(uint32_t configID) {
  const auto found = _stores.find(configID);
  if (found != _stores.end()) return found->second.get();
  if (_stores.size() >= limits::kQueueConfigurations) return nullptr;
  auto store = std::make_unique<Store>(*this, configID);
  if (store->Get() == nullptr) return nullptr;
  return (_stores[configID] = std::move(store)).get();
}

}  // namespace qel::config
