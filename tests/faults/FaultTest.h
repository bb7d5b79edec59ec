#ifndef DORNIMAGE_TESTS_FAULTS_FAULTTEST_H
#define DORNIMAGE_TESTS_FAULTS_FAULTTEST_H

#include "Faults.h"
#include "tests/KnownLeak.h"
#include "tests/ScratchDirectory.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <optional>

#include <gtest/gtest.h>

namespace faults {

// Does an operation over and over with another call failing each time, and looks at what becomes of it. It
// has a temporary place of its own.
class FaultTest : public testing::Test {
protected:
    // A number for what an operation made, nothing when it failed.
    using Outcome = std::optional<std::uint64_t>;

    FaultTest() {
        std::filesystem::create_directory(temporary);
        setenv("TMPDIR", temporary.c_str(), 1);
    }
    ~FaultTest() override { unsetenv("TMPDIR"); }

    using Operation = std::function<Outcome()>;
    enum class Codec { keepsMemory, losesMemory }; // when it is failed

    // Without a fault there is a result, always the same.
    static std::uint64_t undisturbed(const Operation& operation) {
        const Outcome outcome = operation();
        EXPECT_TRUE(outcome.has_value());
        return outcome.value_or(0);
    }

    // Without memory or the codec's help.
    void failEach(const Operation& operation) {
        failEach(Kind::allocation, operation);
        failEach(Kind::codec, operation);
    }

    void failEachWrite(const Operation& operation, Codec codec = Codec::keepsMemory) {
        for (const auto kind : {Kind::diskFull, Kind::diskBroken, Kind::cutWrite}) {
            failEach(kind, operation, codec);
        }
    }

    // Lets each call of the kind fail in turn, until there are no more.
    void failEach(Kind kind, const Operation& operation, Codec codec = Codec::keepsMemory) {
        const std::uint64_t expected = undisturbed(operation);
        undisturbed(operation); // what is set up once is there now
        bool hasFailed = true;
        for (unsigned n = 1; hasFailed && n < 20000 && !HasFailure(); ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + " of kind " + std::to_string(static_cast<int>(kind)));
            Outcome outcome;
            std::optional<dorntest::KnownLeak> known;
            if (codec == Codec::losesMemory) {
                known.emplace();
            }
            arm(kind, n);
            try {
                outcome = operation();
            } catch (const std::bad_alloc&) {
                outcome.reset();
            }
            hasFailed = disarm();
            known.reset();
            EXPECT_TRUE(codec == Codec::losesMemory || leaks().empty()) << leaks();
            EXPECT_EQ(outcome.value_or(expected), expected) << "half of it";
            EXPECT_TRUE(hasFailed || outcome);
            // A folder that can't be opened can't be emptied either.
            EXPECT_TRUE(emptyTemporary() || kind == Kind::open) << "left behind";
            EXPECT_EQ(undisturbed(operation), expected);
        }
    }

    // Whether it was.
    bool emptyTemporary() const {
        bool wasEmpty = true;
        for (const auto& entry : std::filesystem::directory_iterator(temporary)) {
            std::filesystem::remove_all(entry);
            wasEmpty = false;
        }
        return wasEmpty;
    }

    // In memory where there is such a place: the files are many and small.
    const dorntest::ScratchDirectory folder{
        std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path()};
    const std::string temporary = (folder / "tmp").string();
};

} // namespace faults

#endif
