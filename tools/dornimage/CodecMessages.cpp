#include "CodecMessages.h"

#include "Text.h"

#include <algorithm>
#include <memory>
#include <mutex>

namespace {

// A damaged fax page has a message for each of its lines; a few tell enough.
constexpr std::size_t messagesKept = 8;

// FreeImage's handler has no argument of the caller's.
thread_local CodecMessages* listener = nullptr;

// FreeImage and the log have one handler for all threads, which is there while anyone listens.
std::mutex countMutex;
int listeners = 0;

void DLL_CALLCONV onFreeImageMessage(FREE_IMAGE_FORMAT format, const char* message) {
    if (listener) {
        const std::string name = formatName(format);
        listener->setError("FreeImage", 0, (name.empty() ? name : name + ": ") + (message ? message : ""));
    }
}

class CodecLog : public dornutils::LogFormaterInterface {
public:
    using LogFormaterInterface::writeMessage;

    void writeMessage(unsigned, const Velmora::u8string& message, const char* fileName,
                      unsigned line) override {
        // FreeImage asks the TIFF codec for fifty tags by number that this codec has no names for, on each
        // page. A line that there was no memory for has lost its text, and would make the page a damaged one.
        const bool saysNothing = message.find("unknown tag 0x") != std::string::npos ||
                                 (message.size() >= 2 && message.compare(message.size() - 2, 2, ": ") == 0);
        if (listener && !saysNothing) {
            listener->setError(fileName, line, message);
        }
    }
};

} // namespace

CodecMessages::CodecMessages() : earlier_(listener) {
    const std::lock_guard lock(countMutex);
    if (listeners == 0) {
        dornutils::setSystemLogFormater(std::make_shared<CodecLog>());
    }
    ++listeners;
    listener = this;
}

CodecMessages::~CodecMessages() {
    listener = earlier_;
    const std::lock_guard lock(countMutex);
    if (--listeners == 0) {
        FreeImage_SetOutputMessage(nullptr);
        dornutils::setSystemLogFormater(nullptr);
    }
}

void CodecMessages::listen() {
    FreeImage_SetOutputMessage(onFreeImageMessage);
}

void CodecMessages::setError(const Velmora::u8string&, unsigned, const Velmora::u8string& message) {
    add(message);
}

void CodecMessages::add(const std::string& message) {
    if (std::find(messages_.begin(), messages_.end(), message) != messages_.end()) {
        return;
    }
    if (messages_.size() < messagesKept) {
        messages_.push_back(message);
    } else {
        ++more_;
    }
}

std::vector<std::string> CodecMessages::take() {
    std::vector<std::string> result;
    result.swap(messages_);
    if (more_ > 0) {
        result.push_back("and " + countOf(static_cast<long>(more_), "more message"));
        more_ = 0;
    }
    return result;
}

std::string CodecMessages::takeAsCause(const std::string& lead, const std::string& silence) {
    const std::vector<std::string> said = take();
    return said.empty() ? silence : lead + join(said, "; ");
}
