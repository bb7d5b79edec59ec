#include "base/Reference.h"
#include "base/VelmoraException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using dornbase::g_referencedObjectMutex;
using dornbase::Reference;
using dornbase::ReferencedImpl;
using dornbase::ReferencedImplMT;
using dornbase::ThreadMutexGuard;
using testing::ElementsAre;

constexpr std::chrono::milliseconds aMoment(100);
constexpr std::chrono::milliseconds enough(20000);

/* Whether another thread gets the mutex in that time. `other` ends when it has got it, then or later. */
bool isFree(dornbase::ThreadMutex& mutex, std::thread& other, std::chrono::milliseconds patience) {
    std::promise<void> locked;
    std::future<void> gotIt = locked.get_future();
    other = std::thread([&mutex, locked = std::move(locked)]() mutable {
        ThreadMutexGuard guard(mutex, true);
        locked.set_value();
    });
    return gotIt.wait_for(patience) == std::future_status::ready;
}

/* Notes its death. */
class Page : public dornbase::ReferencedObject {
public:
    Page(int& deaths, int value) : number(value), deaths_(&deaths) {}

    int number;

protected:
    Page(const Page&) = default;
    Page& operator=(const Page&) = default;
    Page& operator=(Page&& other) noexcept {
        number = std::exchange(other.number, 0);
        return *this;
    }
    ~Page() override { ++*deaths_; }

private:
    int* deaths_;
};

template <class Impl>
class CountedTest : public testing::Test {};
using Impls = testing::Types<ReferencedImpl<Page>, ReferencedImplMT<Page>>;
TYPED_TEST_SUITE(CountedTest, Impls);

TYPED_TEST(CountedTest, LivesAsLongAsAReference) {
    int deaths = 0;
    Page* const raw = new TypeParam(deaths, 5);
    {
        Reference<Page> first(raw);
        Reference<Page> copy(first);
        first = first;
        EXPECT_EQ(first.get(), raw);
        first = nullptr;
        EXPECT_FALSE(first);
        const Page* const none = first;
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(deaths, 0);

        Reference<Page, dornbase::ReferencedObject> throughBase(copy.get());
        Reference<Page> moved(std::move(copy));
        EXPECT_EQ(copy.get(), nullptr);
        EXPECT_EQ(moved->number, 5);
        throughBase = nullptr;
        // With another reference alive, storing the held pointer again is harmless.
        Reference<Page> keep(raw);
        moved = raw;
        keep = std::move(moved);
        EXPECT_EQ(moved.get(), nullptr);
        EXPECT_EQ(deaths, 0);
        keep = new TypeParam(deaths, 6);
        EXPECT_EQ(deaths, 1);
        EXPECT_EQ(keep->number, 6);
    }
    EXPECT_EQ(deaths, 2);
}

TYPED_TEST(CountedTest, CopiesCountForThemselves) {
    int deaths = 0;
    Reference<Page> one(new TypeParam(deaths, 1));
    auto* const original = static_cast<TypeParam*>(one.get());
    {
        Reference<Page> another(new TypeParam(*original));
        Reference<Page> third(another);
        *original = *static_cast<TypeParam*>(another.get());
        original->number = 3;
        EXPECT_EQ(another->number, 1);
        *original = std::move(*static_cast<TypeParam*>(another.get()));
        EXPECT_EQ(original->number, 1);
        EXPECT_EQ(another->number, 0);
    }
    EXPECT_EQ(deaths, 1);
    one = nullptr;
    EXPECT_EQ(deaths, 2);
}

/* Writes down what a Reference does with it, and never goes. */
struct Recorder : dornbase::ReferencedObject {
    Recorder(std::vector<std::string>& log, std::string name) : log_(log), name_(std::move(name)) {}
    void addRef() override { log_.push_back("add " + name_); }
    void releaseRef() override { log_.push_back("release " + name_); }

private:
    std::vector<std::string>& log_;
    std::string name_;
};

TEST(ReferenceTest, DropsTheOldBeforeItTakesTheNew) {
    std::vector<std::string> log;
    Recorder a(log, "a");
    Recorder b(log, "b");
    {
        Reference<Recorder> held(&a);
        held = &b;
        held = &b;
        const Reference<Recorder> other(&a);
        held = other;
    }
    EXPECT_THAT(log, ElementsAre("add a", "release a", "add b", "release b", "add b", "add a", "release b",
                                 "add a", "release a", "release a"));
}

struct DyingOutside : dornbase::ReferencedObject {
    DyingOutside(bool& wasFree, std::thread& other) : wasFree_(wasFree), other_(other) {}

protected:
    ~DyingOutside() override { wasFree_ = isFree(g_referencedObjectMutex, other_, enough); }

private:
    bool& wasFree_;
    std::thread& other_;
};

TEST(ReferenceTest, DiesOutsideTheGlobalMutex) {
    bool wasFree = false;
    std::thread other;
    Reference<DyingOutside>(new ReferencedImplMT<DyingOutside>(wasFree, other));
    other.join();
    EXPECT_TRUE(wasFree);
}

TEST(ReferenceTest, ThreadsShareACount) {
    int deaths = 0;
    std::vector<std::thread> threads;
    {
        const Reference<Page> page(new ReferencedImplMT<Page>(deaths, 1));
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([own = page]() mutable {
                for (int round = 0; round < 5000; ++round) {
                    Reference<Page> copy(own);
                    own = copy;
                }
            });
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
    EXPECT_EQ(deaths, 1);
}

TEST(ThreadMutexTest, TheHolderMayLockAgain) {
    dornbase::ThreadMutex mutex;
    std::thread others[3];
    {
        ThreadMutexGuard outer(mutex, true);
        {
            ThreadMutexGuard inner(mutex, false);
            inner.acquire();
            inner.acquire();
            inner.release();
            inner.release();
            inner.acquire();
        }
        EXPECT_FALSE(isFree(mutex, others[0], aMoment));
        outer.release();
        EXPECT_TRUE(isFree(mutex, others[1], enough));
        outer.acquire();
        EXPECT_FALSE(isFree(mutex, others[2], aMoment));
    }
    for (std::thread& other : others) {
        other.join();
    }
}

/* The place of a virtual operation in the table, as the Itanium C++ ABI keeps it in a member pointer. */
template <class Member>
std::size_t tableIndex(Member member) {
    std::size_t first;
    std::memcpy(&first, &member, sizeof first);
    return (first - 1) / sizeof(void*);
}

struct NextInLine : dornbase::ReferencedObject {
    virtual void next() {}
};

TEST(SlotTest, VirtualOperationsKeepTheirOrder) {
    EXPECT_EQ(tableIndex(&dornbase::ReferencedObject::addRef), 0u);
    EXPECT_EQ(tableIndex(&dornbase::ReferencedObject::releaseRef), 1u);
    // A virtual destructor takes two entries of this table, of the one slot that it counts as.
    EXPECT_EQ(tableIndex(&NextInLine::next), 3u + 1u);
    EXPECT_EQ(tableIndex(&VelmoraException::setError), 3u + 1u);
}

} // namespace
