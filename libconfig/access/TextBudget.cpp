#include "libconfig/access/TextBudget.h"

#include <algorithm>
#include <atomic>
#include <string>

#include "libconfig/access/Config.h"
#include "libconfig/base/Diagnostics.h"
#include "libconfig/base/Limits.h"
#include "libconfig/values/StringValue.h"

namespace qel::config {
namespace {

std::atomic<std::size_t> g_limit{limits::kTexts};
std::atomic<std::size_t> g_held{0};
std::atomic<std::size_t> g_reserved{0};
std::atomic<bool> g_isReported{false};

// Of the text that a new one would replace.
std::size_t CurrentSize(Config& store, eParam_t param) {
  auto* const value = dynamic_cast<StringValue*>(store.GetSerializable(param));
  if (value == nullptr) return 0;
  std::string text;
  value->Get(text);
  return text.size();
}

}  // namespace

void TextBudget::SetLimit(std::size_t bytes) { g_limit = bytes; }

void TextBudget::Replace(std::size_t before, std::size_t after) { g_held += after - before; }

std::size_t TextBudget::GetHeld() { return g_held; }

TextBudget::Reservation::Reservation(Config& store, eParam_t param, std::size_t bytes)
    : _bytes(bytes) {
  std::size_t limit = g_limit;
  const std::size_t all = limit;
  if (store.GetConfigID() != eConfigID_Default) limit -= std::min(limit / 4, limits::kOwnTexts);
  g_reserved += bytes;
  // Others that are being stored may be counted twice for a moment.
  const std::size_t wanted = g_held + g_reserved;
  _isGranted = wanted <= limit;
  if (!_isGranted) {
    // Exact only where it matters, as it takes a copy.
    std::size_t before = 0;
    try {
      before = CurrentSize(store, param);
    } catch (...) {
      g_reserved -= bytes;
      throw;
    }
    _isGranted = bytes <= before || wanted - before <= limit;
  }
  if (_isGranted) {
    if (wanted < all / 2) g_isReported.store(false, std::memory_order_relaxed);
  } else if (!g_isReported.exchange(true)) {
    Report("TextBudget - the texts of all configurations take %zu of %zu bytes, more is refused\n",
           g_held.load(), all);
  }
}

TextBudget::Reservation::~Reservation() { g_reserved -= _bytes; }

}  // namespace qel::config
