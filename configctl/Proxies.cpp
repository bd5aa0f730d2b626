#include "configctl/Proxies.h"

#include "configctl/Connection.h"

namespace configctl {

bool IsProxy(eParam_t id) {
  MappingDescriptors& proxies = *MappingDescriptors::GetInstance();
  proxies.CreateMappingDescriptors();
  return proxies.GetMappingDescriptor(id) != nullptr;
}

Standing FindStanding(const Session& session, eParam_t id) {
  Standing standing;
  if (!IsProxy(id)) return standing;
  standing.choices = CProxyMap::GetInstance()->GetConcreteParams(id);
  try {
    // The rest of the answer does not depend on anybody being there.
    Connection connection(session, Connection::OnTimeout::kLoseConnection);
    standing.now = connection.Resolve(id);
  } catch (const Failure& failure) {
    standing.unknown = failure.what();
  }
  return standing;
}

nlohmann::ordered_json StandingToJson(const Standing& standing) {
  nlohmann::ordered_json object = {{"one_of", nlohmann::ordered_json::array()}};
  for (const eParam_t choice : standing.choices)
    object["one_of"].push_back(programs::ParamName(choice));
  if (standing.unknown.empty()) {
    object["now"] = programs::ParamName(standing.now);
  } else {
    object["now"] = nullptr;
    object["unknown"] = standing.unknown;
  }
  return object;
}

}  // namespace configctl
