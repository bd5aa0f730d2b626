#include "libconfig/support/Logger.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/descriptors/Catalogue.h"

namespace qel::logging {

using config::MutexLock;
using config::Report;
using config::ReportErrno;

namespace {

constexpr char kControlFolder[] = "/usr/local/bin/";
constexpr int kRecheckMs = 5001;

// Milliseconds that have passed, or more than any limit when the clock was set back.
bool IsDue(CTimeVal& since) {
  const int elapsed = since.get_elapsed_ms();
  return elapsed < 0 || elapsed >= kRecheckMs;
}

time_t ModificationTime(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 ? status.st_mtime : -1;
}

std::string TimeStamp() {
  timeval now;
  ::gettimeofday(&now, nullptr);
  const time_t seconds = now.tv_sec;
  tm local;
  char text[20] = "";
  if (::localtime_r(&seconds, &local) != nullptr) std::strftime(text, sizeof text, "%X", &local);
  char stamp[48];
  std::snprintf(stamp, sizeof stamp, "%s.%03ld", text, static_cast<long>(now.tv_usec / 1000));
  return stamp;
}

// The prefix of a line has always been part of its format: a pair of per cent signs in a name
// comes out as one.
std::string InsertedText(const std::string& text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    shown += text[i];
    if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
  }
  return shown;
}

std::string ParamName(unsigned int param) {
  const ParamDescriptor* const descriptor = FindDescriptor(static_cast<eParam_t>(param));
  if (descriptor != nullptr) return descriptor->GetParamIDName();
  char name[16];
  std::snprintf(name, sizeof name, "%u.%u.%u.%u", param >> 24, param >> 16 & 0xff,
                param >> 8 & 0xff, param & 0xff);
  return name;
}

void Write(const std::string& prefix, const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string message(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  std::vsnprintf(message.data(), message.size() + 1, format, again);
  va_end(again);
  Report("%s%s", prefix.c_str(), message.c_str());
}

}  // namespace

Logger* Logger::GetLogger() {
  static Logger* const logger = [] {
    auto* const made = new Logger;
    made->Init();
    return made;
  }();
  logger->Recheck();
  return logger;
}

int Logger::Init() {
  MutexLock lock(_checkMutex);
  if (!_path.empty()) return 1;
  _program = GetNameFromPID(::getpid());
  _path = kControlFolder + _program + ".log";
  Reload();
  return 1;
}

// Skip if another thread is already checking.
void Logger::Recheck() {
  if (!_checkMutex.try_lock()) return;
  if (IsDue(_sinceCheck)) {
    if (ModificationTime(_path) != _modified) {
      Reload();
    } else {
      _sinceCheck.start();
    }
  }
  _checkMutex.unlock();
}

void Logger::Reload() {
  _sinceCheck.start();
  _modified = ModificationTime(_path);
  _enabled = false;
  SetWatchList(nullptr);
  if (_modified != -1) _enabled = ReadConfig(_path) != 0;
}

int Logger::ReadConfig(std::string& path) {
  std::ifstream file(path);
  if (!file) {
    ReportErrno("Logger::ReadLoggingConfig");
    Report("Logger::ReadLoggingConfig - unable to open %s\n", path.c_str());
    return 0;
  }
  Report("%s [%s] Reading %s\n", TimeStamp().c_str(), _program.c_str(), path.c_str());
  const std::shared_ptr<const WatchList> before = GetWatchList();
  WatchList list = before != nullptr ? *before : WatchList();
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    for (std::string keyword, name; words >> keyword;) {
      if (keyword != "watch" || !(words >> name)) {
        errno = EINVAL;
        ReportErrno("Logger::ReadLoggingConfig");
        break;  // the rest of the line means nothing either
      }
      const ParamDescriptor* const descriptor = GetDescriptor(name);
      if (descriptor == nullptr) {
        Report("%s [%s] Logger::ReadLoggingConfig - descriptor for %s not found\n",
               TimeStamp().c_str(), _program.c_str(), name.c_str());
        continue;
      }
      Report("%s [%s] Watching %s\n", TimeStamp().c_str(), _program.c_str(), name.c_str());
      list.push_back(descriptor->GetParamID());
    }
  }
  if (list.empty()) Report("%s [%s] Watching *\n", TimeStamp().c_str(), _program.c_str());
  SetWatchList(std::make_shared<const WatchList>(std::move(list)));
  return 1;
}

std::string Logger::GetNameFromPID(int pid) {
  MutexLock lock(_namesMutex);
  const auto known = _names.find(pid);
  if (known != _names.end()) return known->second;
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline");
  std::string word;
  file >> word;
  std::string name = word.c_str();  // the arguments follow behind a zero
  name.erase(0, name.rfind('/') + 1);
  if (!name.empty()) _names[pid] = name;
  return name;
}

std::shared_ptr<const Logger::WatchList> Logger::GetWatchList() const {
  MutexLock lock(_watchMutex);
  return _watch;
}

void Logger::SetWatchList(std::shared_ptr<const WatchList> list) {
  MutexLock lock(_watchMutex);
  _watch.swap(list);
}

bool Logger::IsWatching(unsigned int param) const {
  if (!IsEnabled()) return false;
  const std::shared_ptr<const WatchList> list = GetWatchList();
  // There is none while it is replaced.
  return list != nullptr &&
         (list->empty() ||
          std::find(list->begin(), list->end(), static_cast<eParam_t>(param)) != list->end());
}

std::string Logger::Prefix() const {
  char thread[24];
  std::snprintf(thread, sizeof thread, ":%d] ", static_cast<int>(::syscall(SYS_gettid)));
  return TimeStamp() + " [" + InsertedText(_program) + thread;
}

void Logger::Log(const char* format, ...) {
  if (!IsEnabled()) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Prefix(), format, arguments);
  va_end(arguments);
}

void Logger::Log(unsigned int param, const char* format, ...) {
  if (!IsWatching(param)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Prefix() + "(" + InsertedText(ParamName(param)) + ") ", format, arguments);
  va_end(arguments);
}

void Logger::Log(unsigned int param, unsigned int value, const char* format, ...) {
  if (!IsWatching(param)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Prefix() + "(" + InsertedText(ParamName(param)) + ":" + std::to_string(value) + ") ",
        format, arguments);
  va_end(arguments);
}

void Logger::Log(unsigned int param, std::string& text, const char* format, ...) {
  if (!IsWatching(param)) return;
  va_list arguments;
  va_start(arguments, format);
  Write(Prefix() + "(" + InsertedText(ParamName(param)) + ":\"" + InsertedText(text) + "\") ",
        format, arguments);
  va_end(arguments);
}

}  // namespace qel::logging
