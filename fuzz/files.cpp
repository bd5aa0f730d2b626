// Files that somebody else may have written.
#include <boost/crc.hpp>
#include <cstring>

#include "configctl/Failure.h"
#include "configctl/Params.h"
#include "configctl/SettingsFile.h"
#include "configctl/ValueParser.h"
#include "configd/state/StoredConfig.h"
#include "fuzz/Fuzz.h"
#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/FlashInfo.h"
#include "libconfig/support/Logger.h"

namespace {

using fuzz::Bytes;
using fuzz::Require;

void PutWord(Bytes& bytes, size_t at, size_t word) {
  for (int i = 3; i >= 0; --i, word >>= 8)
    bytes[at + static_cast<size_t>(i)] = static_cast<char>(word);
}

// With the length and the checksum that it would have had, so that what lies between is read.
Bytes Repaired(Bytes bytes) {
  constexpr size_t kLength = 12;
  constexpr size_t kHeader = 16;
  if (bytes.size() < kHeader) return bytes;
  PutWord(bytes, kLength, bytes.size() - kHeader);
  boost::crc_32_type checksum;
  checksum.process_bytes(bytes.data(), bytes.size());
  const size_t covered = bytes.size();
  bytes.resize(covered + 4);
  PutWord(bytes, covered, checksum.checksum());
  return bytes;
}

void TryValue(const ParamDescriptor& param, const programs::Value& value) {
  Require(configctl::SettingFromJson(param, configctl::SettingToJson(param, value)) == value);
  configctl::CheckValue(param, value);
}

}  // namespace

// The files of configurations and of presets alike.
void State(const uint8_t* data, size_t size) {
  static Config* const store = ConfigFactoryImpl::GetInstance()->Connect("local:");
  std::string why;
  const Bytes bytes(data, data + size);
  DecodeSector(bytes, why);
  std::optional<Sector> sector = DecodeSector(Repaired(bytes), why);
  if (!sector) return;
  for (const auto& value : sector->values) {
    if (GiveValue(*store, *value)) Require(HasValue(*store, *value));
  }
  const Bytes written = EncodeSector(std::move(*sector));
  std::optional<Sector> again = DecodeSector(written, why);
  Require(again.has_value());
  Require(EncodeSector(std::move(*again)) == written);
}

void Settings(const uint8_t* data, size_t size) {
  try {
    for (const auto& entry : configctl::SettingsFile::Read(fuzz::FileOf(data, size), 1).entries) {
      try {
        const ParamDescriptor& param = configctl::FindParam(entry.name);
        TryValue(param, configctl::SettingFromJson(param, entry.value));
      } catch (const configctl::Failure&) {
      }
    }
  } catch (const configctl::Failure&) {
  }
}

// A name and a value, as they are typed.
void Values(const uint8_t* data, size_t size) {
  const std::deque<Bytes> words = fuzz::Split(data, size);
  const auto text = [](const Bytes& word) { return std::string(word.data(), word.size()); };
  try {
    const ParamDescriptor& param = configctl::FindParam(text(words.front()));
    TryValue(param, configctl::ParseValue(param, text(words.back())));
  } catch (const configctl::Failure&) {
  }
}

void LoggerControl(const uint8_t* data, size_t size) {
  std::string path = fuzz::FileOf(data, size);
  qel::logging::Logger::GetLogger()->ReadConfig(path);
}

void FlashInfo(const uint8_t* data, size_t size) {
  const std::string text = qel::config::ReadFlashInfo(fuzz::FileOf(data, size).c_str());
  Require(text.size() == size && std::memcmp(text.data(), data, size) == 0);
}
