#include "platform/Console.h"

#include <cstdio>

void Console::write(const QString& line)
{
    const QByteArray text = line.toUtf8() + '\n';
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    std::fflush(stdout); // children write to the same stream; the order tells a story
}
