#include "cli/SecretInput.h"

#include "platform/Utf8.h"

#include <QByteArray>

#include <cerrno>
#include <termios.h>
#include <unistd.h>

namespace {

/// Keeps what is typed from being shown, while it lives. Does nothing where nobody types.
class HiddenTyping {
public:
    HiddenTyping()
        : m_isTerminal(::tcgetattr(STDIN_FILENO, &m_before) == 0)
    {
        if (!m_isTerminal)
            return;
        termios hidden = m_before;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    ~HiddenTyping()
    {
        if (m_isTerminal)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;

    bool isTerminal() const { return m_isTerminal; }

private:
    termios m_before{};
    bool m_isTerminal;
};

void show(const QByteArray& text)
{
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, text.constData(), static_cast<size_t>(text.size()));
}

} // namespace

std::optional<QString> readSecret(const QString& prompt)
{
    constexpr qsizetype longest = 4096;
    const HiddenTyping hidden;
    if (hidden.isTerminal())
        show(prompt.toUtf8());
    QByteArray line;
    char byte = 0;
    ssize_t count = 0;
    while (line.size() < longest && ((count = ::read(STDIN_FILENO, &byte, 1)) > 0 || errno == EINTR)
        && byte != '\n') {
        if (count == 1)
            line += byte;
        errno = 0;
    }
    if (hidden.isTerminal())
        show("\n");
    if (line.isEmpty())
        return std::nullopt;
    return textFromUtf8(line);
}
