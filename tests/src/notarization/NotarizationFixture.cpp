#include "NotarizationFixture.h"

#include <QCoro/QCoroSignal>

using namespace Qt::StringLiterals;

QCoro::Task<> HandClock::wait(std::chrono::milliseconds duration, CancellationHandle cancellation)
{
    begun.push_back(duration);
    if (isHeld && !cancellation->isRequested())
        co_await qCoro(cancellation.get(), &Cancellation::requested);
}

NotarizationFixture::NotarizationFixture()
{
    qputenv("HOME", QFile::encodeName(scratch.path())); // no startup file of the user's
    QDir().mkpath(host.temporaryFolder);
}

QString NotarizationFixture::onError(const QString& text)
{
    return u"cat >&2 <<'END'\n%1\nEND\n"_s.arg(text);
}
