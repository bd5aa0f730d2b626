#include "libconfig/network/AnswerBudget.h"

#include <algorithm>

#include "libconfig/base/Limits.h"

namespace qel::vorlane::config::access {

namespace limits = qel::config::limits;

namespace {

// Those that find no room for an account of their own share that of the address 0.
constexpr uint32_t kNobody = 0;

}  // namespace

AnswerBudget::Account& AnswerBudget::Find(uint32_t address, Clock::time_point now) {
  const auto withIncome = [now](const Account& account) {
    const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - account.updated);
    return std::min<int64_t>(limits::kUdpSurplus,
                             account.bytes + age.count() * limits::kUdpSurplusRate / 1000);
  };
  if (_accounts.size() >= limits::kUdpAccounts && _accounts.count(address) == 0) {
    // A full account is as good as none.
    for (auto account = _accounts.begin(); account != _accounts.end();) {
      const bool isFull = withIncome(account->second) == limits::kUdpSurplus;
      account = isFull ? _accounts.erase(account) : std::next(account);
    }
    if (_accounts.size() >= limits::kUdpAccounts) address = kNobody;
  }
  Account& account =
      _accounts.try_emplace(address, Account{limits::kUdpSurplus, now}).first->second;
  account = {withIncome(account), now};
  return account;
}

bool AnswerBudget::Spend(uint32_t address, std::size_t received, std::size_t sent,
                         Clock::time_point now) {
  if (sent <= received) return true;
  const auto surplus = static_cast<int64_t>(sent - received);
  Account& account = Find(address, now);
  if (surplus > account.bytes) return false;
  account.bytes -= surplus;
  return true;
}

}  // namespace qel::vorlane::config::access
