// The identifier types that every part of the library shares. All are 32 bits wide wherever they
// are stored or sent.
#pragma once

#include <cstdint>

// One configuration parameter. From the most significant byte down: group number, menu sub-number,
// zero for a top-level entry, and a byte that tells parameters of one menu entry apart. The
// enumerators are in libconfig/descriptors/ParamIDs.h.
enum eParam_t : uint32_t;

// The kind of value a parameter holds. Do not renumber: the numbers are part of serialized values.
enum eParamType_t : int32_t {
  eParamType_Unknown = 0,
  eParamType_Integer = 1,
  eParamType_Enum = 3,
  eParamType_String = 12,
};

// One configuration, that is one instance of the store. Number 0 is the device's own.
enum eConfigID_t : int32_t {
  eConfigID_Default = 0,
};

// A class of serializable objects. Do not renumber: the numbers are part of every stream.
enum eClassID_t : int32_t {
  eClassID_IntegerValue = 0,
  eClassID_StringValue = 1,
  eClassID_SectorHeader = 6,
  eClassID_Checkpoint = 7,
  eClassID_Presets = 8,
  eClassID_Vector = 9,
  eClassID_PackageHeader = 14,
  eClassID_None = 15,  // no class: what a default constructed object bears until it is given one
};

// Names a stream's layout to its reader. The memory streams carry the format along and write the
// same bytes for each. Do not renumber.
enum eSerializationFormat : uint32_t {
  eSerializationFormat_Queue = 2560,    // streams on message queues
  eSerializationFormat_Network = 3072,  // streams on TCP and UDP
};
