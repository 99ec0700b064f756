#include "platform/posix/host_names.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace kestrane {
namespace {

using Addresses = std::vector<boost::asio::ip::address>;

/// Of each lookup but the first, the answer comes in the background.
TEST(HostNamesTest, AName_IsLookedUpAgainAfterItsTime_AndServesOnWhereThatFails) {
    const auto address = [](const char* text) { return Addresses{boost::asio::ip::make_address(text)}; };
    const auto lookups = std::make_shared<std::atomic<int>>(0);  // a last lookup may outlive the test
    const HostNames::Lookup lookup = [address, lookups](const std::string&) -> HostNames::Answer {
        switch (++*lookups) {
            case 1:
                return {.addresses = address("192.0.2.1"), .error = {}};
            case 2:
                return {.addresses = address("192.0.2.2"), .error = {}};
            default:
                return {.addresses = {}, .error = "the name server is down"};
        }
    };
    HostNames names(lookup, std::chrono::milliseconds(0));
    const auto find = [&] { return names.Find("mount", SlicedWait::TimePoint::max(), SlicedWait()).addresses; };
    const auto findUntil = [&](int count) {
        Addresses found = find();
        while (*lookups < count) {
            found = find();
        }
        return found;
    };
    EXPECT_EQ(find(), address("192.0.2.1"));
    EXPECT_EQ(find(), address("192.0.2.1")) << "while it is looked up again";
    EXPECT_EQ(findUntil(5), address("192.0.2.2"));
}

/// A network that comes back is found at once.
TEST(HostNamesTest, ANameWhoseLookupFailed_IsLookedUpAgainWithTheNextRequest) {
    const auto fails = std::make_shared<std::atomic<bool>>(true);
    const HostNames::Lookup lookup = [fails](const std::string&) -> HostNames::Answer {
        if (*fails) {
            return {.addresses = {}, .error = "the name server is down"};
        }
        return {.addresses = {boost::asio::ip::make_address("192.0.2.1")}, .error = {}};
    };
    HostNames names(lookup);
    const auto find = [&] { return names.Find("mount", SlicedWait::TimePoint::max(), SlicedWait()); };
    EXPECT_EQ(find().error, "the name server is down");
    *fails = false;
    EXPECT_EQ(find().addresses.size(), 1U);
}

/// A lookup that failed after its request had been given up says nothing about now.
TEST(HostNamesTest, ANameWhoseLookupFailedInTheMeantime_IsLookedUpAgainInTheSameRequest) {
    std::promise<void> released;
    const std::shared_future<void> isReleased = released.get_future().share();
    const auto lookups = std::make_shared<std::atomic<int>>(0);
    HostNames names([isReleased, lookups](const std::string&) -> HostNames::Answer {
        if (++*lookups > 1) {
            return {.addresses = {boost::asio::ip::make_address("192.0.2.1")}, .error = {}};
        }
        isReleased.wait();
        return {.addresses = {}, .error = "the name server is down"};
    });
    const auto usersAtRest = lookups.use_count();
    const HostNames::Answer early = names.Find("mount", SlicedWait::TimePoint::min(), SlicedWait());
    EXPECT_EQ(early.error, "");
    released.set_value();
    while (lookups.use_count() > usersAtRest) {
        std::this_thread::yield();  // until the lookup's thread lets go of it, its answer told
    }
    EXPECT_EQ(names.Find("mount", SlicedWait::TimePoint::max(), SlicedWait()).addresses.size(), 1U);
}

TEST(HostNamesTest, ANameWhoseSecondLookupFailed_IsNotLeftAloneForItsTimeAgain) {
    constexpr std::chrono::milliseconds kKnownFor{300};
    const auto lookups = std::make_shared<std::atomic<int>>(0);
    const HostNames::Lookup lookup = [lookups](const std::string&) -> HostNames::Answer {
        if (++*lookups == 1) {
            return {.addresses = {boost::asio::ip::make_address("192.0.2.1")}, .error = {}};
        }
        return {.addresses = {}, .error = "the name server is down"};
    };
    HostNames names(lookup, kKnownFor);
    const auto findUntil = [&](int count) {
        while (*lookups < count) {
            EXPECT_EQ(names.Find("mount", SlicedWait::TimePoint::max(), SlicedWait()).addresses.size(), 1U);
        }
        return std::chrono::steady_clock::now();
    };
    const auto second = findUntil(2);
    EXPECT_LT(findUntil(3) - second, kKnownFor);
}

TEST(HostNamesTest, AnAddress_IsNeverLookedUp) {
    HostNames names([](const std::string&) -> HostNames::Answer { return {.addresses = {}, .error = "asked"}; });
    for (const char* address : {"192.0.2.7", "::1"}) {
        EXPECT_EQ(names.Find(address, {}, SlicedWait()).addresses, Addresses{boost::asio::ip::make_address(address)});
    }
}

}  // namespace
}  // namespace kestrane
