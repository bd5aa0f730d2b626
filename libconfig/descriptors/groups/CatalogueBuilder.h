// Turns rows into descriptors. One builder serves one creation of a catalogue. Internal.
#pragma once

#include <string>

#include "libconfig/descriptors/DescriptorRegistry.h"
#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {

class CatalogueBuilder {
 public:
  CatalogueBuilder(DescriptorMap& map, bool encodeDescriptors)
      : _map(map), _encodeDescriptors(encodeDescriptors) {}

  // A row whose identifier is there already replaces the earlier descriptor.
  void Add(const ParamRow& row);
  template <std::size_t N>
  void Add(const ParamRow (&rows)[N]) {
    for (const ParamRow& row : rows) Add(row);
  }
  // A text row whose factory default is known only on the device.
  void Add(const ParamRow& row, const std::string& factoryDefault);
  // The same for a number.
  void Add(const ParamRow& row, unsigned factoryDefault);

  // Whether the encoder's own variants were asked for.
  bool WantsEncodeDescriptors() const { return _encodeDescriptors; }

 private:
  DescriptorMap& _map;
  const bool _encodeDescriptors;
};

}  // namespace qel::config
