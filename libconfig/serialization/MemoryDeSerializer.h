// Reads from a buffer that the caller owns; the layout is described at MemorySerializer.
//
// Reads are bounded. One that needs more bytes than are left, or a string without its zero, leaves
// its target as it was, moves to the end and marks the stream as overrun. The mark stays, wherever
// SetPos moves afterwards. An object is null when a read of its fields overran. With a start and no
// end the caller vouches for the bytes and nothing is checked.
//
//   MemoryDeSerializer stream(eSerializationFormat_Network, bytes, bytes + size, false);
//   const std::unique_ptr<Serializable> object = stream.ReadOwned();
//   if (object == nullptr) ...  // unknown class or damaged bytes
#pragma once

#include <memory>

#include "libconfig/serialization/ClassFactory.h"
#include "libconfig/serialization/DeSerializer.h"

class LIBCONFIG_API MemoryDeSerializer : public DeSerializer {
 public:
  // `end` is one past the last byte. The last argument is kept for its readers only.
  MemoryDeSerializer(eSerializationFormat format, char* start, char* end, bool flag);
  ~MemoryDeSerializer() override;

  // Neither a char nor a long moves the position: each can only be the last field, unless the
  // caller steps over it with SetPos. A long is 4 bytes, sign-extended where the host's is wider.
  void Read(const char* key, unsigned char& value) override;
  void Read(const char* key, long& value) override;
  void Read(const char* key, bool& value) override;
  void Read(const char* key, std::string& value) override;
  void Read(const char* key, unsigned int& value) override;
  void Read(const char* key, int& value) override;
  // Creates the object through ClassFactory, so that it may be a shared prototype that the next
  // reader overwrites, on any thread: prefer ReadOwned. Null, with a message, for an unknown class;
  // null without one for a damaged object or one nested too deep.
  void Read(const char* key, Serializable*& object) override;
  // A block longer than `capacity` gives length 0, and its bytes are the next to be read. An empty
  // block leaves `length` as it was.
  void Read(const char* key, char* buffer, unsigned int capacity, unsigned int& length) override;
  // An empty block gives length 0 and leaves `data` as it was.
  void Read(const char* key, char*& data, unsigned int& length) override;
  int Read(Serializable*& object) override;
  bool IsEndOfStream() override;

  virtual char* GetPos();
  virtual void SetPos(char* position);
  virtual bool IsEndOfSector();
  virtual char* GetSectorStart();
  virtual void SetSectorStart(char* start);
  virtual char* GetSectorEnd();
  virtual void SetSectorEnd(char* end);
  // Bytes between the position and the end; negative behind the end.
  virtual int Available();
  virtual void Read(ClassFactoryHeader& header);

  // The next object, as one of the caller's own that no other reader shares; null as above.
  std::unique_ptr<Serializable> ReadOwned();

  // Whether any read so far asked for more than there was.
  bool IsOverrun() const { return _overrun; }

 private:
  bool Take(unsigned int count);
  void MarkOverrun();
  bool ReadWord(unsigned int& value);
  Serializable* CreateNext(Serializable* (*create)(eClassID_t), eClassID_t& classID);
  bool Fill(Serializable& object);

  char* _position;
  char* _start;
  char* _end;
  const bool _flag;
  bool _overrun = false;
  unsigned _depth = 0;
};
