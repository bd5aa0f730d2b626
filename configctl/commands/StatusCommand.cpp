#include <algorithm>
#include <cstdio>

#include "configctl/Command.h"
#include "configctl/Connection.h"

namespace configctl {
namespace {

constexpr std::size_t kRoundTrips = 21;

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// With as many digits as matter.
std::string Shown(double milliseconds) {
  char text[32];
  std::snprintf(text, sizeof text, milliseconds < 1 ? "%.3f ms" : "%.1f ms", milliseconds);
  return text;
}

class StatusCommand : public Command {
 public:
  void Declare(CLI::App&) override {}

  void Run(Session& session) override {
    const auto start = Clock::now();
    Connection connection(session, Connection::OnTimeout::kEndProgram);
    const double connected = MillisecondsSince(start);
    std::vector<double> times;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < kRoundTrips; ++i) times.push_back(AskOnce(connection, refused));
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];

    const bool overQueues = connection.IsOverQueues();
    const QueueLimits limits = QueueLimits::Read();
    nlohmann::ordered_json result = {{"uri", connection.GetURI()},  {"connect_ms", connected},
                                     {"round_trips", times.size()}, {"min_ms", times.front()},
                                     {"median_ms", median},         {"max_ms", times.back()}};
    if (overQueues) result["queue_limits"] = ToJson(limits);
    if (!session.WantsJson()) {
      session.Print(connection.GetURI() + " is there: connected in " + Shown(connected) + "\n" +
                    std::to_string(times.size()) + " round trips: fastest " + Shown(times.front()) +
                    ", median " + Shown(median) + ", slowest " + Shown(times.back()) +
                    (overQueues ? "\nlimits here: " + limits.ToText() : ""));
    }
    if (refused == kRoundTrips) {
      throw Verdict(Status::kRefused,
                    connection.GetURI() +
                        " is there and refuses to be read; see whether configd is well there, or "
                        "name another place with --uri or --config",
                    result);
    }
    if (session.WantsJson()) session.PrintResult(result);
  }

 private:
  static nlohmann::ordered_json ToJson(const QueueLimits& limits) {
    nlohmann::ordered_json json = {{"bytes", nullptr},
                                   {"connection_bytes", QueueLimits::kConnectionBytes},
                                   {"msg_max", limits.messages}};
    if (!limits.IsUnlimited()) json["bytes"] = limits.bytes;
    return json;
  }

  // A refusal is an answer too, and counted.
  static double AskOnce(Connection& connection, std::size_t& refused) {
    const auto start = Clock::now();
    try {
      connection.Get(eParamID_IPConfig);
    } catch (const Failure& failure) {
      if (failure.GetStatus() != Status::kRefused) throw;
      ++refused;
    }
    return MillisecondsSince(start);
  }
};

}  // namespace

std::unique_ptr<Command> MakeStatusCommand() { return std::make_unique<StatusCommand>(); }

}  // namespace configctl
