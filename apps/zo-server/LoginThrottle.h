#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace zo::app {

// Failed logins, counted in memory per client address and per customer+login. After a few
// free failures each further one doubles the wait before the next attempt is even checked
// (1 s, 2 s, 4 s, ... up to maxWait); a key with no failure for `forgetAfter` starts again.
// A successful login clears its login's count (not its address's: one good account must
// not buy an attacker fresh guesses at the others). Lost on restart, on purpose: the server
// keeps no state on disk.
struct TLoginThrottleOptions {
  int freeFailuresPerLogin = 5;
  int freeFailuresPerAddress = 30;
  std::chrono::seconds maxWait{60};
  std::chrono::seconds forgetAfter{15 * 60};
  std::size_t maxKeys = 10000;  // per kind; the stalest keys go first when full
};

class TLoginThrottle {
 public:
  using Clock = std::chrono::steady_clock;
  explicit TLoginThrottle(TLoginThrottleOptions options = {}) : options_(options) {}

  // Whole seconds to wait before `address` or `login` may try again; 0 when it may now.
  long long WaitSeconds(const std::string& address, const std::string& login,
                        Clock::time_point now = Clock::now());
  void Failed(const std::string& address, const std::string& login,
              Clock::time_point now = Clock::now());
  void Succeeded(const std::string& login);

 private:
  struct TEntry {
    int failures = 0;
    Clock::time_point last;
  };
  using TTable = std::map<std::string, TEntry>;

  Clock::duration Wait(const TTable& table, const std::string& key, int freeFailures,
                       Clock::time_point now) const;
  void Count(TTable& table, const std::string& key, Clock::time_point now);

  TLoginThrottleOptions options_;
  std::mutex mutex_;
  TTable byAddress_;
  TTable byLogin_;
};

// "10.0.0.7" from "10.0.0.7:51234", "::1" from "[::1]:51234".
std::string AddressOfPeer(const std::string& peer);

}  // namespace zo::app
