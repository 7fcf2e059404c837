// Untraced services, beside the system call behind them.

#include <orla/inventory.h>
#include <sys/sysinfo.h>

#include "harness.h"

int main() {
  bench::Table table("Memory, untraced");
  table.row("sysinfo", [](long n) {
    struct sysinfo host;
    for (; n > 0; --n) {
      sysinfo(&host);
      bench::keep(host);
    }
  });
  table.row("tavGetMemorySize", [](long n) {
    int size = 0;
    for (; n > 0; --n) {
      tavGetMemorySize(&size);
      bench::keep(size);
    }
  });
}
