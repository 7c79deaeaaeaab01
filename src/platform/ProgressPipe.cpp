#include "platform/ProgressPipe.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

ProgressPipe::ProgressPipe(std::function<void(double share)> receive, QObject* parent)
    : QObject(parent)
    , m_receive(std::move(receive))
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        return; // then nobody hears how far it is
    m_reading = Descriptor(ends[0]);
    m_writing = Descriptor(ends[1]);
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK); // neither side ever waits for the other
    }
    auto* const notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &ProgressPipe::takeLines);
}

void ProgressPipe::giveTo(QProcess& process)
{
    if (!m_writing)
        return;
    const int end = m_writing.get();
    QProcessEnvironment environment = process.processEnvironment();
    environment.insert(u"VANDOR_PROGRESS_FD"_s, QString::number(end));
    process.setProcessEnvironment(environment);
    process.setChildProcessModifier([end] { ::fcntl(end, F_SETFD, 0); });
}

void ProgressPipe::takeLines()
{
    constexpr qsizetype longest = 64;
    constexpr QByteArrayView key = "PERCENT:";
    char raw[4096];
    const ssize_t count = ::read(m_reading.get(), raw, sizeof raw);
    if (count == 0)
        findChild<QSocketNotifier*>()->setEnabled(false);
    for (ssize_t at = 0; at < count; ++at) {
        if (raw[at] != '\n') {
            if (m_line.size() < longest)
                m_line += raw[at];
            continue;
        }
        bool isNumber = false;
        const double percent =
            m_line.startsWith(key) ? m_line.sliced(key.size()).toDouble(&isNumber) : 0;
        m_line.clear();
        if (isNumber && percent >= 0 && percent <= 100)
            m_receive(percent / 100);
    }
}
