// The streams that values travel in: the bytes of every type, and what a reader makes of streams
// that are cut, damaged or hostile.

#include <algorithm>
#include <random>

#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/serialization/MemoryDeSerializer.h"
#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/Vector.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"

namespace {
using qel::config::values::Vector;

// What `write` puts into a stream, after the sizer has announced exactly as much.
template <typename Write>
Bytes Written(Write write) {
  MemorySerializerSizer sizer(eSerializationFormat_Network);
  write(sizer);
  Bytes bytes(sizer.GetByteCount());
  MemorySerializer serializer(eSerializationFormat_Network, bytes.data(),
                              bytes.data() + bytes.size(), false);
  write(serializer);
  EXPECT_EQ(bytes.size(), serializer.GetByteCount());
  EXPECT_TRUE(serializer.IsEndOfBuffer());
  return bytes;
}

Bytes WrittenObject(Serializable& object) {
  return Written([&](Serializer& serializer) { serializer.Write("Object", &object); });
}

// Deletes what a reader hands over, prototypes aside.
struct UnlessShared {
  void operator()(Serializable* object) const {
    if (!ClassFactory::IsShared(object->GetClassID())) delete object;
  }
};

// A reader over a heap copy of exactly these bytes, so that a read beyond them is caught.
struct Reader {
  explicit Reader(const Bytes& bytes) : Reader(bytes, bytes.size()) {}
  Reader(const Bytes& bytes, std::size_t length)
      : copy(new char[length]),
        stream(eSerializationFormat_Network, copy.get(), copy.get() + length, false) {
    std::copy_n(bytes.begin(), length, copy.get());
  }

  long Position() { return stream.GetPos() - copy.get(); }
  std::unique_ptr<Serializable, UnlessShared> ReadObject() {
    Serializable* object = nullptr;
    stream.Read("Object", object);
    return std::unique_ptr<Serializable, UnlessShared>(object);
  }

  std::unique_ptr<char[]> copy;
  MemoryDeSerializer stream;
};

// Both ways.
template <typename T>
void ExpectBytes(T value, const char* hex) {
  EXPECT_EQ(hex, Hex(Written([&](Serializer& serializer) { serializer.Write("Key", value); })));
  Reader in(FromHex(hex));
  T read{};
  in.stream.Read("Key", read);
  EXPECT_EQ(value, read) << hex;
  EXPECT_FALSE(in.stream.IsOverrun());
}

struct Thrower : Serializable {
  void Deserialize(DeSerializer*) override { throw 1; }
};

template <typename T>
struct TestFactory : ClassFactory {
  TestFactory(int classID, bool isShared)
      : ClassFactory(static_cast<eClassID_t>(classID)), shared(isShared) {
    Register(this);
  }
  Serializable* Create() override { return shared ? &prototype : new T; }
  bool IsShared() override { return shared; }

  const bool shared;
  T prototype;
};

class StreamTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ClassFactory::InitFactories();
    new TestFactory<Thrower>(201, false);
    new TestFactory<Thrower>(202, true);
  }
};

