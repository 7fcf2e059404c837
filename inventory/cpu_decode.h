// What the processor and the kernel report about hyper-threading: pure decoders over their bytes
// and texts.

#ifndef ORLA_INVENTORY_CPU_DECODE_H
#define ORLA_INVENTORY_CPU_DECODE_H

#include <cstdint>
#include <string_view>

namespace orla {

// The registers after `cpuid` leaf 0 hold the vendor text in EBX, EDX and ECX, in that order.
bool is_genuine_intel(std::uint32_t ebx, std::uint32_t edx, std::uint32_t ecx);

// From `cpuid` leaf 1 of an Intel processor: 2 to 255, or 0 when it has one logical processor per
// package. Quirk: also 0 for every family but 15.
int logical_processors_per_package(std::uint32_t eax, std::uint32_t ebx);

enum class FigureSource {
  unusable,  // the release ends after a number
  cpuinfo,
  kernel_log
};

// Tells where a kernel of this release keeps its hyper-threading figure.
//
//     2.4.18-3smp    log        2.4.20-8       cpuinfo (patch 20)
//     2.2.19-7       cpuinfo    2.6.9-22       cpuinfo (minor 6)
//     2.4.18         unusable   3.10.0-957     cpuinfo (major 3)
FigureSource figure_source(std::string_view release);

// Takes /proc/cpuinfo line by line and keeps the figure of its "siblings" and "threads" lines.
class SiblingsFigure {
 public:
  // `line` is terminated, with or without its line feed. False when the line cannot be used or
  // contradicts an earlier one; the figure is then undefined.
  [[nodiscard]] bool take(const char *line);

  // The figure of the last such line; 0 when there was none.
  int value() const { return last_; }

 private:
  int last_ = 0;
  int agreed_ = 0;
};

// Counts "cpu_sibling_map[" anywhere in the kernel log.
int count_sibling_maps(std::string_view log);

}  // namespace orla

#endif
