#include "libconfig/network/NetworkConnection.h"

#include "libconfig/access/Config.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"

namespace qel::vorlane::config::access {

using qel::config::Report;

namespace {

thread_local NetworkConnection* t_current = nullptr;

}  // namespace

NetworkConnection::~NetworkConnection() = default;

bool NetworkConnection::DoSetRequest(Config* config, ConfigValue* value) {
  switch (value->GetClassID()) {
    case eClassID_IntegerValue: {
      auto* const number = dynamic_cast<IntegerValue*>(value);
      if (number == nullptr) {
        Report(
            "NetworkConnection::DoSetRequest - type error, configValue is not an IntegerValue\n");
        return false;
      }
      unsigned int content;
      number->Get(content);
      return config->Set(value->GetParamID(), content) != 0;
    }
    case eClassID_StringValue: {
      auto* const text = dynamic_cast<StringValue*>(value);
      if (text == nullptr) {
        Report("NetworkConnection::DoSetRequest - type error, configValue is not a StringValue\n");
        return false;
      }
      std::string content;
      text->Get(content);
      return config->Set(value->GetParamID(), std::move(content)) != 0;
    }
    default:
      Report("NetworkConnection::DoSetRequest - returning error (unsupported classID)\n");
      return false;
  }
}

std::string NetworkConnection::GetPeerName() { return "a network client"; }

NetworkConnection* NetworkConnection::Current() { return t_current; }

NetworkConnection::Working::Working(NetworkConnection* connection) { t_current = connection; }

NetworkConnection::Working::~Working() { t_current = nullptr; }

}  // namespace qel::vorlane::config::access
