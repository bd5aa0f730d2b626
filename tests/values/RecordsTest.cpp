// Stored records and containers: their bytes, and what they hold after a stream.
#include <gmock/gmock.h>

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

namespace {

using qel::config::DecodeObject;
using qel::config::values::PresetsFactory;
using qel::config::values::PresetsParamVector;
using qel::config::values::Vector;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;
using Object = std::unique_ptr<Serializable>;
using testing_support::Bytes;
using testing_support::Golden;
using testing_support::Hex;

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
  for (const Sample& sample : kSamples) {
    SCOPED_TRACE(sample.name);
    const Object object = sample.make();
    ASSERT_NE(nullptr, object);
    const Bytes bytes = Written(*object);
    EXPECT_EQ(Hex(Golden().GetObject(sample.name)), Hex(bytes));
    const Object read = Read(bytes);
    ASSERT_NE(nullptr, read);
    EXPECT_EQ(object->GetClassID(), read->GetClassID());
    EXPECT_EQ(bytes, Written(*read));
  }
}

TEST(Records, CompareByWhatTheyAre) {
  SectorHeader header(1, 2, 3);
  SectorHeader same;
  same.SetDirty(true);
  for (const auto& change :
       {&SectorHeader::SetOdometer, &SectorHeader::SetConfigVersion, &SectorHeader::SetLength}) {
    EXPECT_FALSE(header.IsEqual(&same));
    (same.*change)(same.GetOdometer() == 0 ? 1 : same.GetConfigVersion() == 0 ? 2 : 3);
  }
  EXPECT_TRUE(header.IsEqual(&same));
  Checkpoint impostor;
  impostor.SetClassID(eClassID_SectorHeader);

  Vector vector;
  Vector empty;
  EXPECT_TRUE(vector.IsEqual(&empty));
  vector.Add(new Checkpoint);
  EXPECT_FALSE(vector.IsEqual(&empty));

  PresetsParamVector presets;
  PresetsParamVector other;
  EXPECT_TRUE(presets.IsEqual(&other));
  other.SetName("Studio 2");
  EXPECT_FALSE(presets.IsEqual(&other));
  for (Serializable* const stranger :
       {static_cast<Serializable*>(&impostor), static_cast<Serializable*>(nullptr)}) {
    EXPECT_FALSE(header.IsEqual(stranger));
    EXPECT_FALSE(vector.IsEqual(stranger));
    EXPECT_FALSE(presets.IsEqual(stranger));
  }
}

TEST(Records, DescribeAPackage) {
  qel::config::values::PackageHeader header;
  EXPECT_EQ(
      "class=PackageHeader, _packageHeaderVersion=0x1001, _productID=FFFFFFFF, _fileSize=0x0.",
      header.ToString());
}

TEST(Vector, EndsWithItsStreamWhateverItPromises) {
  // Two billion items, of which there is one.
  Bytes bytes = {0, 0, 0, 9, 127, '\xFF', '\xFF', '\xFF'};
  const Bytes item = Written(*std::make_unique<Checkpoint>());
  bytes.insert(bytes.end(), item.begin(), item.end());
  const Object read = Read(bytes);
  ASSERT_NE(nullptr, read);
  EXPECT_EQ(1U, dynamic_cast<Vector&>(*read).GetItems().size());
}

TEST(Vector, LeavesOutWhatItCannotRead) {
  const Bytes bytes = {0, 0, 0, 9, 0, 0, 0, 2, 0, 0, 0, 5, 0, 0, 0, 9, 0, 0, 0, 0};
  const Object read = Read(bytes);
  ASSERT_NE(nullptr, read);
  EXPECT_EQ(1U, dynamic_cast<Vector&>(*read).GetItems().size());
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
