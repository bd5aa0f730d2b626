// The records of every transport as their table describes them.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "libconfig/access/ConnectionUtilities.h"
#include "libconfig/access/MessageTable.h"
#include "libconfig/network/ConnectionUtilities.h"
#include "libconfig/network/NetworkRecordTable.h"

namespace {

namespace network = qel::vorlane::config::access;

std::string Cell(const qel::config::RecordType* record) {
  if (record == nullptr) return " |";
  return " " + std::to_string(record->size) + (record->hasStream ? " + value |" : " |");
}

// As docs/protocol.md has it.
std::string RowOf(const qel::config::MessageType& message) {
  return "| " + std::to_string(message.type) + " | `" + message.enumerator + "` | " +
         ConnectionUtilities::GetMessageName(static_cast<MQMessage_t>(message.type)) + " | `" +
         network::ConnectionUtilities::GetDirection(message.type) + "` |" +
         Cell(qel::config::FindQueueRecord(message.type)) +
         Cell(network::FindNetworkRecord(message.type)) + "\n";
}

TEST(MessageRecords, AreTheOnesInTheDocument) {
  std::string table =
      "| Type | Enumerator | Name | | Queue | Network |\n"
      "|---|---|---|---|---|---|\n";
  for (const auto& message : qel::config::kMessageTypes) table += RowOf(message);
  const std::string golden = GOLDEN_RECORDS;
  std::ifstream file(golden.substr(0, golden.rfind("tests/")) + "docs/protocol.md");
  std::stringstream document;
  document << file.rdbuf();
  EXPECT_NE(std::string::npos, document.str().find("\n" + table + "\n"))
      << "docs/protocol.md lacks this table:\n"
      << table;
}

}  // namespace
