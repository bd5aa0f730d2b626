// A list of serializable objects, which it owns. Serialized, behind its class header: the number of
// items in a word, then each item with its own class header. One thread at a time.
//
//   Vector vector;
//   vector.Add(IntegerValue::Create(id, eParamType_Enum, 2));  // the vector's from now on
#pragma once

#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Serializable.h"

namespace qel::config::values {

class LIBCONFIG_API Vector : public Serializable {
 public:
  Vector();

  ~Vector() override;
  // The same objects in the same order, not objects that are equal.
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  // Appends what it reads. An item of no known class is left out. Ends when the stream does,
  // whatever number of items it promised.
  void Deserialize(DeSerializer* deserializer) override;

  // Takes ownership; null is left out.
  void Add(Serializable* item);
  // They stay the vector's.
  const std::vector<Serializable*>& GetItems() const { return _items; }

 private:
  std::vector<Serializable*> _items;
};

}  // namespace qel::config::values
