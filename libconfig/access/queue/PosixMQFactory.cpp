#include "libconfig/access/queue/PosixMQFactory.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/queue/PosixMQState.h"
#include "libconfig/access/queue/QueueIO.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"

using namespace qel::config;

namespace {

constexpr char kAdvice[] =
    "PosixMQFactory::Connect - If you are getting this error:\n"
    "PosixMQFactory::Connect - // You only need to do this once (per boot)\n"
    "PosixMQFactory::Connect - $ mkdir /dev/mqueue\n"
    "PosixMQFactory::Connect - $ mount -t mqueue none /dev/mqueue\n"
    "PosixMQFactory::Connect - // Do this each time you get this error\n"
    "PosixMQFactory::Connect - $ kill <your client pid>\n"
    "PosixMQFactory::Connect - $ kill <corewheel pid>\n"
    "PosixMQFactory::Connect - $ ls -la /dev/mqueue\n"
    "PosixMQFactory::Connect - $ rm /dev/mqueue/*\n"
    "PosixMQFactory::Connect - // This last command deletes the queues and gives you a fresh "
    "start\n"
    "PosixMQFactory::Connect - // To be fixed in a future release...\n"
    "PosixMQFactory::Connect - See mq_overview(7) for more about message queues\n";

void DoubleQueueLimit() {
  rlimit64 limit;
  if (::getrlimit64(RLIMIT_MSGQUEUE, &limit) != 0) return;
  const auto twice = [](rlim64_t value) {
    return value >= RLIM64_INFINITY / 2 ? value : value * 2;
  };
  limit.rlim_cur = twice(limit.rlim_cur);
  limit.rlim_max = twice(limit.rlim_max);
  ::setrlimit64(RLIMIT_MSGQUEUE, &limit);
}

// A queue of that name may have been there before: what is left in it is dropped.
bool Empty(mqd_t queue) {
  const long size = GetQueueMessageSize(queue);
  if (size < 0) return false;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  mq_attr left;
  if (::mq_getattr(queue, &left) != 0) return false;
  while (left.mq_curmsgs-- > 0 &&
         ReceiveFromQueue(queue, buffer.data(), buffer.size(), kNoWait) >= 0) {
  }
  return true;
}

// Empty and locked for as long as it is open: two factories of a process give the same names, and
// so do processes whose numbers agree in 16 bits. -1 as OpenLockedQueue has it, once the limit of
// the user's queues has been doubled where that was the reason.
mqd_t OpenResponseQueue(const std::string& name) {
  mqd_t queue = OpenLockedQueue(name);
  if (queue == -1 && (errno == ENOMEM || errno == EMFILE)) {
    DoubleQueueLimit();
    queue = OpenLockedQueue(name);
  }
  if (queue == -1) return errno == ESTALE ? OpenResponseQueue(name) : -1;
  if (Empty(queue)) return queue;
  const int reason = errno;
  ::mq_close(queue);
  errno = reason;
  return -1;
}

}  // namespace

int GetPriority(std::string uri) { return uri.find("priority=") == std::string::npos ? 0 : 10; }

PosixMQFactory::PosixMQFactory() : PosixMQFactory(kRequestQueue) {}

PosixMQFactory::PosixMQFactory(const std::string& requestQueue)
    : PosixMQFactory(requestQueue, ::mq_open(requestQueue.c_str(), O_RDWR)) {
  if (_requestQueue != -1) return;
  ReportErrno("PosixMQFactory: mq_open failed");
  Report("PosixMQFactory: mq_open on request queue failed for %s\n", requestQueue.c_str());
  Report("PosixMQFactory: Are two copies of the corewheel running?\n");
  std::exit(-1);
}

PosixMQFactory::PosixMQFactory(const std::string& requestQueue, mqd_t descriptor)
    : _requestQueue(descriptor),
      _requestQueueName(requestQueue),
      _patience(limits::kQueueExchangeMs) {}

std::unique_ptr<PosixMQFactory> PosixMQFactory::Open(const std::string& requestQueue) {
  const mqd_t queue = ::mq_open(requestQueue.c_str(), O_RDWR);
  if (queue == -1) return nullptr;
  return std::unique_ptr<PosixMQFactory>(new PosixMQFactory(requestQueue, queue));
}

void PosixMQFactory::SetPatience(std::chrono::milliseconds patience) { _patience = patience; }

PosixMQFactory::~PosixMQFactory() { CloseLeftOpen(); }

void PosixMQFactory::CloseLeftOpen() {
  if (_leftOpen != -1) ::mq_close(_leftOpen);
  _leftOpen = -1;
}

unsigned int PosixMQFactory::NextRequestID() {
  return static_cast<unsigned>(__atomic_fetch_add(&_requestCounter, 1, __ATOMIC_RELAXED));
}

// A daemon that ends in order removes its queue, and the next one makes another. Its descriptor
// takes the place of the old one, so that all clients find it.
void PosixMQFactory::FindNewDaemon() {
  if (!IsQueueGone(_requestQueue)) return;
  const mqd_t queue = ::mq_open(_requestQueueName.c_str(), O_RDWR);
  if (queue == -1) return;
  ::dup3(queue, _requestQueue, O_CLOEXEC);
  ::mq_close(queue);
}

