// The tool's own lines on standard output and standard error. The library reports on the same two
// descriptors, in words that are meant for its developers; Take moves the tool's lines to
// descriptors of their own and leaves the library none that leads to the user. Any thread may
// print: each call is written whole and at once, also into a pipe.
//
// Output that cannot be written ends no command: one that changes things finishes what it does, and
// its status is true. What cannot reach its reader is left out, and End says so at the end, unless
// the reader has gone away by itself.
#pragma once

#include <atomic>
#include <string>

#include "libconfig/base/Mutex.h"

namespace configctl {

class Console {
 public:
  static Console& Instance();

  // Call once, before the library is used. With `verbose` what the library reports comes through
  // on standard error, and nothing of it on standard output.
  void Take(bool verbose);

  // A line, or several with line ends between them. The last line end is added.
  void Print(const std::string& lines);
  // On standard error, after "configctl: ", and always as one line.
  void Say(const std::string& message);

  // A line on standard error that the next one takes the place of, if that is a terminal.
  void ShowProgress(const std::string& text);

  bool IsTerminal() const;
  // The last word of the program: the status to end with, which is `status` unless only the output
  // failed.
  int End(int status);

  // Whether nothing that is printed reaches anybody any more.
  bool ReaderIsGone() const;
  // Columns to lay text out for: the terminal's, or 80.
  int GetWidth() const;

 private:
  Console() = default;

  void ClearProgress() LIBCONFIG_REQUIRES(_mutex);
  bool Write(int fd, const std::string& text) LIBCONFIG_REQUIRES(_mutex);

  int _out = 1;
  int _err = 2;
  std::atomic<int> _problem{0};  // with the output, as errno has it
  qel::config::Mutex _mutex;
  bool _showsProgress LIBCONFIG_GUARDED_BY(_mutex) = false;
};

}  // namespace configctl
