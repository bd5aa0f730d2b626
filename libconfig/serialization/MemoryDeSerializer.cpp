#include "libconfig/serialization/MemoryDeSerializer.h"

#include <cxxabi.h>

#include <cstdint>
#include <cstring>
#include <utility>

#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/serialization/ByteOrder.h"
#include "libconfig/serialization/Serializable.h"

using qel::config::Report;

MemoryDeSerializer::MemoryDeSerializer(eSerializationFormat format, char* start, char* end,
                                       bool flag)
    : DeSerializer(format), _position(start), _start(start), _end(end), _flag(flag) {
  (void)_flag;
}

MemoryDeSerializer::~MemoryDeSerializer() = default;

// Whether `count` bytes may be read at the position; if not, the stream is overrun.
bool MemoryDeSerializer::Take(unsigned int count) {
  // No bytes at all, as an empty vector has them, are not the same as bytes without an end.
  if (_end == nullptr && _position != nullptr) return true;
  if (_position <= _end && static_cast<size_t>(_end - _position) >= count) return true;
  MarkOverrun();
  return false;
}

void MemoryDeSerializer::MarkOverrun() {
  _overrun = true;
  if (_end != nullptr) _position = _end;
}

bool MemoryDeSerializer::ReadWord(unsigned int& value) {
  if (!Take(4)) return false;
  value = qel::config::LoadBigEndian(_position);
  _position += 4;
  return true;
}

void MemoryDeSerializer::Read(const char*, unsigned char& value) {
  if (Take(1)) value = static_cast<unsigned char>(*_position);
}

void MemoryDeSerializer::Read(const char*, long& value) {
  if (Take(4)) value = static_cast<int32_t>(qel::config::LoadBigEndian(_position));
}

void MemoryDeSerializer::Read(const char*, bool& value) {
  unsigned int word;
  if (ReadWord(word)) value = word == qel::config::kTrueWord;
}

void MemoryDeSerializer::Read(const char*, std::string& value) {
  if (!Take(1)) return;
  const size_t length = _end == nullptr
                            ? std::strlen(_position)
                            : ::strnlen(_position, static_cast<size_t>(_end - _position));
  if (!Take(static_cast<unsigned int>(length) + 1)) return;
  value.assign(_position, length);
  _position += length + 1;
}

void MemoryDeSerializer::Read(const char*, unsigned int& value) { ReadWord(value); }

void MemoryDeSerializer::Read(const char*, int& value) {
  unsigned int word;
  if (ReadWord(word)) value = static_cast<int>(word);
}

void MemoryDeSerializer::Read(const char*, Serializable*& object) {
  object = nullptr;
  eClassID_t classID;
  Serializable* const created = CreateNext(&ClassFactory::Create, classID);
  if (created == nullptr) return;
  if (Fill(*created)) {
    object = created;
  } else if (!ClassFactory::IsShared(classID)) {
    delete created;
  }
}

std::unique_ptr<Serializable> MemoryDeSerializer::ReadOwned() {
  eClassID_t classID;
  std::unique_ptr<Serializable> object(CreateNext(&ClassFactory::CreateOwned, classID));
  if (object != nullptr && !Fill(*object)) object.reset();
  return object;
}

// An object of the class that the stream names next, with its fields still to be read.
Serializable* MemoryDeSerializer::CreateNext(Serializable* (*create)(eClassID_t),
                                             eClassID_t& classID) {
  unsigned int word;
  if (!ReadWord(word)) return nullptr;
  if (_depth == qel::config::limits::kNesting) {
    MarkOverrun();
    return nullptr;
  }
  classID = static_cast<eClassID_t>(word);
  Serializable* const object = create(classID);
  if (object == nullptr) {
    Report("pValue == NULL after ClassFactory::Create() for classID = %d\n",
           static_cast<int>(classID));
  }
  return object;
}

// Reads the fields of `object`. False when they were not all there.
bool MemoryDeSerializer::Fill(Serializable& object) {
  const bool overrunBefore = std::exchange(_overrun, false);
  bool whole = false;
  ++_depth;
  try {
    object.Deserialize(this);
    whole = !_overrun;
  } catch (abi::__forced_unwind&) {
    throw;  // the thread is being cancelled
  } catch (...) {
  }
  --_depth;
  _overrun = _overrun || overrunBefore;
  return whole;
}

void MemoryDeSerializer::Read(const char*, char* buffer, unsigned int capacity,
                              unsigned int& length) {
  unsigned int size;
  if (!ReadWord(size)) return;
  if (size > capacity) {
    length = 0;
    return;
  }
  if (size == 0 || !Take(size)) return;
  std::memcpy(buffer, _position, size);
  _position += size;
  length = size;
}

void MemoryDeSerializer::Read(const char*, char*& data, unsigned int& length) {
  unsigned int size;
  if (!ReadWord(size)) return;
  if (size == 0) {
    length = 0;
    return;
  }
  if (!Take(size)) return;
  data = new char[size];
  std::memcpy(data, _position, size);
  _position += size;
  length = size;
}

int MemoryDeSerializer::Read(Serializable*&) { return 0; }

bool MemoryDeSerializer::IsEndOfStream() { return true; }

char* MemoryDeSerializer::GetPos() { return _position; }
void MemoryDeSerializer::SetPos(char* position) { _position = position; }
bool MemoryDeSerializer::IsEndOfSector() { return _position >= GetSectorEnd(); }
char* MemoryDeSerializer::GetSectorStart() { return _start; }
void MemoryDeSerializer::SetSectorStart(char* start) { _start = start; }
char* MemoryDeSerializer::GetSectorEnd() { return _end; }
void MemoryDeSerializer::SetSectorEnd(char* end) { _end = end; }
int MemoryDeSerializer::Available() { return static_cast<int>(GetSectorEnd() - GetPos()); }

void MemoryDeSerializer::Read(ClassFactoryHeader& header) {
  unsigned int word;
  if (ReadWord(word)) header.classID = static_cast<eClassID_t>(word);
}