TEST_F(StreamTest, CarriesEveryTypeInItsBytes) {
  ExpectBytes(static_cast<unsigned char>(0xab), "ab");
  ExpectBytes(-2L, "fffffffe");
  ExpectBytes(0x12345678L, "12345678");
  ExpectBytes(true, "0000beef");
  ExpectBytes(false, "0000dead");
  ExpectBytes(0x89abcdefU, "89abcdef");
  ExpectBytes(-0x7fffffff, "80000001");
  ExpectBytes(std::string("a\xc3\xa4"), "61c3a400");
  ExpectBytes(std::string(), "00");
  bool flag = true;
  Reader(FromHex("00000001")).stream.Read("Flag", flag);
  EXPECT_FALSE(flag) << "only one word is true";
  Serializable* const none = nullptr;
  EXPECT_THAT(Written([&](Serializer& s) { s.Write("Object", none); }), IsEmpty());

  char block[] = {1, 0, 2};
  EXPECT_EQ("00000003010002", Hex(Written([&](Serializer& s) { s.Write("Block", block, 3); })));
  EXPECT_EQ("00000000", Hex(Written([&](Serializer& s) { s.Write("Block", nullptr, 0); })));
  ClassFactoryHeader header{eClassID_PackageHeader};
  EXPECT_EQ("0000000e", Hex(Written([&](Serializer& s) { s.Write(header); })));

  MemorySerializer serializer(eSerializationFormat_Queue, nullptr, nullptr, false);
  IntegerValue number;
  EXPECT_EQ(20U, MemorySerializerSizer::GetSize(&number, &serializer));
  EXPECT_EQ(0U, MemorySerializerSizer::GetSize(nullptr, &serializer));
}

TEST_F(StreamTest, WritesObjectsBehindTheirClass) {
  const Golden golden;
  IntegerValue number(static_cast<eConfigID_t>(2), eParamID_IPConfig, eParamType_Enum, 0xfffffff0);
  EXPECT_EQ(Hex(golden.GetObject("Number")), Hex(WrittenObject(number)));
  StringValue text(static_cast<eConfigID_t>(-1), eParamID_SysName, eParamType_String, "abc");
  EXPECT_EQ(Hex(golden.GetObject("Text")), Hex(WrittenObject(text)));
}

// The one place where objects are cut and damaged: all that the golden file has.
TEST_F(StreamTest, ReadsEachGoldenObjectAndNoneThatIsCut) {
  const Golden golden;
  for (const std::string& name : golden.GetObjectNames()) {
    SCOPED_TRACE(name);
    const Bytes bytes = golden.GetObject(name);
    CaptureStderr();
    Reader in(bytes);
    const auto object = in.ReadObject();
    Reader again(bytes);
    const auto owned = again.stream.ReadOwned();
    ASSERT_TRUE(object != nullptr && owned != nullptr);
    EXPECT_EQ(Hex(bytes), Hex(WrittenObject(*object)));
    EXPECT_EQ(Hex(bytes), Hex(WrittenObject(*owned)));
    EXPECT_TRUE(in.stream.IsEndOfSector());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      Reader cut(bytes, length);
      const auto part = cut.stream.ReadOwned();
      // A list ends with its stream wherever an item ends.
      if (part != nullptr && part->GetClassID() == eClassID_Vector) continue;
      EXPECT_EQ(nullptr, part) << length;
      EXPECT_TRUE(cut.stream.IsOverrun()) << length;
    }
    GetCapturedStderr();
  }
}

