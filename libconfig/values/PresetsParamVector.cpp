#include "libconfig/values/PresetsParamVector.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/FileIO.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/DeSerializer.h"
#include "libconfig/serialization/Serializer.h"

namespace qel::config::values {

Presets::Presets(eClassID_t classID) : Serializable(classID) {}

Presets::~Presets() = default;

bool Presets::IsEqual(Serializable* other) {
  const auto* const presets = dynamic_cast<Presets*>(other);
  return presets != nullptr && presets->_name == _name && presets->_registerID == _registerID;
}

void Presets::Serialize(Serializer* serializer) {
  serializer->Write("RegisterID", _registerID);
  serializer->Write("Name", _name);
}

void Presets::Deserialize(DeSerializer* deserializer) {
  deserializer->Read("RegisterID", _registerID);
  deserializer->Read("Name", _name);
}

PresetsParamVector::PresetsParamVector() : Presets(eClassID_Presets) {}

PresetsParamVector::~PresetsParamVector() { FreeData(); }

void PresetsParamVector::FreeData() {
  delete[] _data;
  _data = nullptr;
  _length = 0;
}

bool PresetsParamVector::IsEqual(Serializable* other) { return Presets::IsEqual(other); }

void PresetsParamVector::Serialize(Serializer* serializer) {
  Presets::Serialize(serializer);
  serializer->Write("PresetsFile", _data, _length);
}

void PresetsParamVector::Deserialize(DeSerializer* deserializer) {
  Presets::Deserialize(deserializer);
  FreeData();
  deserializer->Read("PresetsFile", _data, _length);
}

char* PresetsParamVector::GetData(unsigned int& length) {
  length = _length;
  return _data;
}

std::string PresetsParamVector::GetPath(eConfigID_t reg) {
  return "/var/tmp/preset_" + std::to_string(static_cast<unsigned int>(reg)) + ".bin";
}

bool PresetsParamVector::Spill(const std::string& path) {
  const FileDescriptor file(CreateInPlaceOfOwn(path.c_str(), O_RDWR, 0));
  if (file.Get() < 0) {
    ReportErrno("open failed");
    Report("File::write_file - open %s failed\n", path.c_str());
    return false;
  }
  if (WriteWhole(file.Get(), _data, _length)) return true;
  const int error = errno;
  Report("File::write_file - write failed to write enough data\n");
  ::unlink(path.c_str());
  errno = error;
  return false;
}

bool PresetsParamVector::Slurp(std::string path) {
  const FileDescriptor file(OpenRegular(path.c_str(), O_RDONLY));
  if (file.Get() < 0) {
    ReportErrno("open failed");
    Report("PresetsParamVector::Slurp - open %s failed\n", path.c_str());
    return false;
  }
  FreeData();
  struct stat status;
  if (::fstat(file.Get(), &status) != 0) {
    Report("PresetsParamVector::Slurp - fstat failed\n");
    return false;
  }
  const auto size = static_cast<unsigned long long>(status.st_size);
  if (size == 0) return true;
  if (size <= limits::kPresetFile) _data = new (std::nothrow) char[size]();
  if (_data == nullptr) {
    Report("PresetsParamVector::Slurp - new failed\n");
    return false;
  }
  _length = static_cast<unsigned int>(size);
  if (!ReadWhole(file.Get(), _data, _length)) {
    FreeData();
    Report("PresetsParamVector::Slurp - read failed to read enough data\n");
    return false;
  }
  return true;
}

}  // namespace qel::config::values
