#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "configctl/Command.h"
#include "configctl/Connection.h"
#include "configctl/Files.h"
#include "configctl/PresetExchange.h"
#include "configctl/TextLayout.h"
#include "programs/Text.h"

using json = nlohmann::ordered_json;
using qel::config::values::PresetsParamVector;

namespace configctl {
namespace {

constexpr unsigned kPresets = 20;
constexpr long kPatienceMs = 30000;

eParam_t NameOfPreset(unsigned number) {
  return static_cast<eParam_t>(eParamID_PresetName_1 + ((number - 1) << 16));
}

struct Action {
  const char* name;
  const char* doing;
  const char* done;
  bool takesFile;
  eParam_t command;
  eParam_t result;
};
constexpr Action kActions[] = {
    {"save", "saving", "saved", false, eParamID_RegisterSave, eParamID_RegisterSaveResult},
    {"recall", "recalling", "recalled", false, eParamID_RegisterRecall,
     eParamID_RegisterRecallResult},
    {"store", "storing", "stored", true, eParamID_RegisterStore, eParamID_RegisterStoreResult},
    {"load", "loading", "loaded", true, eParamID_RegisterLoad, eParamID_RegisterLoadResult},
};

class PresetCommand : public Command {
 public:
  void Declare(CLI::App& app) override {
    app.add_option("ACTION", _name, "save, recall, store, load or list")
        ->type_name("")
        ->required()
        ->check(CLI::IsMember({"save", "recall", "store", "load", "list"}).description(""));
    app.add_option("N", _number, "The preset, 1 to 20; not for list")
        ->type_name("")
        ->check(CLI::Range(1U, kPresets).description(""));
    app.add_option("FILE", _file, "With store and load: the file that holds it")->type_name("");
  }

  void Run(Session& session) override {
    const Action* const action = FindAction();
    CheckArguments(action);
    PresetsParamVector contents;
    if (action != nullptr && action->takesFile) CheckPlace(session);
    if (_name == "store") TakeFile(contents);
    Connection connection(session, Connection::OnTimeout::kEndProgram);
    if (action == nullptr) {
      List(session, connection);
      return;
    }
    // What began is told to its end.
    connection.SetOnTimeout(Connection::OnTimeout::kLoseConnection);
    PresetExchange exchange(session, connection, action->result,
                            std::string(action->doing) + " " + Preset());
    if (!Carry(*action, exchange, contents)) ThrowUndone(*action, exchange, errno);
    if (_name == "load") WriteLoaded(contents);
    Report(session, *action, exchange, contents);
  }

 private:
  std::string Preset() const { return "preset " + std::to_string(_number); }

  const Action* FindAction() const {
    for (const Action& action : kActions) {
      if (_name == action.name) return &action;
    }
    return nullptr;
  }

  void CheckArguments(const Action* action) const {
    const bool needsNumber = action != nullptr;
    const bool needsFile = action != nullptr && action->takesFile;
    if (needsNumber == (_number != 0) && needsFile == !_file.empty()) return;
    throw Failure(Status::kUsage, "write it as configctl preset " + _name +
                                      (needsNumber ? " N" : "") + (needsFile ? " FILE" : "") +
                                      "; see configctl preset --help");
  }

  void CheckPlace(const Session& session) const {
    Place place(session.GetOptions().uri, session.GetOptions().config);
    place.Resolve();
    if (place.IsOnThisMachine()) return;
    throw Failure(Status::kRefused, "preset " + _name +
                                        " moves the preset through /var/tmp of the device, and " +
                                        place.GetURI() + " is another machine; run it there");
  }

  static void List(const Session& session, Connection& connection) {
    std::string lines;
    json result = json::array();
    for (unsigned number = 1; number <= kPresets; ++number) {
      const eParam_t id = NameOfPreset(number);
      const programs::Value name = connection.Get(id);
      lines += (number == 1 ? "" : "\n") + Pad(std::to_string(number), 4) +
               session.GetValueText().Plain(id, name);
      result.push_back({{"preset", number}, {"name", std::get<std::string>(name)}});
    }
    if (session.WantsJson()) {
      session.PrintResult(result);
    } else {
      session.Print(lines);
    }
  }