// Whatever comes, a reader stays inside its bytes, and what it hands out is whole: written again,
// it takes no more than what was read.
TEST_F(StreamTest, StaysInsideItsBytesWhateverTheyAre) {
  std::mt19937 random(20240229);
  const auto below = [&random](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const Golden golden;
  CaptureStderr();
  for (const std::string& name : golden.GetObjectNames()) {
    for (int round = 0; round < 2000; ++round) {
      Bytes bytes = golden.GetObject(name);
      for (std::size_t wounds = 1 + below(4); wounds > 0; --wounds) {
        const auto where = bytes.begin() + static_cast<long>(below(bytes.size()));
        const char byte = static_cast<char>(random());
        const std::size_t wound = below(4);
        if (wound == 0) *where = byte;
        if (wound == 1) *where = static_cast<char>(*where ^ 1 << below(8));
        if (wound == 2) bytes.insert(where, byte);
        if (wound == 3 && bytes.size() > 1) bytes.erase(where);
      }
      Reader in(bytes);
      const auto object = in.stream.ReadOwned();
      ASSERT_LE(0, in.Position());
      ASSERT_LE(in.Position(), static_cast<long>(bytes.size()));
      if (object == nullptr) continue;
      ASSERT_LE(WrittenObject(*object).size(), static_cast<std::size_t>(in.Position())) << name;
    }
  }
  GetCapturedStderr();
}

TEST_F(StreamTest, LeavesThePositionBeforeCharsAndLongs) {
  Reader in(FromHex("fffffff0aa"));
  for (int i = 0; i < 2; ++i) {
    unsigned char byte = 0;
    long number = 0;
    in.stream.Read("Byte", byte);
    in.stream.Read("Long", number);
    EXPECT_EQ(0xff, byte);
    EXPECT_EQ(-16L, number);
    EXPECT_EQ(0, in.Position());
  }
  in.stream.SetPos(in.stream.GetSectorStart() + 4);
  unsigned char byte = 0;
  in.stream.Read("Byte", byte);
  EXPECT_EQ(0xaa, byte);
}

TEST_F(StreamTest, ReadsBlocksIntoBuffersAndArrays) {
  const Bytes bytes = FromHex("00000004 61626364");
  char buffer[4] = {};
  unsigned int length = 77;

  Reader small(bytes);
  small.stream.Read("Block", buffer, 3, length);
  EXPECT_EQ(0U, length);
  EXPECT_EQ(4, small.Position()) << "the bytes of a refused block come next";
  EXPECT_FALSE(small.stream.IsOverrun());

  Reader fitting(bytes);
  fitting.stream.Read("Block", buffer, 4, length);
  EXPECT_EQ(4U, length);
  EXPECT_EQ("abcd", std::string(buffer, 4));

  Reader allocating(bytes);
  char* data = nullptr;
  length = 0;
  allocating.stream.Read("Block", data, length);
  ASSERT_EQ(4U, length);
  EXPECT_EQ("abcd", std::string(data, 4));
  delete[] data;

  char* const untouched = buffer;
  data = untouched;
  length = 77;
  Reader empty(FromHex("0000000000000000"));
  empty.stream.Read("Block", buffer, 4, length);
  EXPECT_EQ(77U, length) << "an empty block leaves a bounded read's length alone";
  empty.stream.Read("Block", data, length);
  EXPECT_EQ(0U, length);
  EXPECT_EQ(untouched, data);
}

// Reads a field whose whole bytes are given, and tells whether the target is as it was.
struct Field {
  const char* bytes;
  std::function<bool(MemoryDeSerializer&)> leavesTarget;
};

template <typename T>
std::function<bool(MemoryDeSerializer&)> Reading(T before) {
  return [before](MemoryDeSerializer& stream) {
    T target = before;
    stream.Read("Key", target);
    return target == before;
  };
}

std::vector<Field> Fields() {
  return {
      {"00", Reading<unsigned char>(7)},
      {"00000000", Reading(7L)},
      {"00000000", Reading(true)},
      {"00000000", Reading(7U)},
      {"00000000", Reading(7)},
      {"61626300", Reading<std::string>("before")},
      {"00000003616263",
       [](MemoryDeSerializer& stream) {
         char* data = nullptr;
         unsigned int length = 7;
         stream.Read("Key", data, length);
         const bool left = data == nullptr && length == 7;
         delete[] data;
         return left;
       }},
      {"00000003616263",
       [](MemoryDeSerializer& stream) {
         char buffer[3] = {'-', '-', '-'};
         unsigned int length = 7;
         stream.Read("Key", buffer, sizeof buffer, length);
         return std::string(buffer, 3) == "---" && length == 7;
       }},
      {"00000001",
       [](MemoryDeSerializer& stream) {
         ClassFactoryHeader header;
         stream.Read(header);
         return header.classID == eClassID_None;
       }},
  };
}

TEST_F(StreamTest, ReadsNothingFromAFieldThatIsCut) {
  for (const Field& field : Fields()) {
    const Bytes bytes = FromHex(field.bytes);
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
      SCOPED_TRACE(std::string(field.bytes) + ", " + std::to_string(length) + " bytes of it");
      Reader in(bytes, length);
      const bool cut = length < bytes.size();
      EXPECT_EQ(cut, field.leavesTarget(in.stream));
      EXPECT_EQ(cut, in.stream.IsOverrun());
      if (!cut) continue;
      EXPECT_TRUE(in.stream.IsEndOfSector());
      EXPECT_EQ(0, in.stream.Available());
      for (const Field& other : Fields()) EXPECT_TRUE(other.leavesTarget(in.stream));
      EXPECT_EQ(nullptr, in.ReadObject());
      in.stream.SetPos(in.stream.GetSectorStart());
      EXPECT_TRUE(in.stream.IsOverrun()) << "a new position does not make it whole";
    }
  }
}

