// Settings in a file, readable and fit to be edited by hand:
//
//   {
//     "format": "configctl settings",
//     "version": 1,
//     "product": "Quarn",
//     "config": 0,
//     "exported": "2026-11-21T18:20:00.000Z",
//     "left_out": ["SystemPassword"],
//     "settings": {
//       "IPConfig": "Static Addr",
//       "IPAddress": "10.0.0.3",
//       "IntervalFrames": 12,
//       "SysName": "Edit 7"
//     }
//   }
//
// Format, version and settings are needed, the rest is for people. A value is a number or what
// configctl set takes; a text that is not UTF-8 is {"hex": "ff00"}.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "libconfig/descriptors/ParamDescriptor.h"
#include "programs/ValueText.h"

namespace configctl {

struct SettingsFile {
  struct Entry {
    std::string name;
    nlohmann::ordered_json value;
    bool isRepeated = false;  // so that nobody knows which value was meant
  };

  // Reads `path`, "-" for standard input; see ReadFile for `timeout`. Throws Failure.
  static SettingsFile Read(const std::string& path, double timeout);

  std::vector<Entry> entries;  // each name once
  // Passwords that were not written, by name.
  std::vector<std::string> leftOut;
};

// What comes before the settings.
nlohmann::ordered_json SettingsHeader();

nlohmann::ordered_json SettingToJson(const ParamDescriptor& param, const programs::Value& value);
// Throws Failure for what the parameter does not take.
programs::Value SettingFromJson(const ParamDescriptor& param, const nlohmann::ordered_json& value);

}  // namespace configctl
