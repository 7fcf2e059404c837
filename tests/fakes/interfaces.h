// Fakes of the host's network interfaces.

#ifndef ORLA_TESTS_FAKES_INTERFACES_H
#define ORLA_TESTS_FAKES_INTERFACES_H

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <deque>

#include "fake.h"

extern Fake<int(ifaddrs **)> fake_getifaddrs;
extern Fake<void(ifaddrs *)> fake_freeifaddrs;

inline constexpr unsigned kUp = IFF_UP | IFF_RUNNING;

// A list of interfaces as getifaddrs() gives it, in the order of the calls.
class Interfaces {
 public:
  Interfaces &ipv4(unsigned flags, std::uint32_t address);
  Interfaces &ipv6(unsigned flags);
  Interfaces &without_address(unsigned flags);

  ifaddrs *list() { return entries_.empty() ? nullptr : &entries_.front(); }

 private:
  ifaddrs &add(unsigned flags);

  std::deque<ifaddrs> entries_;  // deques: what is added later moves nothing
  std::deque<sockaddr_in> ipv4_;
  std::deque<sockaddr_in6> ipv6_;
};

// getifaddrs() gives `interfaces`, or fails with EMFILE when they are null; freeifaddrs() takes
// them back.
class HostHas {
 public:
  explicit HostHas(Interfaces *interfaces);

  int asked() const { return asked_; }
  int given_back() const { return given_back_; }

 private:
  std::atomic<int> asked_ = 0;
  std::atomic<int> given_back_ = 0;
  With<int(ifaddrs **)> getifaddrs_;
  With<void(ifaddrs *)> freeifaddrs_;
};

#endif