TEST_F(StreamTest, AllocatesNothingForLengthsThatCannotBe) {
  for (const char* const length : {"ffffffff", "7fffffff", "80000000", "00000004"}) {
    Reader in(FromHex(std::string(length) + "616263"));
    char* data = nullptr;
    unsigned int size = 7;
    in.stream.Read("Block", data, size);
    EXPECT_EQ(nullptr, data) << length;
    EXPECT_EQ(7U, size) << length;
    EXPECT_TRUE(in.stream.IsOverrun()) << length;
  }
}

TEST_F(StreamTest, TrustsACallerWhoGivesNoEnd) {
  Bytes bytes = FromHex("00000005 616200 00000001 7a");
  MemoryDeSerializer stream(eSerializationFormat_Queue, bytes.data(), nullptr, false);
  unsigned int word = 0;
  std::string text;
  char* data = nullptr;
  stream.Read("Word", word);
  stream.Read("Text", text);
  stream.Read("Block", data, word);
  EXPECT_EQ("ab", text);
  ASSERT_EQ(1U, word);
  EXPECT_EQ('z', *data);
  EXPECT_FALSE(stream.IsOverrun());
  delete[] data;
}

TEST_F(StreamTest, FindsNothingInAnEmptyVector) {
  Bytes none;
  MemoryDeSerializer stream(eSerializationFormat_Queue, none.data(), none.data(), false);
  for (const Field& field : Fields()) EXPECT_TRUE(field.leavesTarget(stream)) << field.bytes;
  Serializable* object = nullptr;
  stream.Read("Object", object);
  EXPECT_EQ(nullptr, object);
  EXPECT_TRUE(stream.IsOverrun());
}

TEST_F(StreamTest, GivesNoObjectForAnUnknownClassOrAThrowingOne) {
  CaptureStderr();
  Reader unknown(FromHex("00000003 00000001"));
  EXPECT_EQ(nullptr, unknown.ReadObject());
  EXPECT_EQ(
      "Unable to find class factory for classID = 3\n"
      "pValue == NULL after ClassFactory::Create() for classID = 3\n",
      GetCapturedStderr());
  EXPECT_EQ(4, unknown.Position());
  EXPECT_FALSE(unknown.stream.IsOverrun());

  Reader thrower(FromHex("000000c9"));
  EXPECT_EQ(nullptr, thrower.ReadObject());
  for (int i = 0; i < 2; ++i) {
    Reader shared(FromHex("000000ca"));
    EXPECT_EQ(nullptr, shared.ReadObject()) << "and the prototype lives on";
  }
}

TEST_F(StreamTest, RefusesObjectsNestedDeeperThanItsLimit) {
  auto nested = std::make_unique<Vector>();
  for (int depth = 2; depth <= 17; ++depth) {
    auto outer = std::make_unique<Vector>();
    outer->Add(nested.release());
    nested = std::move(outer);
    CaptureStderr();
    Reader in(WrittenObject(*nested));
    in.ReadObject();
    GetCapturedStderr();
    EXPECT_EQ(depth > 16, in.stream.IsOverrun()) << depth;
  }
}

}  // namespace
