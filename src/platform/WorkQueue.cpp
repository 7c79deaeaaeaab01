#include "platform/WorkQueue.h"

#include <utility>

WorkQueue::WorkQueue(size_t threads, size_t capacity)
    : m_threadLimit(threads)
    , m_capacity(capacity)
{ }

WorkQueue::~WorkQueue()
{
    std::deque<std::function<void()>> dropped; // what a job holds may call `fail` as it goes
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        dropped.swap(m_jobs);
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

void WorkQueue::add(std::function<void()> job)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_failure || m_jobs.size() < m_capacity; });
    if (m_failure)
        std::rethrow_exception(m_failure);
    m_jobs.push_back(std::move(job));
    if (m_threads.size() < m_threadLimit)
        m_threads.emplace_back([this] { work(); });
    lock.unlock();
    m_changed.notify_all();
}

void WorkQueue::finish()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_failure || (m_jobs.empty() && m_running == 0); });
    if (m_failure)
        std::rethrow_exception(m_failure);
}

void WorkQueue::fail(std::exception_ptr failure)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_failure)
            m_failure = std::move(failure);
    }
    m_changed.notify_all();
}

void WorkQueue::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closed || (!m_jobs.empty() && !m_failure); });
        if (m_closed)
            return;
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        ++m_running;
        lock.unlock();
        try {
            job();
        } catch (...) {
            fail(std::current_exception());
        }
        job = nullptr;
        lock.lock();
        --m_running;
        m_changed.notify_all();
    }
}
