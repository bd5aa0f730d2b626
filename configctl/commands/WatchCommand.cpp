#include <signal.h>
#include <unistd.h>

#include <map>
#include <set>
#include <thread>

#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/EventQueue.h"
#include "configctl/Params.h"
#include "configctl/Proxies.h"
#include "programs/Text.h"

using programs::Value;

namespace configctl {
namespace {

// How often it looks whether daemon and reader are still there.
constexpr std::chrono::milliseconds kTick{250};
// How long nothing may come before the daemon is asked whether it is well.
constexpr std::chrono::seconds kSilence{5};
constexpr std::chrono::milliseconds kRetry{250};
// Of one value that keeps changing while it is read.
constexpr int kMostReadings = 100;

void EndQuietly(int) {
  QueueLink::LeaveInPassing();
  ::_exit(static_cast<int>(Status::kDone));
}

// Knows the value of every watched parameter, and tells how it differs from what comes.
class Watcher {
 public:
  struct Options {
    bool initial = false;
    bool allEvents = false;
    unsigned long count = 0;  // 0 is without end
  };

  Watcher(Session& session, const std::set<eParam_t>& only, const Options& options)
      : _session(session), _only(only), _options(options) {}

  // Returns when the wanted number of changes has been printed, or the reader has left.
  void Run() {
    auto connection = std::make_unique<Connection>(_session, Connection::OnTimeout::kEndProgram);
    if (_session.GetConsole().IsTerminal()) {
      _session.GetConsole().Say("watching " + connection->GetURI() + "; press Ctrl-C to end");
    }
    connection->Listen(_queue);
    Compare(*connection);
    connection->SetOnTimeout(Connection::OnTimeout::kLoseConnection);
    while (!IsDone()) {
      try {
        Follow(*connection);
        continue;
      } catch (const Failure&) {
        // Lost, whatever the reason.
      }
      const std::string uri = connection->GetURI();
      connection.reset();
      for (Event event; !IsDone() && _queue.Take({}, event);) Note(event, nullptr);
      if (IsDone()) return;
      Tell("lost", uri + " has gone away; waiting for it to come back");
      if ((connection = Reconnect()) == nullptr) return;
      Tell("back", uri + " is back");
    }
  }

 private:
  bool IsDone() const { return _done || _session.GetConsole().ReaderIsGone(); }

  // Throws Failure when the connection is lost.
  void Follow(Connection& connection) {
    if (!_compared) Compare(connection);
    auto heard = Watchdog::Clock::now();
    while (!IsDone()) {
      Event event;
      const bool came = _queue.Take(kTick, event);
      if (came) Note(event, &connection);
      if (_queue.TakeOverflow()) {
        _session.GetConsole().Say(
            "changes came faster than they could be printed; those of values that changed back "
            "meanwhile are missing");
        Compare(connection);
      }
      if (const unsigned int missed = connection.TakeMissed(); missed > 0) {
        Tell("missed", std::to_string(missed) + (missed == 1 ? " change was" : " changes were") +
                           " missed, perhaps of other configurations; reading all values again");
        Compare(connection);
      }
      if (came) {
        heard = Watchdog::Clock::now();
      } else if (!connection.IsAlive()) {
        throw Failure(Status::kNoConnection, "lost");
      } else if (Watchdog::Clock::now() - heard >= kSilence) {
        Ask(connection);
        if (connection.ListenAgain(_queue)) Compare(connection);
        heard = Watchdog::Clock::now();
      }
    }
  }

  static void Ask(Connection& connection) {
    try {
      connection.Get(eParamID_IPConfig);
    } catch (const Failure& failure) {
      if (failure.GetStatus() != Status::kRefused) throw;
    }
  }

  // Null when there is nobody left to tell.
  std::unique_ptr<Connection> Reconnect() {
    _compared = false;
    while (!_session.GetConsole().ReaderIsGone()) {
      try {
        auto connection =
            std::make_unique<Connection>(_session, Connection::OnTimeout::kLoseConnection);
        connection->Listen(_queue);
        return connection;
      } catch (const Failure&) {
        std::this_thread::sleep_for(kRetry);
      }
    }
    return nullptr;
  }

