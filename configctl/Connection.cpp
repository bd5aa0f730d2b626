#include "configctl/Connection.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

using qel::config::LastOutcome;
using qel::config::Outcome;
using qel::vorlane::config::access::MappingConfig;
using qel::vorlane::config::access::NetworkClient;
using qel::vorlane::config::access::NetworkUDPClient;

namespace configctl {
namespace {

constexpr std::chrono::milliseconds kProbe{1000};

std::string InSeconds(Watchdog::Clock::duration duration) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", std::chrono::duration<double>(duration).count());
  return std::string(text) + (std::strcmp(text, "1") == 0 ? " second" : " seconds");
}

// In whole seconds where it took that long.
Watchdog::Clock::duration Since(Watchdog::Clock::time_point start) {
  const auto took = Watchdog::Clock::now() - start;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(took);
  if (seconds.count() > 0) return seconds;
  return std::chrono::floor<std::chrono::milliseconds>(took);
}

Failure TimedOut(const Place& place, const char* doing, Watchdog::Clock::duration limit,
                 const std::string& advice = "") {
  return {Status::kTimeout, place.GetURI() + " gave no answer within " + InSeconds(limit) +
                                " while " + doing +
                                "; see whether configd is well there, or wait longer with "
                                "--timeout" +
                                advice};
}

// Why the library came back without a connection.
Failure NotConnected(const Place& place) {
  const std::string uri = place.GetURI();
  const int error = place.Probe(kProbe);
  switch (error) {
    case 0:
      return {Status::kNoConnection,
              "what listens at " + uri +
                  " does not answer like configd, or has as many clients as it takes; check the "
                  "address and the port, end another client, or look closer with --verbose"};
    case ECONNREFUSED:
      return {Status::kNoConnection, "nobody answers at " + uri +
                                         "; start configd there, or name another place with "
                                         "--uri"};
    default:
      return {Status::kNoConnection, uri + " cannot be reached (" + std::strerror(error) +
                                         "); check the network, or name another place with "
                                         "--uri"};
  }
}

bool IsText(eParam_t id) {
  const ParamDescriptor* const param = FindDescriptor(id);
  return param != nullptr && param->GetParamType() == eParamType_String;
}

}  // namespace

Connection::Connection(const Session& session, OnTimeout onTimeout)
    : _session(session),
      _onTimeout(onTimeout),
      _place(session.GetOptions().uri, session.GetOptions().config),
      _watchdog(std::chrono::duration_cast<Watchdog::Clock::duration>(
          std::chrono::duration<double>(session.GetOptions().timeout))) {
  std::optional<Watchdog::Guard> guard;
  if (_onTimeout == OnTimeout::kEndProgram) guard.emplace(_watchdog, EndProgram("connecting"));
  _place.Resolve();
  // The system may try for minutes to reach a machine that is gone.
  if (_onTimeout == OnTimeout::kLoseConnection && _place.HasConnections() &&
      _place.Probe(kProbe) != 0) {
    throw NotConnected(_place);
  }
  const auto start = Watchdog::Clock::now();
  Connect();
  if (_config != nullptr) return;
  if (LastOutcome() == Outcome::kNoAnswer) throw TimedOut(_place, "connecting", Since(start));
  throw NotConnected(_place);
}

Connection::~Connection() {
  if (_queue != nullptr) return;
  if (_session.GetOptions().mapped) {
    delete _config;
    return;
  }
  ConfigFactoryImpl::GetInstance()->Disconnect(_announcements);
  ConfigFactoryImpl::GetInstance()->Disconnect(_config);
}

void Connection::Connect() {
  if (!_place.GetQueue().empty()) {
    ConnectQueue();
    return;
  }
  const std::string uri = _place.GetLibraryURI();
  if (_session.GetOptions().mapped) {
    ConnectMapped(uri, _place.GetListeningURI());
    return;
  }
  _config = ConfigFactoryImpl::GetInstance()->Connect(uri);
  if (auto* const client = dynamic_cast<NetworkClient*>(_config)) _clients.push_back(client);
}

void Connection::ConnectQueue() {
  if (_session.GetOptions().mapped) {
    throw Failure(Status::kUsage,
                  "proxies cannot be followed over message queues; leave out --mapped, or name the "
                  "daemon's tcp:// URI");
  }
  // Where the watchdog ends the program, it is to be the first.
  auto patience = std::chrono::ceil<std::chrono::milliseconds>(_watchdog.GetLimit());
  if (_onTimeout == OnTimeout::kEndProgram) patience += std::chrono::seconds(1);
  _queue = QueueLink::Connect(_place.GetQueue(), patience);
  _config = &_queue->GetClient();
}

void Connection::ConnectMapped(const std::string& uri, const std::string& listeningURI) {
  MappingConfig* mapping;
  if (listeningURI.empty()) {
    mapping = GetMappingConfig(uri, false, false);
  } else {
    auto mapper = std::make_unique<quarn::mapper::RecorderParamMapper>();
    mapping = MappingConfig::Create(uri, listeningURI, mapper.get());
    if (mapping != nullptr) static_cast<void>(mapper.release());  // the mapping owns it
  }
  if (mapping == nullptr) return;
  _config = mapping;
  _announcements = dynamic_cast<NetworkUDPClient*>(&mapping->GetEventsConfig());
  for (Config* const part : {&mapping->GetAccessConfig(), &mapping->GetEventsConfig()}) {
    if (auto* const client = dynamic_cast<NetworkClient*>(part)) _clients.push_back(client);
  }
}

