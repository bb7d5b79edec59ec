#include "base/Log.h"
#include "base/VelmoraException.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(VelmoraExceptionTest, KeepsAllMessagesInOrder) {
    VelmoraException record;
    EXPECT_FALSE(record.hasError());
    EXPECT_EQ(record.getMessage(), "");
    record.setError("a/Source", 12, "first");
    record.setError("b/Source", 0xFFFFFFFFu, "");
    record.setError("a/Source", 12, "first");
    ASSERT_EQ(record.getErrors().size(), 3u);
    EXPECT_EQ(record.getErrors()[0].fileName, "a/Source");
    EXPECT_EQ(record.getErrors()[0].line, 12u);
    EXPECT_EQ(record.getErrors()[1].line, 0xFFFFFFFFu);
    EXPECT_EQ(record.getErrors()[1].message, "");
    EXPECT_EQ(record.getMessage(), "first");
    const VelmoraException copy(record);
    record.clear();
    EXPECT_FALSE(record.hasError());
    EXPECT_EQ(copy.getErrors().size(), 3u);
}

class CountingFormater : public dornutils::LogFormaterInterface {
public:
    explicit CountingFormater(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
    ~CountingFormater() override {
        --alive_;
        dornutils::getSystemLogFormater()->writeMessage(0, "a formatter goes", "tests/base/ReportingTest", 1);
    }

    using LogFormaterInterface::writeMessage;
    void writeMessage(unsigned level, const Velmora::u8string& message, const char* fileName,
                      unsigned line) override {
        lastLine = std::to_string(level) + message + fileName + std::to_string(line);
    }

    std::string lastLine;

private:
    std::atomic<int>& alive_;
};

TEST(LogTest, LinesGoToTheInstalledFormater) {
    std::atomic<int> alive = 0;
    dornutils::getSystemLogFormater()->writeMessage(0, "nobody listens", nullptr, 1);
    auto formater = std::make_shared<CountingFormater>(alive);
    dornutils::setSystemLogFormater(formater);
    dornutils::getSystemLogFormater()->writeMessage(2, "C text", "File", 7);
    EXPECT_EQ(formater->lastLine, "2C textFile7");
    dornutils::getSystemLogFormater()->writeMessage(0, static_cast<const char*>(nullptr), "File", 8);
    EXPECT_EQ(formater->lastLine, "0File8");
    dornutils::getSystemLogFormater()->writeMessage(1, Velmora::u8string("text"), "File", 9);
    EXPECT_EQ(formater->lastLine, "1textFile9");

    dornutils::setSystemLogFormater(nullptr);
    ASSERT_TRUE(dornutils::getSystemLogFormater());
    dornutils::getSystemLogFormater()->writeMessage(2, "dropped", "File", 10);
    EXPECT_EQ(formater->lastLine, "1textFile9");
    formater.reset();
    EXPECT_EQ(alive, 0);
}

TEST(LogTest, AFormaterMayBeReplacedWhileThreadsLog) {
    struct Silent : CountingFormater {
        using CountingFormater::CountingFormater;
        void writeMessage(unsigned, const Velmora::u8string& message, const char*, unsigned) override {
            length += message.size();
        }
        std::atomic<std::size_t> length = 0;
    };
    std::atomic<int> alive = 0;
    std::atomic<bool> stop = false;
    std::vector<std::thread> writers;
    for (int i = 0; i < 2; ++i) {
        writers.emplace_back([&stop] {
            while (!stop) {
                dornutils::getSystemLogFormater()->writeMessage(2, "line", "File", 1);
            }
        });
    }
    for (int round = 0; round < 2000; ++round) {
        dornutils::setSystemLogFormater(std::make_shared<Silent>(alive));
    }
    dornutils::setSystemLogFormater(nullptr);
    stop = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(alive, 0);
}

} // namespace
