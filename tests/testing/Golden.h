// The bytes of tests/golden/records.txt: of serialized objects, which are the same on every host,
// and of fixed records, in this host's byte order or in the other one.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

using Bytes = std::vector<char>;

inline std::string Hex(const Bytes& bytes) {
  std::string text;
  for (const char byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
    text += digits;
  }
  return text;
}

// Of hexadecimal digits with spaces anywhere between two bytes.
inline Bytes FromHex(const std::string& text) {
  Bytes bytes;
  for (std::size_t at = text.find_first_not_of(' '); at != std::string::npos;
       at = text.find_first_not_of(' ', at + 2)) {
    bytes.push_back(static_cast<char>(std::strtoul(text.substr(at, 2).c_str(), nullptr, 16)));
  }
  return bytes;
}

enum class ByteOrder { kBig, kLittle };
constexpr auto kHostOrder =
    __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? ByteOrder::kBig : ByteOrder::kLittle;
constexpr auto kOtherOrder =
    kHostOrder == ByteOrder::kLittle ? ByteOrder::kBig : ByteOrder::kLittle;

struct GoldenMessage {
  Bytes ToBytes(ByteOrder order = kHostOrder) const {
    Bytes bytes;
    for (const auto& [width, value] : fields) {
      for (unsigned i = 0; i < width; ++i) {
        const unsigned byte = order == ByteOrder::kLittle ? i : width - 1 - i;
        bytes.push_back(byte < sizeof value ? static_cast<char>(value >> 8 * byte) : '\0');
      }
    }
    bytes.insert(bytes.end(), object.begin(), object.end());
    return bytes;
  }
  std::string ToHex() const { return Hex(ToBytes()); }

  bool fromClient = false;
  std::vector<std::pair<unsigned, uint32_t>> fields;  // width and value
  Bytes object;
};

class Golden {
 public:
  // `variables` are what the file calls $NAME; those that are not among them are 0.
  explicit Golden(std::map<std::string, uint32_t> variables = {})
      : _variables(std::move(variables)) {
    std::ifstream file(GOLDEN_RECORDS);
    if (!file) throw std::runtime_error("no file " GOLDEN_RECORDS);
    std::vector<std::string>* entry = nullptr;
    for (std::string line; std::getline(file, line);) {
      std::istringstream words(line.substr(0, line.find('#')));
      std::string word;
      if (!line.empty() && line[0] != ' ' && words >> word) {
        std::string name;
        words >> name;
        entry = &_entries[word][name];
      }
      while (words >> word) entry->push_back(word);
    }
  }

  std::vector<std::string> GetObjectNames() const {
    std::vector<std::string> names;
    for (const auto& entry : _entries.at("object")) names.push_back(entry.first);
    return names;
  }

  Bytes GetObject(const std::string& name) const {
    std::string text;
    for (const std::string& word : _entries.at("object").at(name)) {
      char digits[12];
      std::snprintf(digits, sizeof digits, "%08x", ValueOf(word));
      text += word[0] == '$' ? digits : word;
    }
    return FromHex(text);
  }

  std::vector<GoldenMessage> GetExchange(const std::string& name) const {
    std::vector<GoldenMessage> messages;
    std::vector<std::string>::const_iterator field;
    std::string before;
    for (const std::string& word : _entries.at("exchange").at(name)) {
      if (word == "<" || word == ">") {
        messages.emplace_back().fromClient = word == ">";
      } else if (before == "<" || before == ">") {
        field = _entries.at("layout").at(word).begin();
      } else if (before == "+") {
        messages.back().object = GetObject(word);
      } else if (word != "+") {
        messages.back().fields.emplace_back(std::stoul(field->substr(field->find(':') + 1)),
                                            ValueOf(word));
        ++field;
      }
      before = word;
    }
    return messages;
  }

 private:
  uint32_t ValueOf(const std::string& word) const {
    if (word[0] != '$') return static_cast<uint32_t>(std::strtoul(word.c_str(), nullptr, 0));
    const auto found = _variables.find(word.substr(1));
    return found == _variables.end() ? 0 : found->second;
  }

  const std::map<std::string, uint32_t> _variables;
  // Kind, name, and the words.
  std::map<std::string, std::map<std::string, std::vector<std::string>>> _entries;
};

}  // namespace testing_support
