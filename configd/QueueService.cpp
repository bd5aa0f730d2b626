#include "configd/QueueService.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "configd/LineWriter.h"

namespace {

constexpr int kSweepSeconds = 10;
constexpr std::size_t kConfigurations = 64;
constexpr unsigned kWakePriority = 31;
// Somebody removing the queue at the same moment is no reason to give up.
constexpr int kAttempts = 100;

const char* Advice(int error) {
  switch (error) {
    case EINVAL:
      return "set fs.mqueue.msg_max to 128 or more (sysctl -w fs.mqueue.msg_max=128)";
    case EMFILE:
    case ENOMEM:
      return "raise RLIMIT_MSGQUEUE (ulimit -q, or LimitMSGQUEUE= of the service)";
    case ENOSPC:
      return "set fs.mqueue.queues_max higher";
    case EACCES:
      return "it belongs to another user: run as that one, or choose another name with --queue";
    case ENOSYS:
      return "the kernel was built without them";
    default:
      return "see to this";
  }
}

// All of what the user may have is for queues.
void RaiseQueueLimit() {
  rlimit limit;
  if (::getrlimit(RLIMIT_MSGQUEUE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_MSGQUEUE, &limit);
}

// The bytes that a request has at least; 0 for what is none.
std::size_t SizeOf(uint32_t type) {
  switch (type) {
    case XCFG_CONNECT_REQUEST:
    case XCFG_DISCONNECT_REQUEST:
      return sizeof(XCONFIGMGR_CONNECTION_REQUEST_T);
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      return sizeof(XCONFIGMGR_EVENT_HANDLER_REQUEST_T);
    case XCFG_GET_PARAM_REQUEST:
    case XCFG_SET_PARAM_REQUEST:
    case XCFG_GET_STREAM_PARAM_REQUEST:
    case XCFG_SET_STREAM_PARAM_REQUEST:
      return sizeof(XCONFIGMGR_REQUEST_T);
    default:
      return 0;
  }
}

XCONFIGMGR_RESPONSE_T ResponseTo(const XCONFIGMGR_REQUEST_T& request) {
  XCONFIGMGR_RESPONSE_T response = {};
  response.msgtype = request.msgtype + 16;
  response.connectionID = request.connectionID;
  response.requestID = request.requestID;
  response.configID = request.configID;
  response.paramID = request.paramID;
  return response;
}

}  // namespace

QueueService::QueueService(std::string name) : _name(std::move(name)) {}

QueueService::~QueueService() {
  if (_thread.joinable()) {
    _stop = true;
    Wake();
    _thread.join();
  }
  _stores.clear();
  if (_queue == -1) return;
  ::mq_unlink(_name.c_str());
  ::mq_close(_queue);
}

// 0, EBUSY when another daemon has the queue, EAGAIN to try once more, or what is wrong.
int QueueService::OpenOnce() {
  mq_attr attributes = {};
  attributes.mq_maxmsg = PosixMQFactory::kMessages;
  attributes.mq_msgsize = PosixMQFactory::kMessageSize;
  const mqd_t queue =
      ::mq_open(_name.c_str(), O_RDWR | O_CREAT, PosixMQFactory::kMode, &attributes);
  if (queue == -1) return errno;
  const auto give_up = [queue](int error) {
    ::mq_close(queue);
    return error;
  };
  if (::flock(queue, LOCK_EX | LOCK_NB) != 0) {
    return give_up(errno == EWOULDBLOCK ? EBUSY : errno);
  }
  struct stat status;
  mq_attr actual;
  if (::fstat(queue, &status) != 0 || ::mq_getattr(queue, &actual) != 0) return give_up(errno);
  if (status.st_uid != ::geteuid()) return give_up(EACCES);
  // Its daemon ended between the two calls.
  if (status.st_nlink == 0) return give_up(EAGAIN);
  if (actual.mq_maxmsg != attributes.mq_maxmsg || actual.mq_msgsize != attributes.mq_msgsize) {
    ::mq_unlink(_name.c_str());
    return give_up(EAGAIN);
  }
  ::fchmod(queue, PosixMQFactory::kMode);
  _queue = queue;
  return 0;
}

QueueService::Opened QueueService::Open() {
  RaiseQueueLimit();
  int error = EAGAIN;
  for (int i = 0; i < kAttempts && error == EAGAIN; ++i) error = OpenOnce();
  if (error == 0) return Opened::kYes;
  if (error == EBUSY) {
    std::fprintf(stderr,
                 "configd: cannot serve mq:%s: another configd serves it; stop that one, choose "
                 "another queue with --queue, or start without --queue\n",
                 _name.c_str());
    return Opened::kTaken;
  }
  std::fprintf(stderr, "configd: not serving mq:%s: %s; %s, or start without --queue\n",
               _name.c_str(), std::strerror(error), Advice(error));
  return Opened::kUnavailable;
}

void QueueService::Start() {
  FindStore(0);
  _thread = std::thread([this] { Run(); });
}

// An empty message is no request. Where none fits in the thread is awake.
void QueueService::Wake() {
  constexpr timespec kNoTime = {};
  ::mq_timedsend(_queue, "", 0, kWakePriority, &kNoTime);
}

void QueueService::Run() {
  std::string buffer(PosixMQFactory::kMessageSize, '\0');
  while (!_stop) {
    timespec end;
    ::clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += kSweepSeconds;
    const ssize_t length = ::mq_timedreceive(_queue, buffer.data(), buffer.size(), nullptr, &end);
    if (length > 0) Handle(buffer.substr(0, static_cast<std::size_t>(length)));
    if (_sweep.exchange(false) || (length < 0 && errno == ETIMEDOUT)) Sweep();
  }
}

void QueueService::Sweep() {
  for (std::string& line : _connections.Sweep()) LineWriter::Instance().Write(std::move(line));
}

void QueueService::Handle(const std::string& message) {
  XCONFIGMGR_REQUEST_T request = {};
  std::memcpy(&request, message.data(), std::min(message.size(), sizeof request));
  const std::size_t size = SizeOf(request.msgtype);
  if (size == 0 || message.size() < size) return;
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  response.paramID = 0;
  bool known = true;
  switch (request.msgtype) {
    case XCFG_CONNECT_REQUEST:
      // Whoever died meanwhile makes room.
      Sweep();
      response.result = _connections.Open(request.connectionID, request.priority);
      break;
    case XCFG_DISCONNECT_REQUEST:
      _connections.Answer(response);
      _connections.Close(request.connectionID);
      return;
    case XCFG_ADD_CONFIG_EVENT_LISTENER_REQUEST:
      known = _connections.SetListening(request.connectionID, true);
      break;
    case XCFG_REMOVE_CONFIG_EVENT_LISTENER_REQUEST:
      known = _connections.SetListening(request.connectionID, false);
      break;
    default: {
      std::string stream = message.substr(sizeof request);
      const bool cut = request.streamLength > stream.size();
      if (!cut) stream.resize(request.streamLength);
      HandleParam(request, stream, cut);
      return;
    }
  }
  if (!known) response.result = eQueueError_NotConnected;
  _connections.Answer(response);
}

void QueueService::HandleParam(const XCONFIGMGR_REQUEST_T& request, const std::string& stream,
                               bool cut) {
  XCONFIGMGR_RESPONSE_T response = ResponseTo(request);
  if (!_connections.Contains(request.connectionID)) {
    response.error = eQueueError_NotConnected;
    _connections.Answer(response);
    return;
  }
  QueueStore* const store = FindStore(request.configID);
  std::string answer;
  if (store == nullptr) {
    response.error = eQueueError_TooMany;
  } else if (cut) {
    response.error = eQueueError_Refused;
  } else {
    switch (request.msgtype) {
      case XCFG_GET_PARAM_REQUEST:
        store->Get(response);
        break;
      case XCFG_SET_PARAM_REQUEST:
        store->Set(request.value, response);
        break;
      case XCFG_GET_STREAM_PARAM_REQUEST:
        store->GetText(response, answer);
        break;
      default:
        store->SetText(stream, response);
        break;
    }
  }
  _connections.Answer(response, answer);
}

// Null when there are too many. Only the device's own configuration is announced: that is what
// clients ask for when they listen.
QueueStore* QueueService::FindStore(uint32_t configID) {
  const auto found = _stores.find(configID);
  if (found != _stores.end()) return found->second.get();
  if (_stores.size() >= kConfigurations) return nullptr;
  QueueStore::Announce announce;
  if (configID == 0) {
    announce = [this](const XCONFIGMGR_RESPONSE_T& event, const std::string& stream) {
      if (!_connections.Announce(event, stream)) return;
      _sweep = true;
      Wake();
    };
  }
  Config* const config = ConfigFactoryImpl::GetInstance()->Connect(
      "local:configid=" + std::to_string(static_cast<int32_t>(configID)));
  auto& store = _stores[configID];
  store = std::make_unique<QueueStore>(config, std::move(announce));
  return store.get();
}
