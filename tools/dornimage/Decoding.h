#ifndef DORNIMAGE_TOOLS_DORNIMAGE_DECODING_H
#define DORNIMAGE_TOOLS_DORNIMAGE_DECODING_H

#include "CodecMessages.h"
#include "PageReader.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <memory>
#include <string>

/// Where pages are decoded, and what the decoder may use there.
struct Decoding {
    bool isolate = false;                          // in a process of its own for each file
    std::uint64_t memory = std::uint64_t{2} << 30; // bytes, beyond what the process has at its start
    unsigned seconds = 60;                         // for one page, and for opening the file
};

/// Adds --isolate, or --no-isolate where `decoding` stands at it, --decode-memory and --decode-seconds.
void addDecodingOptions(CLI::App& command, Decoding& decoding);

/// A reader of the file in the place that `decoding` tells. `messages` is used only by one that decodes here.
std::unique_ptr<PageReader> readerFor(const std::string& name, CodecMessages& messages, Frames frames,
                                      const Decoding& decoding);

#endif
