// Parameters and their values as people read them. Names and labels are those of this process's
// catalogue, which has to exist; an identifier that is not in it shows as a number. Any thread may
// call.
#pragma once

#include <string>
#include <variant>

#include "libconfig/libconfig.h"

namespace programs {

using Value = std::variant<unsigned int, std::string>;

// "IPConfig"; "0x32010000" for an identifier that is not in the catalogue.
std::string ParamName(const ParamDescriptor& param);
std::string ParamName(eParam_t id);
std::string ParamNumber(eParam_t id);

// Whether the parameter's values are secrets, such as passwords.
bool IsSecret(const ParamDescriptor& param);
// Whether its numbers are IPv4 addresses.
bool IsAddress(const ParamDescriptor& param);
// Whether it is an enumeration whose choices are bits, of which several may be set.
bool IsBitMask(const ParamDescriptor& param);

// 0xC0A80002 is "192.168.0.2".
std::string AddressText(unsigned int address);

// As much of a value as a line among others shows: of a long text the beginning.
struct Excerpt {
  explicit Excerpt(const Value& whole);

  Value value;
  std::size_t size = 0;  // of the whole text
};

class ValueText {
 public:
  enum class Secrets { kMask, kShow };

  explicit ValueText(Secrets secrets = Secrets::kMask) : _secrets(secrets) {}

  bool Hides(eParam_t id) const;

  // The value alone, as a script wants it: DHCP, 192.168.0.2, 250, or the text without quotes.
  std::string Plain(eParam_t id, const Value& value) const;
  // For a line that people read among others: DHCP (1), 250 frames, or the text in quotes, cut when
  // it is long.
  std::string Line(eParam_t id, const Excerpt& excerpt) const;
  std::string Line(eParam_t id, const Value& value) const { return Line(id, Excerpt(value)); }

 private:
  Secrets _secrets;
};

}  // namespace programs
