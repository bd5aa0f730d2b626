// One run of the tool: the options that every command has, and the ways to answer, as text or as
// JSON. It outlives the command and its connections.
//
// With --json every answer is an object on one line of standard output:
//   {"ok": true, "command": "get", "result": ...}
//   {"ok": false, "command": "get", "error": {"code": 1, "message": "..."}}
#pragma once

#include <nlohmann/json.hpp>
#include <string>

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

class Session {
 public:
  Session(const CommonOptions& options, std::string command);

  const CommonOptions& GetOptions() const { return _options; }
  bool WantsJson() const { return _options.json; }
  const programs::ValueText& GetValueText() const { return _valueText; }
  Console& GetConsole() const { return _console; }

  void Print(const std::string& lines) const { _console.Print(lines); }
  void PrintResult(const nlohmann::ordered_json& result) const;
  // A parameter and its value, for results:
  //   {"name": "IPConfig", "id": "0x32010000", "value": 1, "text": "DHCP"}
  // A value that is masked is a text, and "masked" is true.
  nlohmann::ordered_json ToJson(eParam_t id, const programs::Value& value) const;

  // Tells the user, and returns the status for main.
  int Fail(const Failure& failure) const;

 private:
  const CommonOptions _options;
  const std::string _command;
  const programs::ValueText _valueText;
  Console& _console;
};

}  // namespace configctl
