#include "interfaces.h"

#include <cerrno>

constinit Fake<int(ifaddrs **)> fake_getifaddrs("getifaddrs");
constinit Fake<void(ifaddrs *)> fake_freeifaddrs("freeifaddrs");

ifaddrs &Interfaces::add(unsigned flags) {
  ifaddrs *last = entries_.empty() ? nullptr : &entries_.back();
  entries_.push_back({});
  entries_.back().ifa_flags = flags;
  if (last != nullptr) last->ifa_next = &entries_.back();
  return entries_.back();
}

Interfaces &Interfaces::ipv4(unsigned flags, std::uint32_t address) {
  sockaddr_in &socket = ipv4_.emplace_back();
  socket.sin_family = AF_INET;
  socket.sin_addr.s_addr = htonl(address);
  add(flags).ifa_addr = reinterpret_cast<sockaddr *>(&socket);
  return *this;
}

Interfaces &Interfaces::ipv6(unsigned flags) {
  sockaddr_in6 &socket = ipv6_.emplace_back();
  socket.sin6_family = AF_INET6;
  socket.sin6_flowinfo = 0x01020304;  // where an IPv4 address would stand
  add(flags).ifa_addr = reinterpret_cast<sockaddr *>(&socket);
  return *this;
}

Interfaces &Interfaces::without_address(unsigned flags) {
  add(flags);
  return *this;
}

HostHas::HostHas(Interfaces *interfaces)
    : getifaddrs_(fake_getifaddrs,
                  [this, interfaces](ifaddrs **list) {
                    ++asked_;
                    if (interfaces == nullptr) {
                      errno = EMFILE;
                      return -1;
                    }
                    *list = interfaces->list();
                    return 0;
                  }),
      freeifaddrs_(fake_freeifaddrs, [this](ifaddrs *) { ++given_back_; }) {}

extern "C" {

int getifaddrs(ifaddrs **list) noexcept { return fake_getifaddrs(list); }

void freeifaddrs(ifaddrs *list) noexcept { fake_freeifaddrs(list); }
}
