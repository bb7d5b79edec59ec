#include "platform/Resources.h"
#include "platform/Thread.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using dornplatform::registerResource;
using dornplatform::unregisterResource;

const HINSTANCE otherModule = reinterpret_cast<HINSTANCE>(std::uintptr_t{0x10000});
const char bytes[] = "page";

TEST(ResourcesTest, FindsByModuleTypeAndName) {
    ASSERT_TRUE(registerResource(nullptr, L"PNG", L"Logo", bytes, 4));
    ASSERT_TRUE(registerResource(otherModule, L"PNG", L"Logo", bytes, 3));
    ASSERT_TRUE(registerResource(nullptr, L"Logo", L"PNG", bytes, 2));
    EXPECT_FALSE(registerResource(nullptr, L"png", L"LOGO", bytes, 1));

    const HRSRC found = FindResourceW(nullptr, L"logo", L"Png");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(SizeofResource(nullptr, found), 4u);
    EXPECT_EQ(LockResource(LoadResource(nullptr, found)), bytes);
    EXPECT_EQ(SizeofResource(otherModule, FindResourceW(otherModule, L"Logo", L"PNG")), 3u);
    EXPECT_EQ(SizeofResource(nullptr, FindResourceW(nullptr, L"PNG", L"Logo")), 2u);
    EXPECT_EQ(FindResourceW(nullptr, L"Logo2", L"PNG"), nullptr);
    EXPECT_EQ(FindResourceW(nullptr, L"Logo", L"JPG"), nullptr);

    // A handle serves its module only, and dies with the registration for good.
    EXPECT_EQ(LoadResource(otherModule, found), nullptr);
    EXPECT_EQ(SizeofResource(otherModule, found), 0u);
    const HGLOBAL loaded = LoadResource(nullptr, found);
    EXPECT_TRUE(unregisterResource(nullptr, L"PNG", L"Logo"));
    EXPECT_FALSE(unregisterResource(nullptr, L"PNG", L"Logo"));
    ASSERT_TRUE(registerResource(nullptr, L"PNG", L"Logo", bytes, 4));
    EXPECT_EQ(LockResource(loaded), nullptr);
    EXPECT_EQ(LoadResource(nullptr, found), nullptr);
    EXPECT_EQ(SizeofResource(nullptr, found), 0u);

    EXPECT_TRUE(unregisterResource(nullptr, L"PNG", L"Logo"));
    EXPECT_TRUE(unregisterResource(otherModule, L"PNG", L"Logo"));
    EXPECT_TRUE(unregisterResource(nullptr, L"Logo", L"PNG"));
}

TEST(ResourcesTest, RefusesWhatItCannotServe) {
    const auto* const identifier = reinterpret_cast<const wchar_t*>(std::uintptr_t{10});
    EXPECT_FALSE(registerResource(nullptr, identifier, L"Logo", bytes, 4));
    EXPECT_FALSE(registerResource(nullptr, L"PNG", nullptr, bytes, 4));
    EXPECT_FALSE(registerResource(nullptr, L"PNG", L"Logo", nullptr, 4));
    EXPECT_FALSE(registerResource(nullptr, L"PNG", L"Logo", bytes, std::size_t{1} << 32));
    EXPECT_EQ(FindResourceW(nullptr, L"Logo", identifier), nullptr);
    EXPECT_EQ(FindResourceW(nullptr, L"Logo", L"PNG"), nullptr);
    EXPECT_EQ(LoadResource(nullptr, nullptr), nullptr);
    EXPECT_EQ(LockResource(nullptr), nullptr);

    ASSERT_TRUE(registerResource(nullptr, L"PNG", L"Empty", nullptr, 0));
    const HGLOBAL loaded = LoadResource(nullptr, FindResourceW(nullptr, L"Empty", L"PNG"));
    EXPECT_NE(loaded, nullptr);
    EXPECT_EQ(LockResource(loaded), nullptr);
    EXPECT_TRUE(unregisterResource(nullptr, L"PNG", L"Empty"));
}

TEST(ResourcesTest, ThreadsRegisterSideBySide) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([name = std::to_wstring(number)] {
            for (int round = 0; round < 500; ++round) {
                ASSERT_TRUE(registerResource(nullptr, L"PNG", name.c_str(), bytes, 4));
                const HRSRC found = FindResourceW(nullptr, name.c_str(), L"PNG");
                ASSERT_EQ(LockResource(LoadResource(nullptr, found)), bytes);
                ASSERT_TRUE(unregisterResource(nullptr, L"PNG", name.c_str()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(ThreadTest, LivingThreadsHaveNumbersOfTheirOwn) {
    DWORD inThread = 0;
    std::thread other([&inThread] { inThread = GetCurrentThreadId(); });
    const DWORD here = GetCurrentThreadId();
    other.join();
    EXPECT_NE(inThread, here);
    EXPECT_EQ(GetCurrentThreadId(), here);
}

} // namespace
