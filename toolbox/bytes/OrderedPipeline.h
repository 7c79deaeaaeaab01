#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace bytes {

/// Numbered jobs done by several threads, their results taken in order by the calling one. At most
/// a few results a thread wait at any time, so that memory doesn't grow with the number of jobs.
///
/// `makeWork()` is called once on each thread and returns that thread's `Result work(index)`;
/// `consume(index, Result)` runs on the calling thread. The first exception in the order of the
/// jobs, or one of `consume`, ends the run as soon as the jobs under way are done, and leaves it.
class OrderedPipeline {
public:
    /// 0 is one thread per processor.
    explicit OrderedPipeline(unsigned threads)
        : m_threads(threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency()))
    { }

    template <typename MakeWork, typename Consume>
    void run(uint64_t jobs, MakeWork makeWork, Consume consume) const;

private:
    template <typename Result>
    class Board;

    unsigned m_threads;
};

/// What the threads share: who does what next, and the results that wait for their turn.
template <typename Result>
class OrderedPipeline::Board {
public:
    Board(uint64_t jobs, std::size_t window)
        : m_jobs(jobs)
        , m_slots(window)
    { }

    /// The next job for a thread; none when there is nothing more to do.
    std::optional<uint64_t> claim()
    {
        std::unique_lock lock(m_mutex);
        m_room.wait(lock,
            [&] { return m_stopping || m_next == m_jobs || m_next - m_taken < m_slots.size(); });
        if (m_stopping || m_next == m_jobs)
            return {};
        return m_next++;
    }

    void put(uint64_t job, std::optional<Result> result, std::exception_ptr error)
    {
        const std::lock_guard lock(m_mutex);
        m_slots[job % m_slots.size()] = {true, std::move(result), std::move(error)};
        m_ready.notify_one();
    }

    Result take(uint64_t job)
    {
        std::unique_lock lock(m_mutex);
        Slot& slot = m_slots[job % m_slots.size()];
        m_ready.wait(lock, [&] { return slot.filled; });
        Slot taken = std::exchange(slot, {});
        ++m_taken;
        m_room.notify_one();
        lock.unlock();
        if (taken.error)
            std::rethrow_exception(taken.error);
        return std::move(*taken.result);
    }

    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_room.notify_all();
    }

private:
    struct Slot {
        bool filled = false;
        std::optional<Result> result;
        std::exception_ptr error;
    };

    uint64_t m_jobs;
    std::mutex m_mutex;
    std::condition_variable m_room, m_ready;
    std::vector<Slot> m_slots;
    uint64_t m_next = 0; // job to be claimed
    uint64_t m_taken = 0;
    bool m_stopping = false;
};

template <typename MakeWork, typename Consume>
void OrderedPipeline::run(uint64_t jobs, MakeWork makeWork, Consume consume) const
{
    using Work = std::invoke_result_t<MakeWork&>;
    using Result = std::invoke_result_t<Work&, uint64_t>;
    constexpr std::size_t waitingPerThread = 4;

    Board<Result> board(jobs, m_threads * waitingPerThread);
    const auto serve = [&] {
        std::optional<Work> work;
        while (const auto job = board.claim()) {
            try {
                if (!work)
                    work.emplace(makeWork());
                board.put(*job, (*work)(*job), nullptr);
            } catch (...) {
                board.put(*job, std::nullopt, std::current_exception());
            }
        }
    };

    std::vector<std::jthread> threads;
    // Dropped before the threads are joined, however this function is left.
    struct Stop {
        Board<Result>& board;
        ~Stop() { board.stop(); }
    };
    const Stop stop{board};
    for (uint64_t i = 0; i < std::min<uint64_t>(m_threads, jobs); ++i)
        threads.emplace_back(serve);
    for (uint64_t job = 0; job < jobs; ++job)
        consume(job, board.take(job));
}

} // namespace bytes
