#include "kelvo/base/workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

using namespace qv;

namespace {

constexpr u32 threadCounts[] = {1, 2, 3, 8, 0, 10'000};

// Starts threads until `most` of them were started.
class FewThreads {
public:
    explicit FewThreads(int most) : m_left(most) {}

    std::thread operator()(const Workers::Task& task) {
        if (m_left-- == 0)
            throw std::system_error(
                std::make_error_code(std::errc::resource_unavailable_try_again));
        return std::thread(task);
    }

private:
    int m_left;
};

// Returns how often each of `count` pieces was worked on.
std::vector<int> timesWorked(const Workers& workers, u64 count) {
    std::vector<std::atomic<int>> times(count);
    workers.run(count, [&](u64 piece) { ++times[piece]; });
    return {times.begin(), times.end()};
}

// Returns the message of the exception that leaves a run.
std::string thrownBy(const Workers& workers, u64 count, const Workers::Piece& work) {
    try {
        workers.run(count, work);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

} // namespace

TEST(Workers, EachPiece_IsWorkedOnOnce) {
    for (const u32 threads : threadCounts)
        EXPECT_EQ(timesWorked(Workers(threads), 100), std::vector<int>(100, 1)) << threads;
}

TEST(Workers, NoPieces_AreNoWork) {
    for (const u32 threads : threadCounts)
        EXPECT_TRUE(timesWorked(Workers(threads), 0).empty()) << threads;
}

TEST(Workers, OneThread_WorksInOrderOnTheCallersThread) {
    std::vector<u64> order;
    bool isCaller = true;
    const std::thread::id caller = std::this_thread::get_id();
    Workers(1).run(5, [&](u64 piece) {
        order.push_back(piece);
        isCaller = isCaller && std::this_thread::get_id() == caller;
    });
    EXPECT_EQ(order, (std::vector<u64>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(isCaller);
}

TEST(Workers, TwoThreads_WorkAtTheSameTime) {
    std::atomic<int> begun = 0;
    Workers(2).run(2, [&](u64) {
        for (++begun; begun < 2;)
            std::this_thread::yield();
    });
    EXPECT_EQ(begun, 2);
}

TEST(Workers, TenThousandThreads_AreNoMoreThanThePieces) {
    std::mutex mutex;
    std::set<std::thread::id> ids;
    int started = 0;
    const Workers workers(10'000, [&](const Workers::Task& task) {
        ++started;
        return std::thread(task);
    });
    workers.run(3, [&](u64) {
        const std::lock_guard lock(mutex);
        ids.insert(std::this_thread::get_id());
    });
    EXPECT_EQ(started, 2);
    EXPECT_LE(ids.size(), 3u);
}

TEST(Workers, NoThreads_StandForThoseOfTheMachine) {
    u64 started = 0;
    const Workers workers(0, [&](const Workers::Task& task) {
        ++started;
        return std::thread(task);
    });
    workers.run(100'000, [](u64) {});
    EXPECT_EQ(started + 1, std::max(std::thread::hardware_concurrency(), 1u));
}

TEST(Workers, ThreadsThatCannotBeStarted_AreDoneWithout) {
    for (const int most : {0, 1, 2})
        EXPECT_EQ(timesWorked(Workers(4, FewThreads(most)), 100), std::vector<int>(100, 1)) << most;
}

TEST(Workers, NoMemoryForAThread_IsDoneWithout) {
    const Workers workers(4, [](const Workers::Task&) -> std::thread { throw std::bad_alloc(); });
    EXPECT_EQ(timesWorked(workers, 100), std::vector<int>(100, 1));
}

TEST(Workers, AnException_ReachesTheCallerAfterAllThreadsEnded) {
    for (const u32 threads : threadCounts) {
        std::atomic<int> open = 0;
        const std::string thrown = thrownBy(Workers(threads), 64, [&](u64 piece) {
            ++open;
            if (piece == 7) {
                --open;
                throw std::runtime_error("seven");
            }
            std::this_thread::yield();
            --open;
        });
        EXPECT_EQ(thrown, "seven") << threads;
        EXPECT_EQ(open, 0) << threads;
    }
}

TEST(Workers, AHigherPieceThatFailsLater_LeavesTheFirstException) {
    std::atomic<bool> isFirstBegun = false, isSecondBegun = false, isFirstOver = false;
    const auto await = [](const std::atomic<bool>& what) {
        while (!what)
            std::this_thread::yield();
    };
    const Workers workers(2, [&](const Workers::Task& task) {
        std::thread thread([&, task] {
            task();
            isFirstOver = true;
        });
        await(isFirstBegun);
        return thread;
    });
    const std::string thrown = thrownBy(workers, 2, [&](u64 piece) {
        (piece == 0 ? isFirstBegun : isSecondBegun) = true;
        await(piece == 0 ? isSecondBegun : isFirstOver);
        throw std::runtime_error(piece == 0 ? "first" : "second");
    });
    EXPECT_EQ(thrown, "first");
}

TEST(Workers, SeveralExceptions_GiveThatOfTheLowestPiece) {
    for (const u32 threads : threadCounts)
        for (int times = 0; times < 50; ++times)
            EXPECT_EQ(thrownBy(Workers(threads), 32,
                               [](u64 piece) {
                                   if (piece >= 5) throw std::runtime_error(std::to_string(piece));
                               }),
                      "5")
                << threads;
}

TEST(Workers, AfterAnException_NoFurtherPieceIsBegun) {
    std::vector<u64> begun;
    EXPECT_THROW(Workers(1).run(10,
                                [&](u64 piece) {
                                    begun.push_back(piece);
                                    if (piece == 2) throw std::runtime_error("two");
                                }),
                 std::runtime_error);
    EXPECT_EQ(begun, (std::vector<u64>{0, 1, 2}));
}
