// The two programs as a person would use them.
#pragma once

#include <gtest/gtest.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <string>

#include "tests/testing/Daemon.h"
#include "tests/testing/Process.h"

namespace testing_support {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

inline bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.out == b.out && a.err == b.err;
}
inline std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
  return stream << "status " << outcome.status << ", out \"" << outcome.out << "\", err \""
                << outcome.err << "\"";
}

// configctl with the daemon at `uri` as its default.
inline std::unique_ptr<Process> StartConfigctl(const std::string& uri,
                                               const Process::Words& arguments) {
  Process::Words command = {CONFIGCTL_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<Process>(command, Process::Words{"LIBCONFIG_URI=" + uri});
}

inline Outcome RunConfigctl(const std::string& uri, const Process::Words& arguments) {
  const std::unique_ptr<Process> process = StartConfigctl(uri, arguments);
  const int status = process->Wait();
  return {status, process->GetOutput(), process->GetErrors()};
}

inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// Words with blanks stand in single quotes.
inline Process::Words WordsOf(const std::string& command) {
  Process::Words words;
  std::istringstream in(command);
  for (std::string word; in >> std::quoted(word, '\'', '\0');) words.push_back(word);
  return words;
}

// Runs the commands of a session with configctl and answers with the session as it reads then:
// below each line that begins with a prompt what that command prints, its errors last; a status
// other than 0 stands before the prompt. URI is `uri`.
inline std::string Session(const std::string& uri, const std::string& session) {
  std::string actual;
  std::istringstream lines(session);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t prompt = line.find("$ ");
    if (prompt > 1) continue;
    const std::string command = line.substr(prompt + 2);
    const Outcome outcome = RunConfigctl(uri, WordsOf(Replaced(command, "URI", uri)));
    actual += (outcome.status == 0 ? "" : std::to_string(outcome.status)) + "$ " + command + "\n" +
              Replaced(outcome.out + outcome.err, uri, "URI");
  }
  return actual;
}

inline void ExpectSession(const std::string& uri, const std::string& session) {
  EXPECT_EQ(session, Session(uri, session));
}

}  // namespace testing_support
