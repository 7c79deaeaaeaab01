#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <coroutine>
#include <deque>
#include <memory>
#include <optional>

/// The pieces of a running command's output, in the order they came. They wait here, however many,
/// until they are asked for. For one reader; copies share the pieces.
///
///     OutputSequence output = shell.runStreaming(command);
///     while (const std::optional<QString> piece = co_await output.next())
///         ...
///
/// When the last copy goes, what is still to come is thrown away; the command runs on.
class OutputSequence {
public:
    class Pieces; // what the writer fills

    OutputSequence();

    /// The next piece, or nothing once the command has ended and all pieces were taken. One call at
    /// a time.
    QCoro::Task<std::optional<QString>> next();

    /// For the writer, who holds it only while somebody may still read.
    std::weak_ptr<Pieces> pieces() const { return m_pieces; }

private:
    std::shared_ptr<Pieces> m_pieces;
};

class OutputSequence::Pieces {
public:
    void add(const QString& piece);
    /// No piece follows.
    void end();

private:
    friend class OutputSequence;
    struct Arrival;

    static QCoro::Task<std::optional<QString>> take(std::shared_ptr<Pieces> pieces);
    void wakeReader();

    std::deque<QString> m_waiting;
    bool m_hasEnded = false;
    std::coroutine_handle<> m_reader;
};
