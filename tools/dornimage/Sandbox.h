#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SANDBOX_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SANDBOX_H

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

/// Gives up for good what this process needs no more for decoding an open file and answering at
/// `answerDescriptor`: files, network, processes, and memory beyond what it has and `memory` bytes more.
/// Sanitizers reserve more memory than any limit, and look at memory through pipes: under them memory, pipes
/// and writing to open descriptors stay.
/// @return whether the kernel refuses calls from now on. Without that, resource limits are in force, which
/// keep
///         new descriptors, writing to files and for users other than root new processes away.
bool confineToDecoding(std::uint64_t memory, int answerDescriptor);

#endif
