#include "configd/QueueStore.h"

#include "configd/QueueConnections.h"

namespace {

// In events, which answer nothing.
constexpr uint32_t kNoRequest = 0xFFFFFFFF;

// The text that `stream` holds for `param`. Read field by field: the objects that the factory of
// classes creates are shared with the threads of other connections.
bool Decode(std::string& stream, eParam_t param, std::string& text) {
  MemoryDeSerializer in(eSerializationFormat_Queue, stream.data(), stream.data() + stream.size(),
                        false);
  unsigned int classID = 0;
  unsigned int configID = 0;
  unsigned int paramID = 0;
  unsigned int type = 0;
  in.Read("ClassID", classID);
  in.Read("ConfigID", configID);
  in.Read("ParamID", paramID);
  in.Read("ParamType", type);
  in.Read("Value", text);
  return !in.IsOverrun() && classID == eClassID_StringValue && paramID == param;
}

}  // namespace

QueueStore::QueueStore(Config* store, Announce announce)
    : _store(store), _announce(std::move(announce)) {
  if (_store != nullptr) _store->AddConfigEventListener(this);
}

QueueStore::~QueueStore() {
  if (_store == nullptr) return;
  _store->RemoveConfigEventListener(this);
  ConfigFactoryImpl::GetInstance()->Disconnect(_store);
}

void QueueStore::FillTime(XCONFIGMGR_RESPONSE_T& response) {
  const std::lock_guard<std::mutex> lock(_mutex);
  const auto found = _times.find(static_cast<eParam_t>(response.paramID));
  if (found == _times.end()) return;
  response.timeSeconds = static_cast<uint32_t>(found->second.tv_sec);
  response.timeMicroseconds = static_cast<uint32_t>(found->second.tv_usec);
}

void QueueStore::Get(XCONFIGMGR_RESPONSE_T& response) {
  unsigned int value;
  if (_store == nullptr || _store->Get(static_cast<eParam_t>(response.paramID), value) == 0) {
    response.error = eQueueError_NoValue;
  } else {
    response.value = value;
  }
  FillTime(response);
}

void QueueStore::Set(unsigned int value, XCONFIGMGR_RESPONSE_T& response) {
  response.value = value;
  if (_store == nullptr || _store->Set(static_cast<eParam_t>(response.paramID), value) == 0) {
    response.error = eQueueError_Refused;
  }
  FillTime(response);
}

void QueueStore::GetText(XCONFIGMGR_RESPONSE_T& response, std::string& stream) {
  std::string text;
  const auto param = static_cast<eParam_t>(response.paramID);
  if (_store == nullptr || _store->Get(param, text) == 0) {
    response.error = eQueueError_NoValue;
  } else {
    stream = Encode(param, std::move(text));
  }
  FillTime(response);
}

void QueueStore::SetText(std::string stream, XCONFIGMGR_RESPONSE_T& response) {
  std::string text;
  const auto param = static_cast<eParam_t>(response.paramID);
  if (_store == nullptr || !Decode(stream, param, text) ||
      _store->Set(param, std::move(text)) == 0) {
    response.error = eQueueError_Refused;
  }
  FillTime(response);
}

std::string QueueStore::Encode(eParam_t param, std::string text) {
  StringValue value(_store->GetConfigID(), param, eParamType_String, std::move(text));
  MemorySerializer out(eSerializationFormat_Queue, nullptr, nullptr, false);
  std::string stream(MemorySerializerSizer::GetSize(&value, &out), '\0');
  out.SetBufferStart(stream.data());
  out.SetBufferEnd(stream.data() + stream.size());
  out.SetPos(stream.data());
  out.Write("Serializable", &value);
  return stream;
}

XCONFIGMGR_RESPONSE_T QueueStore::Note(uint32_t type, eParam_t param) {
  timeval now;
  ::gettimeofday(&now, nullptr);
  {
    const std::lock_guard<std::mutex> lock(_mutex);
    _times[param] = now;
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

void QueueStore::ParamChanged(eParam_t param, unsigned int value, timeval) {
  XCONFIGMGR_RESPONSE_T event = Note(XCFG_PARAM_CHANGED_EVENT, param);
  event.value = value;
  if (_announce) _announce(event, {});
}

void QueueStore::ParamChanged(eParam_t param, std::string value, timeval) {
  XCONFIGMGR_RESPONSE_T event = Note(XCFG_PARAM_STREAM_CHANGED_EVENT, param);
  if (!_announce) return;
  const std::string stream = Encode(param, std::move(value));
  event.streamLength = static_cast<uint32_t>(stream.size());
  event.streamFormat = eSerializationFormat_Queue;
  _announce(event, stream);
}
