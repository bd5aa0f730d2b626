// How much more a datagram server may send to an address than has come from there. Whoever sends
// requests in another's name makes the server flood him with answers, which are larger; nothing in
// the protocol's answers comes back in a request and would prove that the sender is who he seems.
// A client that reads is far below the limit, a flood is not. One thread. Internal.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

namespace qel::vorlane::config::access {

class AnswerBudget {
 public:
  using Clock = std::chrono::steady_clock;

  // Whether `sent` bytes may answer the `received` ones of a request, at the time `now`. An answer
  // that is no longer than its request always may.
  bool Spend(uint32_t address, std::size_t received, std::size_t sent, Clock::time_point now);

 private:
  struct Account {
    int64_t bytes;
    Clock::time_point updated;
  };

  Account& Find(uint32_t address, Clock::time_point now);

  std::map<uint32_t, Account> _accounts;
};

}  // namespace qel::vorlane::config::access
