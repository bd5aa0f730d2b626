// The rule that every store has: an enumerated parameter takes only its listed values, any other
// number is moved into its range. Texts pass as they are. Stateless; any thread.
#pragma once

#include "libconfig/manager/UpdatePrecondition.h"

class EnumDescriptor;
class IntegerDescriptor;

namespace qel::config {

class LIBCONFIG_API UpdatePreconditionValues : public UpdatePrecondition {
 public:
  bool IsUpdateValid(Config* config, eParam_t param, unsigned int& value) override;
  bool IsUpdateValid(Config* config, eParam_t param, std::string& value) override;
  bool IsUpdateValid(Config* config, eParam_t param, Serializable& value) override;
  virtual bool IsValidEnum(EnumDescriptor* descriptor, unsigned int& value);
  virtual bool IsValidRange(IntegerDescriptor* descriptor, unsigned int& value);
  // Moves `value` to the nearer bound; the lower one is looked at first.
  virtual void ForceValidRange(IntegerDescriptor* descriptor, unsigned int& value);
};

}  // namespace qel::config
