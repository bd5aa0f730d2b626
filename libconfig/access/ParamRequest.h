// What a peer's request for a parameter does to a store, and what the answer to it says. The TCP
// and UDP connections and the server of the message queues read requests, and frame and send what
// this makes of them. Internal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/serialization/Identifiers.h"

class Config;
class ConfigValue;

namespace qel::config {

struct ParamRequest {
  uint32_t type;  // of a Get, Set, Get String or Set String
  eParam_t param;
  uint32_t value;   // of a Set
  char* stream;     // of a Set String: the serialized value
  uint32_t length;  // of it
};

// How a transport carries values.
struct ParamFraming {
  eSerializationFormat format;
  bool isTextOnly;      // numbers are not sent as values
  std::size_t header;   // bytes ahead of the value
  std::size_t longest;  // record, header and all
  uint32_t tooLong;     // the error of a value that makes it longer
};

struct ParamAnswer {
  uint32_t error = 0;        // an eMessageError
  uint32_t value = 0;        // of a Get
  eParam_t param;            // that was asked for; of a Set String, the value's own
  std::vector<char> record;  // of a Get String: room for the header, and the value; else empty
};

ParamAnswer AnswerParamRequest(Config& store, const ParamRequest& request,
                               const ParamFraming& framing);

// Sets the value's parameter by the value's class. False when the store refuses, or with a message
// when there is no way to set such a value.
bool SetByClass(Config& store, ConfigValue& value);

}  // namespace qel::config
