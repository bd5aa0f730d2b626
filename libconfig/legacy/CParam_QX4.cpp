#include "libconfig/legacy/CParam_QX4.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <memory>

#include "libconfig/access/ConfigFactoryImpl.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Mutex.h"
#include "libconfig/descriptors/Catalogue.h"
#include "libconfig/descriptors/EnumDescriptor.h"
#include "libconfig/descriptors/StringDescriptor.h"
#include "libconfig/mapping/GetMappingConfig.h"

using qel::config::Mutex;
using qel::config::MutexLock;
using qel::config::Report;
using qel::vorlane::config::access::MappingConfig;

namespace {

constexpr char kBogus[] = "BOGUS";

struct TypeClass {
  int type;
  eClassID_t classID;
};

constexpr TypeClass kTypeClassMapping[] = {
    {0, eClassID_IntegerValue},  {1, eClassID_IntegerValue}, {3, eClassID_IntegerValue},
    {4, eClassID_IntegerValue},  {5, eClassID_IntegerValue}, {6, eClassID_IntegerValue},
    {7, eClassID_IntegerValue},  {8, eClassID_IntegerValue}, {10, eClassID_IntegerValue},
    {11, eClassID_IntegerValue}, {12, eClassID_StringValue}, {0, eClassID_IntegerValue},
    {0, eClassID_IntegerValue},  // not searched, but read for type 12
};
constexpr int kSearchedRows = 12;
static_assert(std::size(kTypeClassMapping) == kSearchedRows + 1);

// Held while the first object connects. Never destroyed, as objects may be static.
Mutex& ConnectMutex() {
  static auto* const mutex = new Mutex;
  return *mutex;
}

// A mapped configuration answers each question about a parameter that is not in the catalogue with
// a new placeholder. One for each parameter is kept, and given to all who ask.
class Placeholders {
 public:
  static Placeholders& Instance() {
    static auto* const instance = new Placeholders;
    return *instance;
  }

  ParamDescriptor* Keep(std::unique_ptr<ParamDescriptor> placeholder) {
    MutexLock lock(_mutex);
    std::unique_ptr<ParamDescriptor>& kept = _kept[placeholder->GetParamID()];
    if (kept == nullptr) kept = std::move(placeholder);
    return kept.get();
  }

 private:
  Mutex _mutex;
  std::map<eParam_t, std::unique_ptr<ParamDescriptor>> _kept LIBCONFIG_GUARDED_BY(_mutex);
};

}  // namespace

CParam::~CParam() = default;

eParam_t CParam::GetParamID() const { return _paramID; }

eParamType_t CParam::GetParamType() const { return _paramType; }

eParam_t CParam::GetParamEnum() const { return _paramID; }

bool CParam::ShowWhenDisabled() const { return false; }

Config* CParam_QX4::_pConfigAccess = nullptr;

namespace {

// Threads may ask while the first object connects.
Config* InForce() { return __atomic_load_n(&CParam_QX4::_pConfigAccess, __ATOMIC_ACQUIRE); }

void PutInForce(Config* config) {
  __atomic_store_n(&CParam_QX4::_pConfigAccess, config, __ATOMIC_RELEASE);
}

}  // namespace

CParam_QX4::CParam_QX4(eParam_t id, eParamType_t type) : CParam(id, type) {
  {
    MutexLock lock(ConnectMutex());
    if (InForce() == nullptr) PutInForce(GetMappingConfig("udp", false, true));
    if (InForce() != nullptr) return;
  }
  Report("CParam_QX4::CParam_QX4 Connect failed\n");
  ConfigFactoryImpl::GetInstance()->Disconnect(nullptr);
  std::exit(1);
}

CParam_QX4::CParam_QX4(eParam_t id, eParamType_t type, Config* config) : CParam(id, type) {
  MutexLock lock(ConnectMutex());
  PutInForce(config);
}

CParam_QX4::~CParam_QX4() = default;

ParamDescriptor* CParam_QX4::GetParamDescriptor(eParam_t id) {
  Config* const config = InForce();
  if (config == nullptr) return nullptr;
  ParamDescriptor* const answer = config->GetParamDescriptor(id);
  if (answer == nullptr || IsValidParamID(answer->GetParamID()) ||
      dynamic_cast<MappingConfig*>(config) == nullptr) {
    return answer;
  }
  return Placeholders::Instance().Keep(std::unique_ptr<ParamDescriptor>(answer));
}

std::string CParam_QX4::GetParamName(eParam_t id) {
  const ParamDescriptor* const descriptor = GetParamDescriptor(id);
  return descriptor == nullptr ? kBogus : descriptor->GetName();
}

std::string CParam_QX4::GetParamEnumName(eParam_t id, unsigned int value) {
  const auto* const descriptor = dynamic_cast<const EnumDescriptor*>(GetParamDescriptor(id));
  return descriptor == nullptr ? kBogus : descriptor->GetEnumValueDescriptor(value).name;
}

std::string CParam_QX4::GetParamNumber(eParam_t id) {
  char number[16];
  std::snprintf(number, sizeof number, "%u.%u.%u", id >> 24 & 0xff, id >> 16 & 0xff,
                id >> 8 & 0xff);
  return number;
}

eParamType_t CParam_QX4::GetParamType(eParam_t id) {
  const ParamDescriptor* const descriptor = GetParamDescriptor(id);
  if (descriptor == nullptr) {
    Report("Bogus descriptor for paramID %0X\n", static_cast<unsigned>(id));
    return eParamType_Unknown;
  }
  return descriptor->GetParamType();
}

unsigned int CParam_QX4::GetFactoryValue(eParam_t id) {
  const auto* const descriptor = dynamic_cast<const IntegerDescriptor*>(GetParamDescriptor(id));
  return descriptor == nullptr ? 0 : descriptor->GetFactoryDefault();
}

std::string CParam_QX4::ToString(eParam_t id) {
  Config* const config = InForce();
  if (config == nullptr) return kBogus;
  const ParamDescriptor* const descriptor = GetParamDescriptor(id);
  if (descriptor == nullptr) return kBogus;
  if (dynamic_cast<const StringDescriptor*>(descriptor) != nullptr) {
    std::string text;
    return config->Get(id, text) != 0 ? text : kBogus;
  }
  if (dynamic_cast<const IntegerDescriptor*>(descriptor) == nullptr) return {};
  unsigned int value;
  if (config->Get(id, value) == 0) return kBogus;
  const auto* const choices = dynamic_cast<const EnumDescriptor*>(descriptor);
  if (choices != nullptr && choices->HasValue(value)) {
    return choices->GetEnumValueDescriptor(value).name;
  }
  char number[16];
  if (choices != nullptr) {
    std::snprintf(number, sizeof number, "(%d)", static_cast<int>(value));
  } else {
    std::snprintf(number, sizeof number, "%u", value);
  }
  return number;
}

eClassID_t CParam_QX4::GetClassID(eParamType_t type) {
  for (int row = 0; row < kSearchedRows; ++row) {
    // The row with the type's number, not the one that was found: older code stores what it was
    // told.
    if (kTypeClassMapping[row].type == type) return kTypeClassMapping[type].classID;
  }
  Report("Unable to find classID for paramType %d\n", static_cast<int>(type));
  return static_cast<eClassID_t>(-1);
}