PosixMQClient* PosixMQFactory::Connect(std::string uri) {
  CloseLeftOpen();
  if (_requestQueue == -1) {
    Report("PosixMQFactory::Connect: _request_queue not valid\n");
    return nullptr;
  }
  FindNewDaemon();
  unsigned int connectionID = 0;
  std::string name;
  mqd_t queue = -1;
  errno = EWOULDBLOCK;
  for (int tries = 0; tries <= 0xFFFF && queue == -1 && errno == EWOULDBLOCK; ++tries) {
    connectionID = (static_cast<unsigned int>(::getpid()) << 16) + (_connectionCounter & 0xFFFF);
    ++_connectionCounter;
    name = ConnectionUtilities::GetQueueName(connectionID);
    // Another factory's here is not even opened: closing it again would end its notifications.
    if (PosixMQClients::Instance().HasConnection(connectionID)) continue;
    queue = OpenResponseQueue(name);
  }
  if (queue == -1) {
    ReportErrno("PosixMQFactory::Connect - mq_open failed");
    Report("PosixMQFactory::Connect: mq_open on response queue %s failed\n", name.c_str());
    Report("%s", kAdvice);
    return nullptr;
  }
  const auto priority = static_cast<unsigned int>(GetPriority(uri));
  if (ConfirmConnection(_requestQueue, queue, connectionID, priority) == 0) {
    const int reason = errno;
    Report("PosixMQFactory::Connect - failed to confirm connection %s with server\n", name.c_str());
    ::mq_unlink(name.c_str());
    _leftOpen = queue;
    errno = reason;
    return nullptr;
  }
  auto* const client =
      new PosixMQClient(connectionID, priority, _requestQueue, queue, _connectionSemaphore.Get(),
                        _requestCounter, eConfigID_Default);
  client->_patience = _patience;
  if (const int reason = client->_state->readerError) {
    errno = reason;
    ReportErrno("PosixMQFactory::Connect - eventfd failed");
    Report(
        "PosixMQFactory::Connect - Each connection takes two file descriptors: raise their limit "
        "with ulimit -n, or LimitNOFILE= of a service\n");
    Disconnect(client);
    errno = reason;
    return nullptr;
  }
  return client;
}

int PosixMQFactory::ConfirmConnection(int requestQueue, int responseQueue,
                                      unsigned int connectionID, unsigned int priority) {
  const auto deadline = After(_patience);
  const XCONFIGMGR_CONNECTION_REQUEST_T request = {XCFG_CONNECT_REQUEST, connectionID,
                                                   NextRequestID(), 0, priority};
  if (!SendToQueue(requestQueue, &request, sizeof request, priority, deadline)) {
    ReportErrno("PosixMQFactory::ConfirmConnection");
    Report("PosixMQFactory::ConfirmConnection: mq_send failed\n");
    return 0;
  }
  const long size = GetQueueMessageSize(responseQueue);
  if (size < 0) {
    ReportErrno("PosixMQFactory::ConfirmConnection -  mq_getattr failed, unable to get mq_msgsize");
    Report("PosixMQFactory::ConfirmConnection - mq_getattr failed, unable to get mq_msgsize\n");
    return 0;
  }
  const std::unique_ptr<char[]> buffer(new (std::nothrow) char[static_cast<std::size_t>(size)]);
  if (buffer == nullptr) {
    ReportErrno("PosixMQFactory::ConfirmConnection - new failed\n");
    Report("PosixMQFactory::ConfirmConnection - new of %ld bytes failed\n", size);
    return 0;
  }
  const ssize_t length =
      ReceiveFromQueue(responseQueue, buffer.get(), static_cast<std::size_t>(size), deadline);
  if (length < 0) {
    ReportErrno("PosixMQFactory::ConfirmConnection - mq_receive failed\n");
    Report("PosixMQFactory::ConfirmConnection - mq_receive for connectionID %X failed\n",
           connectionID);
    return 0;
  }
  XCONFIGMGR_RESPONSE_T response = {};
  const bool whole = static_cast<std::size_t>(length) >= sizeof response;
  std::memcpy(&response, buffer.get(), whole ? sizeof response : static_cast<std::size_t>(length));
  errno = EPROTO;
  if (response.msgtype != XCFG_CONNECT_RESPONSE) {
    Report("PosixMQFactory::ConfirmConnection: unexpected msgtype == %d\n",
           static_cast<int>(response.msgtype));
    return 0;
  }
  if (!IsValidResponse(request, response) || !whole) {
    Report("PosixMQFactory::ConfirmConnection: mismatched msgInfo\n");
    return 0;
  }
  if (response.result != 0) {
    Report("PosixMQFactory::ConfirmConnection: server responded with error %d\n",
           static_cast<int>(response.result));
    errno = ECONNREFUSED;
    return 0;
  }
  return 1;
}

// To 1 exactly, whoever holds it, and without losing one who waits for it.
void PosixMQFactory::ResetSemaphore() {
  sem_t* const semaphore = _connectionSemaphore.Get();
  while (::sem_trywait(semaphore) == 0) {
  }
  SemaphoreHelper::Post(semaphore);
}

void PosixMQFactory::Disconnect(PosixMQClient* client) {
  if (!PosixMQClients::Instance().Contains(client)) return;
  ResetSemaphore();
  client->_state->BeginLeaving();
  ConfirmDisconnect(client);
  client->Leave();
  ::mq_close(client->_responseQueue);
  ::mq_unlink(ConnectionUtilities::GetQueueName(client->_connectionID).c_str());
  delete client;
}

int PosixMQFactory::ConfirmDisconnect(PosixMQClient* client) {
  PosixMQClient::Exchange exchange(*client, nullptr, _patience);
  const XCONFIGMGR_CONNECTION_REQUEST_T request = {XCFG_DISCONNECT_REQUEST, client->_connectionID,
                                                   client->NextRequestID(), 0, client->_priority};
  ReceivedRecord answer;
  if (exchange.Ask(&request, sizeof request, answer) != Received::kRecord) return 0;
  const auto response = answer.As<XCONFIGMGR_RESPONSE_T>();
  return response.msgtype == XCFG_DISCONNECT_RESPONSE && exchange.IsAnswered(answer) &&
                 response.result == 0
             ? 1
             : 0;
}
