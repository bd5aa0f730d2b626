// Presets whose contents are a block of bytes that only the device's application understands. The
// block moves between a client and the application through a temporary file on their common host,
// and four register parameters say what is to be done and how it went. Serialized, behind its class
// header: what Presets writes, then the block.
//
//   PresetsParamVector presets;
//   if (presets.Load(static_cast<eConfigID_t>(3), config)) Keep(presets);  // register 3
//
// Store creates the temporary file without any permission bits, so that nobody but root can read
// it: the application has to run as root to take in what a client stores. Load needs the permission
// to read and remove the file that the application wrote.
//
// One thread at a time. Store and Load block the calling thread for up to 30 seconds, and only
// borrow the configuration.
#pragma once

#include <string>
#include <vector>

#include "libconfig/descriptors/ParamIDs.h"
#include "libconfig/values/Presets.h"

namespace qel::config::values {

class LIBCONFIG_API PresetsParamVector : public Presets {
 public:
  PresetsParamVector();

  ~PresetsParamVector() override;
  bool IsEqual(Serializable* other) override;
  void Serialize(Serializer* serializer) override;
  // Drops the former data, whether or not the stream holds a block.
  void Deserialize(DeSerializer* deserializer) override;
  // False, with a message, when the application does not answer that it is done, and when the file
  // cannot be read; there are then no data, or those from before the call.
  bool Load(eConfigID_t reg, Config* config) override;
  // False, with a message, when there are no data, the file cannot be written, or the application
  // does not answer that it is done. The file is removed, unless `config` is null.
  bool Store(eConfigID_t reg, Config* config) override;

  // The block, which stays this object's, and its length in bytes; null and 0 when there is none.
  char* GetData(unsigned int& length);

  // Takes the contents of a regular file, at most 64 MiB, for the data; an empty file is no data.
  // False, with a message, when it cannot be read whole; there are then no data, or, when it could
  // not even be opened, those from before the call.
  bool Slurp(std::string path);

  // Reads `param` every 100 ms. True as soon as it holds one of `okStates`; false, with a message,
  // as soon as it holds one of `errorStates`, or when `timeoutMs` milliseconds have passed.
  bool WaitForStates(Config* config, eParam_t param, std::vector<unsigned int>& okStates,
                     std::vector<unsigned int>& errorStates, long timeoutMs);

  // The temporary file through which the contents of register `reg` move.
  static std::string GetPath(eConfigID_t reg);

 private:
  void FreeData();
  // Writes the data to a file without permission bits, or leaves none.
  bool Spill(const std::string& path);

  char* _data = nullptr;
  unsigned int _length = 0;
};

}  // namespace qel::config::values