// An exchange cannot be called back, and it may hold whatever an orderly end would wait for.
Watchdog::Action Connection::EndProgram(const char* doing) {
  return [this, doing] {
    QueueLink::LeaveInPassing();
    ::_exit(_session.Fail(TimedOut(_place, doing, _watchdog.GetLimit(), _advice)));
  };
}

Watchdog::Guard Connection::Watch(const char* doing) {
  if (_onTimeout == OnTimeout::kEndProgram) return Watchdog::Guard(_watchdog, EndProgram(doing));
  return Watchdog::Guard(_watchdog, [this] {
    _hasGivenUp = true;
    for (NetworkClient* const client : _clients) client->StopEventsThread();
  });
}

bool Connection::IsAlive() const {
  if (_queue != nullptr) return !_isLost && _queue->IsServed();
  return std::all_of(_clients.begin(), _clients.end(),
                     [](NetworkClient* client) { return client->IsConnected(); });
}

void Connection::ThrowLost(const char* doing) const {
  if (_hasGivenUp) throw TimedOut(_place, doing, _watchdog.GetLimit(), _advice);
  throw Failure(Status::kNoConnection,
                "the connection to " + GetURI() +
                    " was lost; see whether configd is still running there, and try again" +
                    _advice);
}

programs::Value Connection::Get(eParam_t id) {
  const auto guard = Watch("reading");
  const auto start = Watchdog::Clock::now();
  if (IsText(id)) {
    std::string text;
    if (_config->Get(id, text) != 0) return text;
  } else {
    unsigned int number = 0;
    if (qel::config::TryGet(*_config, id, number)) return number;
  }
  ThrowUnread(id, start);
}

eParam_t Connection::Resolve(eParam_t id) {
  const auto guard = Watch("reading");
  const auto start = Watchdog::Clock::now();
  const eParam_t concrete = CParamMapper(_config).MapParamID(id);
  if (LastOutcome() != Outcome::kDone) ThrowUnread(id, start);
  return concrete;
}

// After an exchange that failed.
void Connection::NoteOutcome() {
  const Outcome outcome = LastOutcome();
  if (outcome == Outcome::kNoConnection || outcome == Outcome::kNoAnswer) _isLost = true;
}

void Connection::ThrowUnread(eParam_t id, Watchdog::Clock::time_point start) {
  const bool inTime = LastOutcome() != Outcome::kNoAnswer;
  NoteOutcome();
  if (!inTime && !_hasGivenUp) throw TimedOut(_place, "reading", Since(start), _advice);
  if (!IsAlive()) ThrowLost("reading");
  const bool isText = _queue != nullptr && IsText(id);
  throw Failure(Status::kRefused,
                GetURI() + " has no value for " + programs::ParamName(id) +
                    (isText ? "; it may have more than " + std::to_string(_queue->kLongestText) +
                                  " bytes, which the daemon's tcp:// URI tells"
                            : "; it may be another model of the recorder") +
                    _advice);
}

void Connection::Set(eParam_t id, const programs::Value& value) {
  const auto guard = Watch("setting");
  const auto* const text = std::get_if<std::string>(&value);
  if (_queue != nullptr && text != nullptr && text->size() > _queue->kLongestText) {
    throw Failure(Status::kRefused, "the value for " + programs::ParamName(id) +
                                        " does not fit into a message; texts may have up to " +
                                        std::to_string(_queue->kLongestText) +
                                        " bytes there, and more over the daemon's tcp:// URI");
  }
  const auto set = [&](const auto& content) { return _config->Set(id, content); };
  if (std::visit(set, value) != 0) return;
  const bool tooLong = LastOutcome() == Outcome::kTooLong;
  NoteOutcome();
  if (!IsAlive()) ThrowLost("setting");
  // A refusal is found out by reading it back, as not every transport tells.
  if (!tooLong) return;
  throw Failure(Status::kRefused, "the value for " + programs::ParamName(id) +
                                      " cannot be sent; texts may have up to 8000 bytes");
}

bool Connection::IsOfThisModel() {
  const auto& product = dynamic_cast<IntegerDescriptor&>(*FindDescriptor(eParamID_ProductID));
  try {
    return Get(eParamID_ProductID) == programs::Value(product.GetFactoryDefault());
  } catch (const Failure& failure) {
    if (failure.GetStatus() != Status::kRefused) throw;
    return false;
  }
}

void Connection::Listen(ConfigEventListener& listener) {
  if (!_place.CanListen()) {
    throw Failure(Status::kUsage, "changes cannot be watched at " + GetURI() +
                                      "; use its tcp:// URI instead, or a multicast:// URI");
  }
  const auto guard = Watch("registering");
  const std::string uri = _place.GetListeningURI();
  if (!uri.empty() && !_session.GetOptions().mapped) {
    _announcements =
        dynamic_cast<NetworkUDPClient*>(ConfigFactoryImpl::GetInstance()->Connect(uri));
    if (_announcements == nullptr || _announcements->AddConfigEventListener(&listener) == 0) {
      throw Failure(Status::kNoConnection, "changes cannot be heard at " + GetURI() +
                                               "; see that the loopback interface is up");
    }
  } else if (_config->AddConfigEventListener(&listener) == 0) {
    ThrowLost("registering");
  }
}

bool Connection::ListenAgain(ConfigEventListener& listener) {
  if (_queue == nullptr) return false;
  const auto guard = Watch("registering");
  if (_config->RemoveConfigEventListener(&listener) == 0 ||
      _config->AddConfigEventListener(&listener) == 0) {
    ThrowLost("registering");
  }
  return true;
}

unsigned int Connection::TakeMissed() {
  if (_announcements == nullptr) return 0;
  const unsigned int missed = _announcements->GetMissedEvents();
  return missed - std::exchange(_missed, missed);
}

}  // namespace configctl
