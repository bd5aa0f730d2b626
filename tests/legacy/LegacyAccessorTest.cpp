// The accessor of older client code.
#include <sched.h>

#include <cstdio>
#include <cstdlib>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/legacy/CIsEncodeType.h"
#include "libconfig/legacy/CParam_QX4.h"
#include "libconfig/mapping/GetMappingConfig.h"
#include "tests/testing/FakeConfig.h"
#include "tests/testing/Names.h"

namespace {

constexpr auto kUnknown = static_cast<eParam_t>(0x01020304);

}  // namespace

TEST(LegacyAccessor, EndsTheProcessWhenThereIsNoService) {
  // In a network of its own, so that it does not matter who serves on this machine.
  constexpr int kCannot = 77;
  const auto construct = [] {
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      std::fprintf(stderr, "no network namespace");
      std::_Exit(kCannot);
    }
    const CParam_QX4 param(eParamID_IPConfig, eParamType_Enum);
  };
  bool skipped = false;
  const auto ended = [&](int status) {
    skipped = testing::ExitedWithCode(kCannot)(status);
    return skipped || testing::ExitedWithCode(1)(status);
  };
  ConfigFactoryImpl::GetInstance();
  EXPECT_EXIT(construct(), ended, "CParam_QX4::CParam_QX4 Connect failed\n|no network namespace");
  if (skipped) GTEST_SKIP() << "may not make a network namespace here";
}

TEST(LegacyAccessor, HasNothingToSayWithoutAConfiguration) {
  const CParam_QX4 param(eParamID_IPConfig, eParamType_Enum, nullptr);
  EXPECT_EQ(eParamID_IPConfig, param.GetParamID());
  EXPECT_EQ(eParamID_IPConfig, param.GetParamEnum());
  EXPECT_EQ(eParamType_Enum, param.CParam::GetParamType());
  EXPECT_EQ(nullptr, CParam_QX4::GetParamDescriptor(eParamID_IPConfig));
  EXPECT_EQ("BOGUS", CParam_QX4::GetParamName(eParamID_IPConfig));
  EXPECT_EQ("BOGUS", CParam_QX4::GetParamEnumName(eParamID_IPConfig, 1));
  EXPECT_EQ("BOGUS", CParam_QX4::ToString(eParamID_IPConfig));
  EXPECT_EQ(0U, CParam_QX4::GetFactoryValue(eParamID_WiFiIPConfig));
  CaptureStderr();
  EXPECT_EQ(0, CParam_QX4::GetParamType(eParamID_IPConfig));
  EXPECT_EQ("Bogus descriptor for paramID 32010000\n", GetCapturedStderr());
}

TEST(LegacyAccessor, AnswersThroughAMappedConfiguration) {
  const std::unique_ptr<Config> config(GetMappingConfig("local:configid=900", false, true));
  ASSERT_NE(nullptr, config);
  const CParam_QX4 param(eParamID_IPConfig, eParamType_Enum, config.get());
  EXPECT_EQ("DHCP", CParam_QX4::GetParamEnumName(eParamID_IPConfig, 1));
  EXPECT_EQ("Invalid", CParam_QX4::GetParamEnumName(eParamID_IPConfig, 9));
  EXPECT_EQ("BOGUS", CParam_QX4::GetParamEnumName(eParamID_SysName, 1));
  EXPECT_EQ("54.2.0", CParam_QX4::GetParamNumber(eParamID_WiFiIPAddress));
  EXPECT_EQ("50.2.3", CParam_QX4::GetParamNumber(eParamID_IPAddress_3));
  EXPECT_EQ(eParamType_Enum, param.GetParamType(eParamID_IPConfig));
  EXPECT_EQ(1U, CParam_QX4::GetFactoryValue(eParamID_WiFiIPConfig));
  EXPECT_EQ(0U, CParam_QX4::GetFactoryValue(eParamID_SysName));

  config->Set(eParamID_IPConfig, 2U);
  config->Set(eParamID_IPAddress, 0x0A000001U);
  config->Set(eParamID_SysName, std::string("Edit %d 7"));
  config->Set(eParamID_Alarm, 0x80000001U);  // not validated, and no name of its own
  EXPECT_EQ("Static Addr", CParam_QX4::ToString(eParamID_IPConfig));
  EXPECT_EQ("167772161", CParam_QX4::ToString(eParamID_IPAddress));
  EXPECT_EQ("Current Address", CParam_QX4::GetParamName(eParamID_IPAddress));
  EXPECT_EQ("Edit %d 7", CParam_QX4::ToString(eParamID_SysName));
  EXPECT_EQ("(-2147483647)", CParam_QX4::ToString(eParamID_Alarm));

  // A placeholder has no kind.
  EXPECT_EQ("1.2.3.4", CParam_QX4::GetParamName(kUnknown));
  EXPECT_EQ("BOGUS", CParam_QX4::GetParamEnumName(kUnknown, 0));
  EXPECT_EQ(0, CParam_QX4::GetParamType(kUnknown));
  EXPECT_EQ(0U, CParam_QX4::GetFactoryValue(kUnknown));
  EXPECT_EQ("", CParam_QX4::ToString(kUnknown));
  EXPECT_EQ(CParam_QX4::GetParamDescriptor(kUnknown), CParam_QX4::GetParamDescriptor(kUnknown))
      << "one for all who ask";
  const CParam_QX4 last(eParamID_IPConfig, eParamType_Enum, nullptr);
}

TEST(LegacyAccessor, AsksTheConfigurationInForce) {
  ParamDescriptor one, other;
  FakeConfig second;
  {
    FakeConfig first;
    first.descriptors[kUnknown] = &one;
    const CParam_QX4 param(kUnknown, eParamType_Enum, &first);
    EXPECT_EQ(&one, CParam_QX4::GetParamDescriptor(kUnknown));
  }
  second.descriptors[kUnknown] = &other;
  CParam_QX4::_pConfigAccess = &second;
  EXPECT_EQ(&other, CParam_QX4::GetParamDescriptor(kUnknown));
  CParam_QX4::_pConfigAccess = nullptr;
}

TEST(LegacyAccessor, TellsTheClassesOfItsTypes) {
  CaptureStderr();
  EXPECT_EQ(0, CParam_QX4::GetClassID(eParamType_Enum));
  EXPECT_EQ(1, CParam_QX4::GetClassID(static_cast<eParamType_t>(10)));
  EXPECT_EQ(-1, CParam_QX4::GetClassID(static_cast<eParamType_t>(9)));
  EXPECT_EQ("Unable to find classID for paramType 9\n", GetCapturedStderr());
}

TEST(EncodeTypes, DifferOnlyBetweenTheTwoFamilies) {
  const std::string families = "PPP-PDDD-";  // by type, from 0
  for (unsigned i = 0; i < families.size(); ++i) {
    EXPECT_EQ(families[i] == 'P', CIsEncodeType::isEncodeTypeProRes422(i)) << i;
    EXPECT_EQ(families[i] == 'D', CIsEncodeType::isEncodeTypeDNxHD(i)) << i;
    EXPECT_EQ(families[i] == 'D', CIsEncodeType::areEncodeTypesDifferentCodecs(0, i)) << i;
    EXPECT_EQ(families[i] == 'P', CIsEncodeType::areEncodeTypesDifferentCodecs(i, 5)) << i;
  }
}
