#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SANDBOX_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SANDBOX_H

#include <cstdint>

/// Gives up for good what this process needs no more for decoding an open file and answering at
/// `answerDescriptor`: files, network, processes, and memory beyond what it has and `memory` bytes more.
/// Memory is not limited under sanitizers, which reserve more than any limit.
/// @return whether the kernel refuses calls from now on. Without that, resource limits are in force, which
/// keep
///         new descriptors, writing to files and for users other than root new processes away.
bool confineToDecoding(std::uint64_t memory, int answerDescriptor);

#endif
