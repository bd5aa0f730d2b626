// The forms of text that parameters of several groups hold. Internal.
#pragma once

#include "libconfig/descriptors/groups/ParamRow.h"

namespace qel::config {

// SMPTE timecode; a semicolon before the frames marks drop frame. The highest rate has 60 frames.
constexpr ParamRow Timecode(ParamName param, const char* name, const char* shortName,
                            const char* factoryDefault = "00:00:00:00") {
  return Text(param, name, shortName, 11, 11, factoryDefault)
      .Pattern("^([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9][:;][0-5][0-9]$");
}

// A name that becomes part of a file's name. The characters are those that every computer reads
// from the media.
constexpr ParamRow FileName(ParamName param, const char* name, const char* shortName,
                            unsigned minLength, unsigned maxLength, const char* factoryDefault) {
  return Text(param, name, shortName, minLength, maxLength, factoryDefault)
      .Pattern("^[A-Za-z0-9 _.-]*$");
}

// A clip's name together with what is appended to it.
constexpr unsigned kMaxFileName = 64;

}  // namespace qel::config
