#include "configd/QueueService.h"

#include <cerrno>
#include <cstring>

#include "configd/LineWriter.h"

namespace {

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
      return "it belongs to another user: run as that one, or name another with --queue";
    case ENOSYS:
      return "the kernel was built without them";
    default:
      return "fix this";
  }
}

}  // namespace

std::unique_ptr<PosixMQServer> OpenQueue(const std::string& name, bool& isTaken) {
  const auto report = [count = 0UL](const std::string& program, long process,
                                    const std::string& queue) mutable {
    LineWriter::Instance().WriteLimited(
        "configd: " + program + " (" + std::to_string(process) +
        ") does not read its message queue " + queue +
        " and hears only the latest changes when it does; clients so "
        "far: " +
        std::to_string(++count));
  };
  auto server = std::make_unique<PosixMQServer>(name, report);
  const PosixMQServer::Opened opened = server->Open();
  const int error = errno;
  isTaken = opened == PosixMQServer::Opened::kTaken;
  if (opened == PosixMQServer::Opened::kYes) return server;
  if (isTaken) {
    Complain("configd: cannot serve mq:" + name +
             ": another configd serves it; stop that one, or start with --queue NAME for another "
             "queue, or with --no-queue for none");
  } else {
    Complain("configd: not serving mq:" + name + ": " + std::strerror(error) + "; " +
             Advice(error) + ", or start with --no-queue");
  }
  return nullptr;
}