  // With the contents of the file.
  void TakeFile(PresetsParamVector& contents) const {
    const std::string path = FollowLinks(_file);
    unsigned int length = 0;
    if (::access(path.c_str(), R_OK) != 0) {
      throw Failure(Status::kRefused, "cannot read " + FileText(_file) + ": " +
                                          std::strerror(errno) +
                                          "; fix this, or name another file");
    }
    if (!contents.Slurp(path)) {
      throw Failure(Status::kRefused,
                    "cannot read " + FileText(_file) + "; name a regular file of at most 64 MiB");
    }
    if (contents.GetData(length) == nullptr) {
      throw Failure(Status::kRefused,
                    FileText(_file) + " is empty; name a file that preset load has written");
    }
  }

  bool Carry(const Action& action, PresetExchange& exchange, PresetsParamVector& contents) const {
    const auto reg = static_cast<eConfigID_t>(_number);
    if (_name == "store") return contents.Store(reg, &exchange);
    if (_name == "load") return contents.Load(reg, &exchange);
    exchange.Set(action.result, static_cast<unsigned int>(PresetState::kBusy));
    exchange.Set(action.command, _number);
    std::vector<unsigned int> okStates = {static_cast<unsigned int>(PresetState::kComplete)};
    std::vector<unsigned int> errorStates = {static_cast<unsigned int>(PresetState::kFailed)};
    // A save cannot come upon an empty preset.
    const auto empty = static_cast<unsigned int>(PresetState::kEmpty);
    (_name == "save" ? okStates : errorStates).push_back(empty);
    return contents.WaitForStates(&exchange, action.result, okStates, errorStates, kPatienceMs);
  }

  // `error` is what the system said last.
  [[noreturn]] void ThrowUndone(const Action& action, const PresetExchange& exchange,
                                int error) const {
    const std::optional<PresetState> state = exchange.GetState();
    const std::string path = PresetsParamVector::GetPath(static_cast<eConfigID_t>(_number));
    const std::string notDone = Preset() + " was not " + action.done + ": ";
    const std::string way =
        action.takesFile ? "; it moves through " + path + ", which the device has to reach" : "";
    if (!state) {
      throw Failure(Status::kRefused, notDone + path + " cannot be written (" +
                                          std::strerror(error) + "); remove it, or make room");
    }
    switch (*state) {
      case PresetState::kBusy:
        throw Failure(Status::kRefused, notDone +
                                            "the device gave no result within 30 seconds; see "
                                            "whether it keeps presets, and try again" +
                                            way);
      case PresetState::kEmpty:
        throw Failure(Status::kRefused,
                      Preset() +
                          " is empty; save it first, or choose another with configctl "
                          "preset list");
      case PresetState::kComplete:
        throw Failure(Status::kRefused, notDone + "the device handed it out, and " + path +
                                            " cannot be read (" + std::strerror(error) +
                                            "); run this on the device, as root");
      default:
        throw Failure(Status::kRefused, notDone + "the device says " +
                                            programs::ValueText().Plain(
                                                action.result, static_cast<unsigned int>(*state)) +
                                            "; see what it logged, and try again" + way);
    }
  }

  void WriteLoaded(PresetsParamVector& contents) const {
    unsigned int length = 0;
    const char* const data = contents.GetData(length);
    if (data == nullptr) {
      throw Failure(Status::kRefused, "the device handed out an empty file for " + Preset() +
                                          ", and nothing was written; see what it logged");
    }
    // There may be a password in it.
    ReplaceFile(_file, std::string(data, length), Readers::kOwnerOnly);
  }

  void Report(const Session& session, const Action& action, const PresetExchange& exchange,
              PresetsParamVector& contents) const {
    unsigned int length = 0;
    contents.GetData(length);
    if (session.WantsJson()) {
      json result = {{"preset", _number}, {"action", _name}};
      if (action.takesFile) result.update({{"file", _file}, {"bytes", length}});
      session.PrintResult(result);
      return;
    }
    const bool isEmpty = exchange.GetState() == PresetState::kEmpty;
    session.Print(Preset() + " " + action.done +
                  (action.takesFile ? (_name == "load" ? " into " : " from ") + FileText(_file) +
                                          ", " + std::to_string(length) + " bytes"
                                    : "") +
                  (isEmpty ? "; the device calls it empty" : ""));
  }

  std::string _name;
  unsigned int _number = 0;
  std::string _file;
};

}  // namespace

std::unique_ptr<Command> MakePresetCommand() { return std::make_unique<PresetCommand>(); }

}  // namespace configctl
