// The records of the message queues, their names, and which answer belongs to which request.
#include <gtest/gtest.h>

#include <utility>

#include "libconfig/access/ConnectionUtilities.h"

namespace {

TEST(MessageRecords, HaveNamesForPeople) {
  const std::pair<int, const char*> names[] = {{16, "Connect Request"},
                                               {17, "Disconnect Request"},
                                               {32, "Connect Response"},
                                               {33, "Disconnect Response"},
                                               {48, "Add Listener Request"},
                                               {49, "Remove Listener Request"},
                                               {64, "Add Listener Response"},
                                               {65, "Remove Listener Response"},
                                               {80, "Get Request"},
                                               {81, "Set Request"},
                                               {96, "Get Response"},
                                               {97, "Set Response"},
                                               {112, "Get String Request"},
                                               {113, "Set String Request"},
                                               {114, "Populate Param Request"},
                                               {128, "Get String Response"},
                                               {129, "Set String Response"},
                                               {130, "Populate Param Response"},
                                               {144, "Param Changed Event"},
                                               {145, "Param String Changed Event"}};
  const auto* next = std::begin(names);
  for (int type = -1; type < 200; ++type) {
    const bool known = next != std::end(names) && next->first == type;
    EXPECT_EQ(known ? next->second : "N/A",
              ConnectionUtilities::GetMessageName(static_cast<MQMessage_t>(type)))
        << type;
    if (known) ++next;
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
