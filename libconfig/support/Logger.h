// Traces the traffic of parameters to standard error. It is off unless the control file
// /usr/local/bin/PROGRAM.log exists; each line "watch NAME" of the file names one parameter to
// trace, and an empty file means all of them. GetLogger checks the file again at most every
// five seconds, so that tracing can be switched on a running device.
//
//   Logger* const logger = Logger::GetLogger();
//   logger->Log(eParamID_IPConfig, value, "set by %s\n", peer);
//
// One for the process, never destroyed. Any thread may call. A line of the trace is one message,
// which base/Diagnostics.h sends elsewhere or silences with all others.
#pragma once

#include <atomic>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libconfig/base/Export.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/support/CTimeVal.h"

namespace qel::logging {

class LIBCONFIG_API Logger {
 public:
  static Logger* GetLogger();

  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  // Called by GetLogger; again it only returns 1.
  int Init();

  // Adds the parameters that the file at `path` names to those traced. 0, with a message, when it
  // cannot be opened.
  int ReadConfig(std::string& path);

  // The name of the program that runs as `pid`; empty when there is none.
  std::string GetNameFromPID(int pid);

  bool IsEnabled() const { return _enabled.load(std::memory_order_relaxed); }
  // Whether calls about `param` are traced.
  bool IsWatching(unsigned int param) const;

  // printf-style. Nothing is written while the logger is off, nor about a parameter that is not
  // watched.
  void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Log(unsigned int param, const char* format, ...) __attribute__((format(printf, 3, 4)));
  void Log(unsigned int param, unsigned int value, const char* format, ...)
      __attribute__((format(printf, 4, 5)));
  void Log(unsigned int param, std::string& text, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

 private:
  using WatchList = std::vector<eParam_t>;

  Logger() = default;
  void Recheck();
  void Reload() LIBCONFIG_REQUIRES(_checkMutex);
  std::shared_ptr<const WatchList> GetWatchList() const;
  void SetWatchList(std::shared_ptr<const WatchList> list);
  std::string Prefix() const;

  std::atomic<bool> _enabled{false};
  // Set by Init, before the logger is published.
  std::string _program;
  std::string _path;

  // Held while the control file is checked and read.
  qel::config::Mutex _checkMutex;
  time_t _modified LIBCONFIG_GUARDED_BY(_checkMutex) = -1;
  CTimeVal _sinceCheck LIBCONFIG_GUARDED_BY(_checkMutex);

  // Replaced as a whole, so that a trace call sees one list. Null while the logger is off.
  mutable qel::config::Mutex _watchMutex;
  std::shared_ptr<const WatchList> _watch LIBCONFIG_GUARDED_BY(_watchMutex);

  qel::config::Mutex _namesMutex;
  std::map<int, std::string> _names LIBCONFIG_GUARDED_BY(_namesMutex);
};

}  // namespace qel::logging
