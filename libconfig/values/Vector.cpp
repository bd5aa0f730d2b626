#include "libconfig/values/Vector.h"

#include <memory>

#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/Serializer.h"
#include "libconfig/values/ValueStream.h"

namespace qel::config::values {
namespace {

// The assumed number of items when it cannot be read.
constexpr unsigned int kUnknownSize = 65535;

constexpr int kClassHeader = 4;

// Whether the stream is known to hold no further item.
bool IsAtEnd(DeSerializer& deserializer) {
  auto* const memory = dynamic_cast<MemoryDeSerializer*>(&deserializer);
  return memory != nullptr && memory->GetSectorEnd() != nullptr &&
         memory->Available() < kClassHeader;
}

}  // namespace

Vector::Vector() : Serializable(eClassID_Vector) {}

Vector::~Vector() {
  for (Serializable* const item : _items) delete item;
}

bool Vector::IsEqual(Serializable* other) {
  const auto* const vector = dynamic_cast<Vector*>(other);
  return vector != nullptr && vector->_items == _items;
}

void Vector::Serialize(Serializer* serializer) {
  serializer->Write("Size", static_cast<unsigned int>(_items.size()));
  for (Serializable* const item : _items) serializer->Write("Serializable", item);
}

void Vector::Deserialize(DeSerializer* deserializer) {
  unsigned int size = kUnknownSize;
  deserializer->Read("Size", size);
  for (unsigned int i = 0; i < size && !IsAtEnd(*deserializer); ++i) {
    std::unique_ptr<Serializable> item = ReadObject(*deserializer, "Vector");
    if (item != nullptr) Add(item.release());
  }
}

void Vector::Add(Serializable* item) {
  if (item == nullptr) return;
  std::unique_ptr<Serializable> owned(item);
  _items.push_back(item);
  static_cast<void>(owned.release());
}

}  // namespace qel::config::values
