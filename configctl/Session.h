// One run of the tool: the options that every command has, and the ways to answer, as text or as
// JSON. It outlives the command and its connections.
//
// With --json every answer is an object on one line of standard output:
//   {"ok": true, "command": "get", "result": ...}
//   {"ok": false, "command": "get", "error": {"code": 1, "message": "..."}}
// A verdict has both, "error" and "result".
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "configctl/Console.h"
#include "configctl/Failure.h"
#include "configctl/Place.h"
#include "programs/ValueText.h"

namespace configctl {

struct CommonOptions {
  std::string uri = "tcp://127.0.0.1:43110";
  int config = Place::kNoConfig;
  double timeout = 5;  // seconds
  bool json = false;
  bool showSecrets = false;
  bool verbose = false;
  bool mapped = false;  // proxies are what they stand for
};

// What a command found out by being carried out to its end, where that is not what was hoped for.
// In JSON `result` is told too; text was printed before.
class Verdict : public Failure {
 public:
  Verdict(Status status, const std::string& message, nlohmann::ordered_json result)
      : Failure(status, message), _result(std::move(result)) {}

  const nlohmann::ordered_json& GetResult() const { return _result; }

 private:
  const nlohmann::ordered_json _result;
};

class Session {
 public:
  Session(const CommonOptions& options, std::string command);

  const CommonOptions& GetOptions() const { return _options; }
  bool WantsJson() const { return _options.json; }
  // For a command that is about every parameter by itself. Throws Failure for --mapped.
  void RefuseMapped() const;
  const programs::ValueText& GetValueText() const { return _valueText; }
  Console& GetConsole() const { return _console; }

  void Print(const std::string& lines) const { _console.Print(lines); }
  void PrintResult(const nlohmann::ordered_json& result) const;
  // A parameter and its value, for results:
  //   {"name": "IPConfig", "id": "0x32010000", "value": 1, "text": "DHCP"}
  // A value that is masked is a text, and "masked" is true.
  nlohmann::ordered_json ToJson(eParam_t id, const programs::Value& value) const;

  // For a command whose other statuses are verdicts: from here on every failure that is none ends
  // with `status`.
  void EndFailuresWith(Status status) { _failureStatus = status; }
  // Tells the user, and returns the status for main.
  int Fail(const Failure& failure) const;

 private:
  const CommonOptions _options;
  const std::string _command;
  const programs::ValueText _valueText;
  Console& _console;
  std::optional<Status> _failureStatus;
};

}  // namespace configctl
