#include "base/Log.h"

#include <mutex>
#include <utility>

namespace dornutils {

namespace {

class DroppingFormater final : public LogFormaterInterface {
public:
    void writeMessage(unsigned, const Velmora::u8string&, const char*, unsigned) override {}
    void writeMessage(unsigned, const char*, const char*, unsigned) override {}
};

struct SystemLog {
    std::mutex mutex;
    const std::shared_ptr<LogFormaterInterface> dropping = std::make_shared<DroppingFormater>();
    std::shared_ptr<LogFormaterInterface> installed = dropping;
};

SystemLog& systemLog() {
    // Never destroyed, so that destructors of static objects can still log.
    static SystemLog& log = *new SystemLog;
    return log;
}

} // namespace

LogFormaterInterface::~LogFormaterInterface() = default;

void LogFormaterInterface::writeMessage(unsigned level, const char* message, const char* fileName,
                                        unsigned line) {
    writeMessage(level, Velmora::u8string(message ? message : ""), fileName, line);
}

std::shared_ptr<LogFormaterInterface> getSystemLogFormater() {
    SystemLog& log = systemLog();
    const std::lock_guard<std::mutex> lock(log.mutex);
    return log.installed;
}

void setSystemLogFormater(std::shared_ptr<LogFormaterInterface> formater) {
    SystemLog& log = systemLog();
    if (!formater) {
        formater = log.dropping;
    }
    // The old one leaves with the argument, after the lock: its destructor may log.
    const std::lock_guard<std::mutex> lock(log.mutex);
    std::swap(log.installed, formater);
}

} // namespace dornutils
