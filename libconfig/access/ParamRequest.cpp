#include "libconfig/access/ParamRequest.h"

#include <algorithm>
#include <string>
#include <utility>

#include "libconfig/access/Config.h"
#include "libconfig/access/MessageRecords.h"
#include "libconfig/access/TextBudget.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"

namespace qel::config {

namespace {

// What a text is serialized with: class, configuration, parameter, type and the closing zero.
constexpr uint32_t kAroundText = 17;

bool IsCarried(ConfigValue* value, const ParamFraming& framing) {
  return value != nullptr && (!framing.isTextOnly || value->GetClassID() == eClassID_StringValue);
}

void GetStream(Config& store, const ParamFraming& framing, ParamAnswer& answer) {
  auto* const value = dynamic_cast<ConfigValue*>(store.GetSerializable(answer.param));
  if (!IsCarried(value, framing)) {
    answer.error = eMessageError_NoValue;
    return;
  }
  answer.record = EncodeValue(*value, framing.format, framing.header);
  if (answer.record.size() <= framing.longest) return;
  answer.record.clear();
  answer.error = framing.tooLong;
}

bool SetStream(Config& store, const ParamRequest& request, const ParamFraming& framing,
               ParamAnswer& answer) {
  const auto value = DecodeValue(request.stream, request.length, framing.format);
  if (!IsCarried(value.get(), framing)) return false;
  // Where the value alone tells the parameter, as over the network, it is the value's.
  answer.param = value->GetParamID();
  if (framing.isTextOnly && answer.param != request.param) return false;
  const bool isText = value->GetClassID() == eClassID_StringValue;
  const TextBudget::Reservation room(
      store, answer.param, isText ? request.length - std::min(request.length, kAroundText) : 0);
  return room.IsGranted() && SetByClass(store, *value);
}

template <typename Value, typename Content>
bool SetAs(Config& store, ConfigValue& value, const char* kind) {
  auto* const typed = dynamic_cast<Value*>(&value);
  if (typed == nullptr) {
    Report("NetworkConnection::DoSetRequest - type error, configValue is not %s\n", kind);
    return false;
  }
  Content content;
  typed->Get(content);
  return store.Set(value.GetParamID(), std::move(content)) != 0;
}

}  // namespace

ParamAnswer AnswerParamRequest(Config& store, const ParamRequest& request,
                               const ParamFraming& framing) {
  ParamAnswer answer;
  answer.param = request.param;
  bool isDone = true;
  switch (request.type) {
    case XCFG_GET_PARAM_REQUEST:
      if (store.Get(request.param, answer.value) == 0) answer.error = eMessageError_NoValue;
      break;
    case XCFG_GET_STREAM_PARAM_REQUEST:
      GetStream(store, framing, answer);
      break;
    case XCFG_SET_PARAM_REQUEST:
      isDone = store.Set(request.param, request.value) != 0;
      break;
    default:
      isDone = SetStream(store, request, framing, answer);
      break;
  }
  if (!isDone) answer.error = eMessageError_Refused;
  return answer;
}

bool SetByClass(Config& store, ConfigValue& value) {
  switch (value.GetClassID()) {
    case eClassID_IntegerValue:
      return SetAs<IntegerValue, unsigned int>(store, value, "an IntegerValue");
    case eClassID_StringValue:
      return SetAs<StringValue, std::string>(store, value, "a StringValue");
    default:
      Report("NetworkConnection::DoSetRequest - returning error (unsupported classID)\n");
      return false;
  }
}

}  // namespace qel::config
