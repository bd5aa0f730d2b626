#include "configd/state/SettingValue.h"

namespace {

template <typename Payload>
bool Has(Config& store, eParam_t id, const Payload& wanted) {
  Payload current{};
  return store.Get(id, current) != 0 && current == wanted;
}

template <typename Payload>
bool Give(Config& store, eParam_t id, const Payload& wanted) {
  Payload current{};
  // Asked first, as a store announces a set of the other kind although it does not take it.
  return store.Get(id, current) != 0 && store.Set(id, wanted) != 0 && Has(store, id, wanted);
}

// What `use` makes of the number or the text that the value holds.
template <typename Use>
bool WithPayload(ConfigValue& value, Use use) {
  if (auto* const number = dynamic_cast<IntegerValue*>(&value)) {
    unsigned int payload = 0;
    number->Get(payload);
    return use(payload);
  }
  if (auto* const text = dynamic_cast<StringValue*>(&value)) {
    std::string payload;
    text->Get(payload);
    return use(payload);
  }
  return false;
}

}  // namespace

bool GiveValue(Config& store, ConfigValue& value) {
  return WithPayload(value,
                     [&](const auto& payload) { return Give(store, value.GetParamID(), payload); });
}

bool HasValue(Config& store, ConfigValue& value) {
  return WithPayload(value,
                     [&](const auto& payload) { return Has(store, value.GetParamID(), payload); });
}
