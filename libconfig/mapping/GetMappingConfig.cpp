#include "libconfig/mapping/GetMappingConfig.h"

#include <memory>
#include <new>

#include "libconfig/access/ConfigURI.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/mapping/RecorderParamMapper.h"

using qel::config::Report;
using qel::vorlane::config::access::MappingConfig;
using quarn::mapper::RecorderParamMapper;

namespace {

// A datagram server sends its events to a multicast group, not to its clients.
std::string EventsURIOf(const std::string& uri) {
  if (uri.find("udp:") == std::string::npos) return uri;
  const std::size_t option = uri.find("/configid=");
  if (option == std::string::npos) return GetEventsURI("udp");
  return GetEventsURI("udp") + uri.substr(option, uri.find('/', option + 1) - option);
}

}  // namespace

MappingConfig* GetMappingConfig(const std::string& uri, bool priority, bool caching) {
  std::unique_ptr<RecorderParamMapper> mapper;
  try {
    mapper = std::make_unique<RecorderParamMapper>();
  } catch (const std::bad_alloc&) {
    Report("GetMappingConfig: Failed to create a ParamMapper instance\n");
    return nullptr;
  }
  // What is no keyword is a full URI.
  std::string configURI = GetConfigURI(uri);
  std::string eventsURI = GetEventsURI(uri);
  if (configURI == "INVALID_URI") {
    configURI = uri;
    eventsURI = EventsURIOf(uri);
  }
  MappingConfig* const mapping = MappingConfig::Create(std::move(configURI), std::move(eventsURI),
                                                       mapper.get(), priority, caching);
  if (mapping == nullptr) {
    Report("GetMappingConfig: Failed to create a MappingConfig instance\n");
    return nullptr;
  }
  static_cast<void>(mapper.release());  // the mapping owns it
  return mapping;
}
