// Stored records and containers: their bytes, and what they hold after a stream.
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "libconfig/serialization/MemorySerializer.h"
#include "libconfig/serialization/MemorySerializerSizer.h"
#include "libconfig/values/IntegerValue.h"
#include "libconfig/values/PackageHeader.h"
#include "libconfig/values/PresetsParamVector.h"
#include "libconfig/values/RecordFactories.h"
#include "libconfig/values/SectorHeader.h"
#include "libconfig/values/StringValue.h"
#include "libconfig/values/ValueStream.h"
#include "libconfig/values/Vector.h"
#include "tests/testing/Golden.h"
#include "tests/testing/Names.h"

namespace {

using qel::config::DecodeObject;
using qel::config::values::PresetsFactory;
using qel::config::values::PresetsParamVector;
using qel::config::values::Vector;
using Object = std::unique_ptr<Serializable>;

constexpr auto kFormat = eSerializationFormat_Queue;

Bytes Written(Serializable& object) {
  MemorySerializer serializer(kFormat, nullptr, nullptr, false);
  Bytes bytes(MemorySerializerSizer::GetSize(&object, &serializer));
  serializer.SetPos(bytes.data());
  serializer.Write("Object", &object);
  return bytes;
}

// The object in these bytes; what the library says about it is kept from the terminal.
Object Read(Bytes bytes) {
  CaptureStderr();
  Object object = DecodeObject(bytes.data(), static_cast<unsigned int>(bytes.size()), kFormat);
  GetCapturedStderr();
  return object;
}

// Each is an object of the golden file.
struct Sample {
  const char* name;
  std::function<Object()> make;
};

const Sample kSamples[] = {
    {"SectorHeader", [] { return Object(SectorHeader::Create(7, 0x01020304, 300)); }},
    {"Checkpoint", [] { return std::make_unique<Checkpoint>(); }},
    {"CheckpointOfAConfiguration",
     [] {
       auto checkpoint = std::make_unique<Checkpoint>(static_cast<eConfigID_t>(3));
       checkpoint->SetOffset(28);
       return checkpoint;
     }},
    {"PackageHeader", [] { return std::make_unique<PackageHeader>(); }},
    {"Vector",
     [] {
       auto vector = std::make_unique<Vector>();
       vector->Add(IntegerValue::Create(eParamID_IPConfig, eParamType_Enum, 2));
       vector->Add(StringValue::Create(eParamID_SysName, eParamType_String, "abc"));
       vector->Add(SectorHeader::Create(1, 2, 3));
       vector->Add(new Vector);
       return vector;
     }},
    {"Presets",
     [] {
       // Only a stream gives it data without a file.
       char bytes[] = {0, 0, 0, 8, 0, 0, 0, 3, 'A', 0, 0, 0, 0, 3, 1, 0, 2};
       return DecodeObject(bytes, sizeof bytes, kFormat);
     }},
};

}  // namespace

TEST(Records, TravelInTheirBytes) {
  const Golden golden;
  for (const Sample& sample : kSamples) {
    const Object object = sample.make();
    ASSERT_NE(nullptr, object);
    EXPECT_EQ(Hex(golden.GetObject(sample.name)), Hex(Written(*object))) << sample.name;
  }
}

TEST(Records, CompareByWhatTheyAre) {
  SectorHeader header(1, 2, 3);
  SectorHeader same(1, 2, 3);
  same.SetDirty(true);
  EXPECT_TRUE(header.IsEqual(&same));
  SectorHeader others[] = {{0, 2, 3}, {1, 0, 3}, {1, 2, 0}};
  for (SectorHeader& other : others) EXPECT_FALSE(header.IsEqual(&other));
  Vector vector, empty;
  EXPECT_TRUE(vector.IsEqual(&empty));
  vector.Add(new Checkpoint);
  EXPECT_FALSE(vector.IsEqual(&empty));
  PresetsParamVector presets, other;
  EXPECT_TRUE(presets.IsEqual(&other));
  other.SetName("Studio 2");
  EXPECT_FALSE(presets.IsEqual(&other));
  Checkpoint impostor;
  impostor.SetClassID(eClassID_SectorHeader);
  EXPECT_FALSE(header.IsEqual(&impostor) || vector.IsEqual(&impostor) ||
               presets.IsEqual(&impostor) || header.IsEqual(nullptr));
}

TEST(Records, DescribeAPackage) {
  EXPECT_EQ(
      "class=PackageHeader, _packageHeaderVersion=0x1001, _productID=FFFFFFFF, _fileSize=0x0.",
      PackageHeader().ToString());
}

TEST(Vector, HoldsWhatCanBeRead) {
  for (const char* const bytes : {
           "00000009 7fffffff 00000007 00000000 00000000",  // two billion items, and there is one
           "00000009 00000002 00000005 00000009 00000000",  // one of no class, and an empty list
       }) {
    const Object read = Read(FromHex(bytes));
    ASSERT_NE(nullptr, read) << bytes;
    EXPECT_EQ(1U, dynamic_cast<Vector&>(*read).GetItems().size()) << bytes;
  }
}

TEST(Factories, SayWhatTheyMakeAndRefuseWhatTheyDoNotKnow) {
  CaptureStderr();
  const Object vector(ClassFactory::Create(eClassID_Vector));
  const Object package(ClassFactory::Create(eClassID_PackageHeader));
  EXPECT_EQ(
      "VectorFactory::Create - return new Vector()\n"
      "PackageHeaderFactory::Create - return new Vector()\n",
      GetCapturedStderr());
  EXPECT_EQ(ClassFactory::Create(eClassID_SectorHeader),
            ClassFactory::Create(eClassID_SectorHeader));
  // In a process of its own, as a registered factory stays.
  EXPECT_EXIT(
      {
        new PresetsFactory(static_cast<qel::config::values::ePresetsPolicy>(2));
        std::_Exit(ClassFactory::Create(eClassID_Presets) == nullptr ? 0 : 1);
      },
      ::testing::ExitedWithCode(0),
      "PresetsFactory::Create - unknown policy 2, unable to create Presets instance\n");
}
