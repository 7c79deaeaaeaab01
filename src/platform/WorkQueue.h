#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

/// Runs jobs on a few threads of its own and keeps the first failure. Used by one thread.
class WorkQueue {
public:
    /// Holds at most `capacity` jobs that no thread has taken yet. Threads start with the jobs.
    WorkQueue(size_t threads, size_t capacity);
    /// Drops the jobs that didn't start and waits for those that did.
    ~WorkQueue();
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// Waits for room. Throws the first failure so far instead of adding to it.
    void add(std::function<void()> job);
    /// Waits until all jobs are done. Throws the first failure.
    void finish();
    /// Records a failure from outside a job, on any thread.
    void fail(std::exception_ptr failure);

private:
    void work();

    const size_t m_threadLimit;
    const size_t m_capacity;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_jobs;
    size_t m_running = 0;
    bool m_closed = false;
    std::exception_ptr m_failure;
    std::vector<std::thread> m_threads;
};
