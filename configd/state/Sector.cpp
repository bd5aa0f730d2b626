#include "configd/state/Sector.h"

#include <boost/crc.hpp>

namespace {

using qel::config::values::Vector;

constexpr auto kFormat = eSerializationFormat_Queue;
constexpr unsigned int kVersion = 1;
constexpr unsigned int kHeaderSize = 16;
constexpr unsigned int kOdometerOffset = 4;
constexpr unsigned int kCheckpointSize = 12;
constexpr unsigned int kChecksumSize = 4;

unsigned int ChecksumOf(const char* data, std::size_t size) {
  boost::crc_32_type checksum;
  checksum.process_bytes(data, size);
  return checksum.checksum();
}

void WriteAt(std::vector<char>& bytes, std::size_t offset, unsigned int word) {
  MemorySerializer stream(kFormat, bytes.data() + offset, bytes.data() + bytes.size(), false);
  stream.Write("Word", word);
}

void Seal(std::vector<char>& bytes) {
  const std::size_t covered = bytes.size() - kChecksumSize;
  WriteAt(bytes, covered, ChecksumOf(bytes.data(), covered));
}

// Reads one record of a class that is known beforehand, without asking the factories.
template <typename Record>
bool ReadRecord(MemoryDeSerializer& stream, Record& record) {
  ClassFactoryHeader header;
  stream.Read(header);
  if (header.classID != record.GetClassID()) return false;
  record.Deserialize(&stream);
  return !stream.IsOverrun();
}

}  // namespace

std::vector<char> EncodeSector(Sector sector) {
  Vector vector;
  for (auto& value : sector.values) vector.Add(value.release());
  Checkpoint checkpoint(sector.configID);
  checkpoint.SetOffset(kHeaderSize + kCheckpointSize);
  MemorySerializer stream(kFormat, nullptr, nullptr, false);
  const unsigned int length = kCheckpointSize + MemorySerializerSizer::GetSize(&vector, &stream);
  SectorHeader header(sector.odometer, kVersion, length);
  std::vector<char> bytes(kHeaderSize + length + kChecksumSize);
  stream.SetPos(bytes.data());
  stream.Write("Header", &header);
  stream.Write("Checkpoint", &checkpoint);
  stream.Write("Values", &vector);
  Seal(bytes);
  return bytes;
}

void SetOdometer(std::vector<char>& bytes, unsigned int odometer) {
  WriteAt(bytes, kOdometerOffset, odometer);
  Seal(bytes);
}

std::optional<Sector> DecodeSector(std::vector<char> bytes, std::string& why, SectorFault* fault) {
  if (fault != nullptr) *fault = SectorFault::kDamaged;
  if (bytes.empty()) {
    why = "is empty";
    return std::nullopt;
  }
  MemoryDeSerializer stream(kFormat, bytes.data(), bytes.data() + bytes.size(), false);
  SectorHeader header(0, 0, 0);
  if (!ReadRecord(stream, header)) {
    why = "does not begin as a file of settings does";
    return std::nullopt;
  }
  // As a difference, which a length from the file cannot make overflow.
  if (bytes.size() < kHeaderSize + kChecksumSize ||
      bytes.size() - kHeaderSize - kChecksumSize != header.GetLength()) {
    why = "is cut, or longer than it says";
    return std::nullopt;
  }
  const std::size_t covered = bytes.size() - kChecksumSize;
  unsigned int checksum = 0;
  stream.SetPos(bytes.data() + covered);
  stream.Read("Checksum", checksum);
  if (checksum != ChecksumOf(bytes.data(), covered)) {
    why = "has a wrong checksum";
    return std::nullopt;
  }
  if (header.GetConfigVersion() != kVersion) {
    why = "is of version " + std::to_string(header.GetConfigVersion()) +
          ", which this configd does not know";
    if (fault != nullptr && header.GetConfigVersion() > kVersion) *fault = SectorFault::kNewer;
    return std::nullopt;
  }
  stream.SetPos(bytes.data() + kHeaderSize);
  stream.SetSectorEnd(bytes.data() + covered);
  Checkpoint checkpoint;
  Vector vector;
  if (!ReadRecord(stream, checkpoint) || !ReadRecord(stream, vector) || stream.Available() != 0) {
    why = "holds records that cannot be read";
    return std::nullopt;
  }
  Sector sector;
  sector.odometer = header.GetOdometer();
  sector.configID = checkpoint.GetConfigID();
  for (Serializable* const item : vector.GetItems()) {
    auto* const value = dynamic_cast<ConfigValue*>(item);
    if (value == nullptr) {
      why = "holds something that is no value";
      return std::nullopt;
    }
    sector.values.emplace_back(value->Clone());
  }
  return sector;
}
