// configctl reads, changes and watches the settings of a device.
#include <cstdlib>
#include <exception>

#include "configctl/CommandLine.h"
#include "configctl/Console.h"
#include "configctl/Session.h"

using configctl::CommandLine;
using configctl::Console;
using configctl::Failure;
using configctl::Session;
using configctl::Status;

namespace {

int Run(CommandLine& line, const std::string& answer) {
  Session session(line.GetOptions(), line.GetCommandName());
  try {
    if (answer.empty()) {
      CreateDescriptors();
      line.GetCommand()->Run(session);
    } else {
      session.Print(answer);
    }
    return Console::Instance().End(static_cast<int>(Status::kDone));
  } catch (const Failure& failure) {
    return session.Fail(failure);
  } catch (const std::exception& problem) {
    return session.Fail({Status::kRefused, std::string("something went wrong: ") + problem.what() +
                                               "; try again with --verbose"});
  }
}

}  // namespace

int main(int argc, char** argv) {
  CommandLine line;
  std::string answer;
  try {
    answer = line.Parse(argc, argv);
  } catch (const Failure& failure) {
    Console::Instance().Take(false);
    return Session(line.GetOptions(), line.GetCommandName()).Fail(failure);
  }
  Console::Instance().Take(line.GetOptions().verbose);
  return Run(line, answer);
}
