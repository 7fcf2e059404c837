/* Includes our headers and the platform's of the same names, and converts; compiled as C and as
   C++. */

#ifdef ORLA_HEADERS_FIRST
#include <orla/orla.h>
/* Ours come first. */
#include <arpa/inet.h>
#else
#include <arpa/inet.h>
/* The platform's come first. */
#include <orla/orla.h>
#endif

#undef NDEBUG
#include <assert.h>

int main(void) {
  volatile uint32_t address = 0x11223344u;
  volatile uint16_t port = 0x1122u;
  uint32_t (*host_to_network)(uint32_t) = htonl; /* not the macro, if there is one */
  uint16_t (*port_to_network)(uint16_t) = htons;

  assert(htonl(address) == 0x44332211u && ntohl(address) == 0x44332211u);
  assert(htons(port) == 0x2211u && ntohs(port) == 0x2211u);
  assert(host_to_network(address) == 0x44332211u);
  assert(port_to_network(port) == 0x2211u);
  return 0;
}
