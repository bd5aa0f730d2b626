#include "libconfig/serialization/Serializer.h"

Serializer::~Serializer() = default;

void Serializer::Write(ClassFactoryHeader& header) {
  Write("ClassID", static_cast<unsigned int>(header.classID));
}

void Serializer::Wrote(unsigned int count) { _byteCount += count; }
