// Objects on System V message queues.
#include <sys/ipc.h>
#include <sys/msg.h>

#include <algorithm>
#include <climits>

#include "libconfig/access/IPCDeSerializer.h"
#include "libconfig/access/IPCSerializer.h"
#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/values/StringValue.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"
#include "tests/testing/Queues.h"

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

class IPCQueue : public testing::Test {
 protected:
  void SetUp() override {
    if (_queue == -1) GTEST_SKIP() << "no System V message queue can be had here";
  }
  ~IPCQueue() override { Remove(); }
  void Remove() { ::msgctl(_queue, IPC_RMID, nullptr); }

  static CONFIGMGR_STREAM_HEADER_T Header(long type) {
    CONFIGMGR_STREAM_HEADER_T header = {};
    header.mtype = type;
    header.tag = 0x01020304;
    return header;
  }

  struct Message {
    long type;
    char bytes[9000];
  };
  void Send(long type, const Bytes& bytes) {
    Message message = {type, {}};
    std::copy(bytes.begin(), bytes.end(), message.bytes);
    EXPECT_EQ(0, ::msgsnd(_queue, &message, bytes.size(), IPC_NOWAIT));
  }
  // In hexadecimal digits.
  std::string Receive(long type) {
    Message message;
    const ssize_t size = ::msgrcv(_queue, &message, sizeof message.bytes, type, IPC_NOWAIT);
    return size < 0 ? "none" : Hex({message.bytes, message.bytes + size});
  }
  std::unique_ptr<Serializable> Read(long type, bool wait) {
    CONFIGMGR_STREAM_HEADER_T header = Header(type);
    return std::unique_ptr<Serializable>(_reader.Read(header, wait));
  }

  const int _queue = ::msgget(IPC_PRIVATE, 0600);
  IPCSerializer _writer{eSerializationFormat_Queue, _queue};
  IPCDeSerializer _reader{eSerializationFormat_Queue, _queue};
  StringValue _value{eConfigID_Default, eParamID_SysName, eParamType_String, "Edit 7"};
};

TEST_F(IPCQueue, CarriesAHeaderAndThenTheObject) {
  ASSERT_TRUE(_writer.Write(Header(7), &_value));
  long type = 7;
  for (const auto& message : Golden().GetExchange("systemv")) {
    EXPECT_EQ(message.ToHex(), Receive(type++));
  }
}

TEST_F(IPCQueue, SendsNothingThatIsNothing) {
  EXPECT_FALSE(_writer.Write(Header(7), nullptr));
  for (const long type : {0L, -1L, LONG_MAX}) {
    EXPECT_FALSE(_writer.Write(Header(type), &_value));
    EXPECT_EQ(nullptr, Read(type, false));
  }
  EXPECT_EQ("none", Receive(0));
  StringValue huge(eConfigID_Default, eParamID_SysName, eParamType_String,
                   std::string(100000, 'x'));
  EXPECT_FALSE(_writer.Write(Header(7), &huge));
  EXPECT_NE("none", Receive(7)) << "the header is on its way by then";
}

TEST_F(IPCQueue, ReadsNoDamagedMessages) {
  for (const uint32_t length : {0U, 7U, 1024U * 1024U + 1, 0xFFFFFFFFU}) {
    Send(7, Words({0, 0, length, 0, 0, 0}));
    EXPECT_EQ(nullptr, Read(7, true)) << length;
  }
  Send(7, Words({0, 0, 31}));
  EXPECT_EQ(nullptr, Read(7, true)) << "a cut header";
  Send(7, Words({0, 0, 31, 0, 0, 0}));
  Send(8, Words({0, 0x01000000}));
  EXPECT_EQ(nullptr, Read(7, true)) << "cut data";
  Send(7, Words({0, 0, 31, 0, 0, 0}));
  Send(8, Bytes(27, '\xFF'));
  EXPECT_EQ(nullptr, Read(7, true)) << "no object";
}

TEST_F(IPCQueue, WaitsForWhatIsOnItsWayAndNoLongerThanTheQueueIsThere) {
  const auto begin = steady_clock::now();
  EXPECT_EQ(nullptr, Read(7, false));
  std::thread sender([this] { EXPECT_TRUE(_writer.Write(Header(7), &_value)); });
  CONFIGMGR_STREAM_HEADER_T header = {};
  header.mtype = 7;
  const std::unique_ptr<Serializable> object(_reader.Read(header, true));
  sender.join();
  ASSERT_NE(nullptr, object);
  EXPECT_EQ(0x01020304U, header.tag);
  std::string text;
  dynamic_cast<StringValue&>(*object).Get(text);
  EXPECT_EQ("Edit 7", text);
  std::thread remover([this] { Remove(); });
  EXPECT_EQ(nullptr, Read(7, true));
  remover.join();
  EXPECT_LT(steady_clock::now() - begin, milliseconds(9000));
}

TEST_F(IPCQueue, IsGivenUpAfterTenSeconds) {
  Send(7, Words({0, 0, 31, 0, 0, 0}));
  const auto begin = steady_clock::now();
  EXPECT_EQ(nullptr, Read(7, false)) << "the data are waited for in any case";
  EXPECT_GE(steady_clock::now() - begin, milliseconds(10000));
  EXPECT_LT(steady_clock::now() - begin, milliseconds(14000));
}

}  // namespace
