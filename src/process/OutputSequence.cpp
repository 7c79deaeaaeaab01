#include "process/OutputSequence.h"

#include <utility>

/// Suspends the reader until there is a piece or the end.
struct OutputSequence::Pieces::Arrival {
    Pieces& pieces;

    bool await_ready() const { return !pieces.m_waiting.empty() || pieces.m_hasEnded; }
    void await_suspend(std::coroutine_handle<> reader) const
    {
        Q_ASSERT(!pieces.m_reader);
        pieces.m_reader = reader;
    }
    void await_resume() const { }
};

OutputSequence::OutputSequence()
    : m_pieces(std::make_shared<Pieces>())
{ }

QCoro::Task<std::optional<QString>> OutputSequence::next()
{
    return Pieces::take(m_pieces);
}

QCoro::Task<std::optional<QString>> OutputSequence::Pieces::take(std::shared_ptr<Pieces> pieces)
{
    co_await Arrival{*pieces};
    if (pieces->m_waiting.empty())
        co_return std::nullopt;
    const QString piece = std::move(pieces->m_waiting.front());
    pieces->m_waiting.pop_front();
    co_return piece;
}

void OutputSequence::Pieces::add(const QString& piece)
{
    m_waiting.push_back(piece);
    wakeReader();
}

void OutputSequence::Pieces::end()
{
    m_hasEnded = true;
    wakeReader();
}

void OutputSequence::Pieces::wakeReader()
{
    if (m_reader)
        std::exchange(m_reader, nullptr).resume();
}
