// A configuration whose every call a test can expect.
#pragma once

#include <gmock/gmock.h>

#include "libconfig/access/Config.h"

namespace testing_support {

class MockConfig : public Config {
 public:
  using Ids = std::vector<eParam_t>;
  using Descriptors = std::vector<ParamDescriptor*>;
  using Rule = qel::config::UpdatePrecondition;

  MOCK_METHOD(int, Set, (eParam_t, unsigned int), (override));
  MOCK_METHOD(unsigned int, Get, (eParam_t), (override));
  MOCK_METHOD(eConfigID_t, GetConfigID, (), (override));
  MOCK_METHOD(timeval, GetLastConfigUpdate, (), (override));
  MOCK_METHOD(ParamDescriptor*, GetParamDescriptor, (eParam_t), (override));
  MOCK_METHOD(ParamDescriptor*, GetParamDescriptor, (std::string), (override));
  MOCK_METHOD(Ids, GetParamIDs, (), (override));
  MOCK_METHOD(int, Get, (eParam_t, unsigned int&), (override));
  MOCK_METHOD(int, Set, (eParam_t, std::string), (override));
  MOCK_METHOD(int, Get, (eParam_t, std::string&), (override));
  MOCK_METHOD(Serializable*, GetSerializable, (eParam_t), (override));
  MOCK_METHOD(int, SetSerializable, (eParam_t, Serializable*), (override));
  MOCK_METHOD(int, GetData, (eParam_t, std::string&), (override));
  MOCK_METHOD(int, SetData, (eParam_t, std::string&), (override));
  MOCK_METHOD(int, AddConfigEventListener, (ConfigEventListener*), (override));
  MOCK_METHOD(int, AddConfigEventListener, (eParam_t, ConfigEventListener*), (override));
  MOCK_METHOD(int, AddConfigEventListener, (std::list<eParam_t>, ConfigEventListener*), (override));
  MOCK_METHOD(int, RemoveConfigEventListener, (ConfigEventListener*), (override));
  MOCK_METHOD(int, WaitForConfigEvent, (ConfigEvent&, long, long), (override));
  MOCK_METHOD(Descriptors, GetDescriptorsByClassName, (std::string), (override));
  MOCK_METHOD(int, Lock, (eParam_t, eParamLock_t), (override));
  MOCK_METHOD(int, Unlock, (eParam_t), (override));
  MOCK_METHOD(int, StartTransaction, (Ids, unsigned int&), (override));
  MOCK_METHOD(int, Commit, (unsigned int), (override));
  MOCK_METHOD(int, Rollback, (unsigned int), (override));
  MOCK_METHOD(int, AddUpdatePrecondition, (Rule*), (override));
  MOCK_METHOD(int, RemoveUpdatePrecondition, (Rule*), (override));
};

}  // namespace testing_support
