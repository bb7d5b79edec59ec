#include "Decoding.h"

#include "IsolatedReader.h"
#include "LocalReader.h"

void addDecodingOptions(CLI::App& command, Decoding& decoding) {
    CLI::Option* const memory =
        command
            .add_option("--decode-memory", decoding.memory,
                        "Bytes that the decoder apart may use, such as 500M (default 2G)")
            ->option_text("LIMIT")
            ->transform(CLI::AsSizeValue(false))
            ->check(CLI::Range(std::uint64_t{1} << 20, std::uint64_t{1} << 40));
    CLI::Option* const seconds =
        command
            .add_option("--decode-seconds", decoding.seconds,
                        "Seconds that the decoder apart may take for a page (default 60)")
            ->check(CLI::Range(1u, 86400u));
    if (decoding.isolate) {
        command
            .add_flag_callback(
                "--no-isolate", [&decoding] { decoding.isolate = false; },
                "Decode within this process, not in one of its own for each file with limits on memory and "
                "time and few rights")
            ->excludes(memory)
            ->excludes(seconds);
        return;
    }
    CLI::Option* const isolate =
        command.add_flag("--isolate", decoding.isolate,
                         "Decode in a process of its own for each file, with limits on memory and time and "
                         "few rights: a decoder that crashes or hangs is one page that can't be read");
    memory->needs(isolate);
    seconds->needs(isolate);
}

std::unique_ptr<PageReader> readerFor(const std::string& name, CodecMessages& messages, Frames frames,
                                      const Decoding& decoding) {
    if (decoding.isolate) {
        return std::make_unique<IsolatedReader>(name, frames, decoding.memory, decoding.seconds);
    }
    return std::make_unique<LocalReader>(name, frames, messages);
}
