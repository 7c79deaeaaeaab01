#include "bytes/OrderedPipeline.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace {

using bytes::OrderedPipeline;

TEST(OrderedPipeline, ResultsComeInTheOrderOfTheJobs)
{
    for (const unsigned threads : {1U, 2U, 7U}) {
        std::vector<uint64_t> taken;
        OrderedPipeline(threads).run(
            500,
            [] {
                return [](uint64_t job) {
                    // Early jobs of each group take longest, so that later ones are done first.
                    std::this_thread::sleep_for(std::chrono::microseconds(job % 8 == 0 ? 300 : 1));
                    return job * job;
                };
            },
            [&](uint64_t job, uint64_t result) {
                EXPECT_EQ(result, job * job);
                taken.push_back(job);
            });
        ASSERT_EQ(taken.size(), 500U);
        EXPECT_TRUE(std::ranges::is_sorted(taken));
    }
}

TEST(OrderedPipeline, AtMostAFewResultsWait)
{
    std::atomic<uint64_t> started = 0;
    uint64_t most = 0;
    OrderedPipeline(2).run(
        200,
        [&] {
            return [&](uint64_t job) {
                ++started;
                return job;
            };
        },
        [&](uint64_t job, uint64_t) {
            std::this_thread::sleep_for(std::chrono::microseconds(200));
            most = std::max(most, started - job);
        });
    EXPECT_LE(most, 2U * 4 + 2);
}

TEST(OrderedPipeline, TheFirstFailureInOrderEndsTheRun)
{
    std::atomic<uint64_t> started = 0;
    uint64_t taken = 0;
    const auto run = [&] {
        OrderedPipeline(4).run(
            100000,
            [&] {
                return [&](uint64_t job) {
                    ++started;
                    if (job >= 20)
                        throw std::runtime_error("job " + std::to_string(job));
                    return job;
                };
            },
            [&](uint64_t, uint64_t) { ++taken; });
    };
    EXPECT_THROW(
        {
            try {
                run();
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "job 20");
                throw;
            }
        },
        std::runtime_error);
    EXPECT_EQ(taken, 20U);
    EXPECT_LT(started, 100U);
}

TEST(OrderedPipeline, AFailingConsumerEndsTheRunToo)
{
    std::atomic<uint64_t> started = 0;
    EXPECT_THROW(OrderedPipeline(3).run(
                     100000,
                     [&] {
                         return [&](uint64_t job) {
                             ++started;
                             return job;
                         };
                     },
                     [](uint64_t job, uint64_t) {
                         if (job == 5)
                             throw std::logic_error("full");
                     }),
        std::logic_error);
    EXPECT_LT(started, 100U);
}

TEST(OrderedPipeline, AThreadThatCannotBeEquippedIsAFailureOfItsJob)
{
    EXPECT_THROW(
        OrderedPipeline(2).run(
            10, []() -> int (*)(uint64_t) { throw std::bad_alloc(); }, [](uint64_t, int) {}),
        std::bad_alloc);
}

} // namespace
