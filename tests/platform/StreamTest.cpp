#include "platform/FileStream.h"
#include "platform/MemoryStream.h"

#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <ostream>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::int64_t farthest = std::numeric_limits<std::int64_t>::max();
const std::string content = "0123456789";

LARGE_INTEGER by(std::int64_t offset) {
    LARGE_INTEGER value;
    value.QuadPart = offset;
    return value;
}

struct StreamKind {
    const char* name;
    std::function<IStream*(const dorntest::ScratchDirectory&, const std::string&)> make;
};

void PrintTo(const StreamKind& kind, std::ostream* out) {
    *out << kind.name;
}

class ReadyStreamTest : public testing::TestWithParam<StreamKind> {
protected:
    void TearDown() override { EXPECT_EQ(stream_->Release(), 0u); }

    /* Reads with a wish for that many bytes. */
    std::string read(ULONG size, HRESULT expected) {
        std::string buffer(size, '#');
        ULONG got = 99;
        EXPECT_EQ(stream_->Read(buffer.data(), size, &got), expected);
        return buffer.substr(0, got);
    }

    std::uint64_t seek(std::int64_t offset, DWORD origin) {
        ULARGE_INTEGER position{};
        EXPECT_TRUE(SUCCEEDED(stream_->Seek(by(offset), origin, &position)));
        return position.QuadPart;
    }

    dorntest::ScratchDirectory scratch_;
    IStream* stream_ = GetParam().make(scratch_, content);
};

TEST_P(ReadyStreamTest, ReadsOnAndEndsShort) {
    EXPECT_EQ(read(4, S_OK), "0123");
    EXPECT_EQ(read(0, S_OK), "");
    EXPECT_EQ(stream_->Read(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
    EXPECT_EQ(read(6, S_OK), "456789");
    EXPECT_EQ(read(1, S_FALSE), "");
    EXPECT_EQ(seek(-3, STREAM_SEEK_CUR), 7u);
    EXPECT_EQ(read(100, S_FALSE), "789");
}

TEST_P(ReadyStreamTest, SeeksNowhereBeforeTheStart) {
    EXPECT_EQ(seek(7, STREAM_SEEK_SET), 7u);
    EXPECT_EQ(seek(-2, STREAM_SEEK_CUR), 5u);
    EXPECT_EQ(stream_->Seek(by(-6), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream_->Seek(by(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream_->Seek(by(-11), STREAM_SEEK_END, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream_->Seek(by(farthest), STREAM_SEEK_CUR, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream_->Seek(by(0), 3, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(read(1, S_OK), "5");
    EXPECT_EQ(seek(-10, STREAM_SEEK_END), 0u);
    EXPECT_EQ(read(1, S_OK), "0");
    for (const std::int64_t beyond : {std::int64_t{11}, std::int64_t{1} << 33, farthest}) {
        EXPECT_EQ(seek(beyond, STREAM_SEEK_SET), static_cast<std::uint64_t>(beyond));
        EXPECT_EQ(read(5, S_FALSE), "");
    }
}

TEST_P(ReadyStreamTest, TellsItsLengthAndRefusesToChange) {
    STATSTG stat{};
    EXPECT_EQ(stream_->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, content.size());
    EXPECT_EQ(stat.cbSize.LowPart, content.size());
    EXPECT_EQ(stat.cbSize.HighPart, 0u);
    EXPECT_EQ(stat.pwcsName, nullptr);
    EXPECT_TRUE(FAILED(stream_->Stat(nullptr, STATFLAG_NONAME)));
    ULONG written = 99;
    EXPECT_TRUE(FAILED(stream_->Write("x", 1, &written)));
    EXPECT_EQ(written, 0u);
    EXPECT_TRUE(FAILED(stream_->SetSize(ULARGE_INTEGER{})));
    IStream* clone = nullptr;
    EXPECT_TRUE(FAILED(stream_->Clone(&clone)));
}

TEST_P(ReadyStreamTest, ThreadsShareItsCount) {
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        stream_->AddRef();
        thread = std::thread([stream = stream_] {
            for (int i = 0; i < 2000; ++i) {
                stream->AddRef();
                stream->Release();
            }
            stream->Release();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(stream_->AddRef(), 2u);
    EXPECT_EQ(stream_->Release(), 1u);
}

const StreamKind kinds[] = {
    {"Copied",
     [](const dorntest::ScratchDirectory&, const std::string& bytes) {
         std::string passing = bytes;
         IStream* stream = dornplatform::createMemoryStream(passing.data(), passing.size());
         passing.assign(passing.size(), '?');
         return stream;
     }},
    {"Borrowed",
     [](const dorntest::ScratchDirectory&, const std::string& bytes) {
         return dornplatform::borrowMemoryStream(bytes.data(), bytes.size());
     }},
    {"File",
     [](const dorntest::ScratchDirectory& scratch, const std::string& bytes) {
         dorntest::writeFile(scratch / "p\xC3\xA4ge\xFF", bytes);
         return dornplatform::createFileStream((scratch / "p\xC3\xA4ge\xFF").string());
     }},
};
INSTANTIATE_TEST_SUITE_P(, ReadyStreamTest, testing::ValuesIn(kinds),
                         [](const auto& kind) { return kind.param.name; });

TEST(StreamTest, WhatIsNoFileGivesNoStream) {
    const dorntest::ScratchDirectory scratch;
    ASSERT_EQ(::mkfifo((scratch / "pipe").c_str(), 0600), 0);
    dorntest::writeFile(scratch / "file", "x");
    EXPECT_EQ(dornplatform::createFileStream((scratch / "missing").string()), nullptr);
    EXPECT_EQ(dornplatform::createFileStream(scratch.path().string()), nullptr);
    EXPECT_EQ(dornplatform::createFileStream((scratch / "pipe").string()), nullptr);
    EXPECT_EQ(dornplatform::createFileStream((scratch / "file").string() + std::string(1, '\0')), nullptr);
    EXPECT_EQ(dornplatform::createMemoryStream(nullptr, 1), nullptr);
    EXPECT_EQ(dornplatform::borrowMemoryStream(nullptr, 1), nullptr);
}

TEST(StreamTest, FilesMayBeLongerThan32BitsTell) {
    const dorntest::ScratchDirectory scratch;
    constexpr std::uint64_t size = (std::uint64_t{5} << 30) + 3;
    dorntest::writeFile(scratch / "long", "");
    ASSERT_EQ(::truncate((scratch / "long").c_str(), static_cast<off_t>(size)), 0);
    IStream* stream = dornplatform::createFileStream((scratch / "long").string());
    ASSERT_NE(stream, nullptr);
    STATSTG stat{};
    EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, size);
    EXPECT_EQ(stat.cbSize.HighPart, 1u);
    EXPECT_EQ(stream->Seek(by(-1), STREAM_SEEK_END, nullptr), S_OK);
    char last[2] = {'#', '#'};
    ULONG got = 0;
    EXPECT_EQ(stream->Read(last, 2, &got), S_FALSE);
    EXPECT_EQ(got, 1u);
    EXPECT_EQ(last[0], '\0');
    EXPECT_EQ(stream->Release(), 0u);
}

} // namespace
