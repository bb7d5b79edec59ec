#include "primitives/core/Processor.h"

#include <cpuid.h>

namespace primitives {
namespace {

CpuidRegisters readCpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    CpuidRegisters registers;
    __cpuid_count(leaf, subleaf, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return registers;
}

// Written as an instruction because the compiler's own function needs a build for processors that have it.
std::uint64_t readXcr0() {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (std::uint64_t{high} << 32) | low;
}

} // namespace

std::optional<ProcessorQueries> processorQueries() {
    return ProcessorQueries{&readCpuid, &readXcr0};
}

} // namespace primitives
