// What the texts in all stores of this process may take together. A store itself takes any text,
// and counts it here; a server refuses a peer's that would exceed the limit. Any thread.
#pragma once

#include <cstddef>

#include "libconfig/base/Export.h"
#include "libconfig/serialization/Identifiers.h"

class Config;

namespace qel::config {

class TextBudget {
 public:
  // For servers of this process, from now on; 64 MiB at first. A part of it is for the texts of the
  // default configuration alone.
  LIBCONFIG_API static void SetLimit(std::size_t bytes);

  // The rest is the library's own.

  // A text of a store has been replaced. Allocates nothing.
  static void Replace(std::size_t before, std::size_t after);
  static std::size_t GetHeld();

  // Room for a peer's text until the store has it. What exceeds the limit is refused, and reported
  // once until there is room again.
  class Reservation {
   public:
    Reservation(Config& store, eParam_t param, std::size_t bytes);
    ~Reservation();
    Reservation(const Reservation&) = delete;
    Reservation& operator=(const Reservation&) = delete;

    bool IsGranted() const { return _isGranted; }

   private:
    const std::size_t _bytes;
    bool _isGranted;
  };
};

}  // namespace qel::config
