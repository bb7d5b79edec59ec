#ifndef DORNIMAGE_TOOLS_DORNIMAGE_DECODERPROCESS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_DECODERPROCESS_H

#include "DecodeProtocol.h"
#include "Descriptor.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

/// Why there is no answer of a decoder, in words for people.
struct DecoderFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A process that decodes: its start, its end, and the talk with it. It is gone, and waited for, when the
/// object is. After DecoderFailure the object is of no further use.
class DecoderProcess : public ByteSource {
public:
    /// Starts `program` with decoderArgument, with the picture and the talk at their descriptors and no
    /// others but null devices. Signals that end the tool at a terminal are left to the tool. Throws
    /// DecoderFailure.
    DecoderProcess(const std::string& program, const Descriptor& picture);
    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;
    ~DecoderProcess() override;

    /// Says something and from then on counts the time that the whole answer may take. Throws DecoderFailure.
    template <class Request>
    void ask(const Request& request, unsigned seconds) {
        send(&request, sizeof(request), seconds);
    }

    /// The next bytes of the answer. Throws DecoderFailure: what ended the process, or that the time is over.
    void read(void* to, std::size_t bytes) override;

private:
    void send(const void* from, std::size_t bytes, unsigned seconds);
    void stop();
    void limitProcessorTime() const;
    std::size_t receive(char* to, std::size_t bytes);
    void waitForBytes();
    [[noreturn]] void failAsItEnded();
    std::string endInWords(int status) const;
    bool waitBriefly(int& status) const;
    std::string tooSlow() const;

    Descriptor talk_;
    pid_t child_ = -1;         // -1 when it is waited for
    std::vector<char> buffer_; // of small parts: from used_ on not yet read
    std::size_t used_ = 0;
    unsigned seconds_ = 0;
    std::chrono::milliseconds left_{}; // of the time for this answer
};

#endif
