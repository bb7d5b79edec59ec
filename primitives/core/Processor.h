#ifndef DORNIMAGE_PRIMITIVES_CORE_PROCESSOR_H
#define DORNIMAGE_PRIMITIVES_CORE_PROCESSOR_H

// What the processor tells about itself. ProcessorX86.cpp asks it; ProcessorPortable.cpp stands in for it on
// other processors.

#include <cstdint>
#include <optional>

namespace primitives {

struct CpuidRegisters {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

// The questions that detection asks, as functions so that a test can answer in the place of a processor.
struct ProcessorQueries {
    // A CPUID leaf and sub-leaf.
    CpuidRegisters (*cpuid)(std::uint32_t leaf, std::uint32_t subleaf);
    // XCR0: the register states that the operating system saves. Asked only when it allows that.
    std::uint64_t (*xcr0)();
};

// The queries of the processor at hand; none when it has no CPUID.
std::optional<ProcessorQueries> processorQueries();

} // namespace primitives

#endif
