// Parameter values as the bytes that follow a stream record. Internal.
#pragma once

#include <memory>
#include <vector>

#include "libconfig/serialization/Identifiers.h"
#include "libconfig/values/ConfigValue.h"

class DeSerializer;

namespace qel::config {

// The value that `length` bytes describe, as an object of the caller's own; null when they describe
// none. Any thread.
std::unique_ptr<ConfigValue> DecodeValue(char* data, unsigned int length,
                                         eSerializationFormat format);

// The same for any object.
std::unique_ptr<Serializable> DecodeObject(char* data, unsigned int length,
                                           eSerializationFormat format);

// The object that `deserializer` holds next, as one of the caller's own.
std::unique_ptr<Serializable> ReadObject(DeSerializer& deserializer, const char* key);

// The bytes of `value` as it stands at the time of the call, behind `room` bytes left for a record.
// A change made meanwhile by another thread is either in them whole or not at all.
std::vector<char> EncodeValue(ConfigValue& value, eSerializationFormat format, std::size_t room);

}  // namespace qel::config
