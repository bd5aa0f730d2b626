// The records of every transport as their table describes them, and which answer belongs to which
// request.
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

TEST(MessageRecords, HaveNoNameBesideThoseOfTheTable) {
  for (const uint32_t type : {0U, 15U, 18U, 146U, 0xFFFFFFFFU}) {
    EXPECT_EQ("N/A", ConnectionUtilities::GetMessageName(static_cast<MQMessage_t>(type))) << type;
  }
  EXPECT_EQ("/mqd_65535_1", ConnectionUtilities::GetQueueName(0xFFFF0001));
}

TEST(MessageRecords, AnswerARequestOfTheSameConnectionConfigurationAndNumber) {
  const XCONFIGMGR_CONNECTION_REQUEST_T request = {16, 0x00070003, 42, 1, 0};
  XCONFIGMGR_RESPONSE_T response = {};
  response.requestID = 43;
  response.configID = 0xFFFFFFFF;
  response.connectionID = 0x00080004;
  const auto complaint = [&] {
    ::testing::internal::CaptureStderr();
    const bool valid = IsValidResponse(request, response);
    const std::string text = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(valid, text.empty());
    return text;
  };
  EXPECT_EQ(
      "IsValidResponse - request.connectionID (/mqd_7_3) != response.connectionID (/mqd_8_4)\n",
      complaint());
  response.connectionID = request.connectionID;
  EXPECT_EQ("IsValidResponse - request.configID (1) != response.configID (-1)\n", complaint());
  response.configID = 1;
  EXPECT_EQ("IsValidResponse - request.requestID (42) != response.requestID (43)\n", complaint());
  response.requestID = 42;
  EXPECT_EQ("", complaint()) << "whatever its type";
  EXPECT_TRUE(HandleErrorResponse(&response));
  response.error = 1;
  EXPECT_FALSE(HandleErrorResponse(&response));
}

}  // namespace
