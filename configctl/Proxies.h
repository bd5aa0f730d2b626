// Parameters that stand for others, one at a time.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "configctl/Session.h"

namespace configctl {

bool IsProxy(eParam_t id);

// Of a proxy: all that it can stand for, and what it is now.
struct Standing {
  std::vector<eParam_t> choices;
  eParam_t now = eParamID_None;
  std::string unknown;  // why it cannot be told
};

// Asks the configuration; what a proxy could be is known without it. No choices for what is no
// proxy, and then nobody is asked.
Standing FindStanding(const Session& session, eParam_t id);

//   {"one_of": ["IPAddress_1", ...], "now": "IPAddress_1"}
// Where it cannot be told, "now" is null and "unknown" tells why.
nlohmann::ordered_json StandingToJson(const Standing& standing);

}  // namespace configctl