  // Reads every watched value: prints those that are new to it, if they are wanted, and those that
  // have changed.
  void Compare(Connection& connection) {
    _queue.TakeOverflow();
    for (const eParam_t id : GetParamIDs()) {
      if (!IsWatched(id) || IsDone()) continue;
      Value value;
      try {
        value = Read(connection, id);
      } catch (const Failure& failure) {
        if (failure.GetStatus() != Status::kRefused) throw;
        NoteUnreadable(id, failure);
        continue;
      }
      const auto known = _known.find(id);
      if (known == _known.end()) {
        _known[id] = value;
        if (_options.initial || !_only.empty()) {
          Print("initial", id, nullptr, value, programs::Now());
        }
      } else if (known->second != value) {
        Change({id, value, programs::Now()});
      }
    }
    _compared = true;
  }

  // Another model lacks some, which matters where they were named. Each of those is told once;
  // throws Failure when nothing is left to watch.
  void NoteUnreadable(eParam_t id, const Failure& failure) {
    if (_only.empty() || !_unreadable.insert(id).second) return;
    if (_unreadable.size() == _only.size() && _known.empty()) throw Failure(failure);
    _session.GetConsole().Say(failure.what());
  }

  // The value, such that the events that wait are those since.
  Value Read(Connection& connection, eParam_t id) {
    for (int attempt = 1;; ++attempt) {
      const uint64_t mark = _queue.GetMark();
      Value value = connection.Get(id);
      if (_queue.Reconcile(id, value, mark) || attempt == kMostReadings) return value;
    }
  }

  bool IsWatched(eParam_t id) const { return _only.empty() || _only.count(id) != 0; }

  void Note(Event event, Connection* connection) {
    if (!IsWatched(event.id)) return;
    // A store announces proxies too, with values of their own and not those in force.
    if (_session.GetOptions().mapped && IsProxy(event.id)) {
      if (connection == nullptr) return;  // the next comparison finds out
      event.value = connection->Get(event.id);
    }
    const auto known = _known.find(event.id);
    if (!_options.allEvents && known != _known.end() && known->second == event.value) return;
    Change(event);
  }

  void Change(const Event& event) {
    if (_done) return;
    const auto known = _known.find(event.id);
    Print("change", event.id, known == _known.end() ? nullptr : &known->second, event.value,
          event.when);
    _known[event.id] = event.value;
    _done = _options.count != 0 && ++_printed >= _options.count;
  }

  void Print(const char* kind, eParam_t id, const Value* before, const Value& now,
             timeval when) const {
    if (_session.WantsJson()) {
      nlohmann::ordered_json result = _session.ToJson(id, now);
      result["event"] = kind;
      result["time"] = programs::UniversalTime(when);
      if (before != nullptr) {
        nlohmann::ordered_json old = _session.ToJson(id, *before);
        result["before"] = {{"value", old["value"]}, {"text", old["text"]}};
      }
      _session.PrintResult(result);
      return;
    }
    const programs::ValueText& text = _session.GetValueText();
    _session.Print(programs::LocalTime(when) + "  " + programs::ParamName(id) + ": " +
                   (before == nullptr ? "" : text.Line(id, *before) + " -> ") + text.Line(id, now));
  }

  // About the connection.
  void Tell(const char* kind, const std::string& message) const {
    if (_session.WantsJson()) {
      _session.PrintResult({{"event", kind},
                            {"time", programs::UniversalTime(programs::Now())},
                            {"message", message}});
    } else {
      _session.GetConsole().Say(message);
    }
  }

  Session& _session;
  const std::set<eParam_t> _only;  // empty for all
  const Options _options;
  EventQueue _queue;
  std::map<eParam_t, Value> _known;
  std::set<eParam_t> _unreadable;  // of those that were named
  bool _compared = false;          // since the connection was made
  unsigned long _printed = 0;
  bool _done = false;
};

class WatchCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("NAME", _names,
                   "Parameters, whose values are printed first; all when none is named")
        ->type_name("");
    app.add_flag("--initial", _options.initial,
                 "Print the values first also when no parameter is named");
    app.add_option("--count", _options.count, "End after N changes")
        ->type_name("N")
        ->check(CLI::Range(1UL, 1000000000UL).description(""));
    app.add_flag("--all-events", _options.allEvents,
                 "Print also what is announced without being changed");
  }

  void Run(Session& session) override {
    std::set<eParam_t> ids;
    for (const std::string& name : _names) ids.insert(FindParam(name).GetParamID());
    ::signal(SIGINT, EndQuietly);
    ::signal(SIGTERM, EndQuietly);
    Watcher(session, ids, _options).Run();
  }

 private:
  std::vector<std::string> _names;
  Watcher::Options _options;
};

}  // namespace

std::unique_ptr<Command> MakeWatchCommand() { return std::make_unique<WatchCommand>(); }

}  // namespace configctl
