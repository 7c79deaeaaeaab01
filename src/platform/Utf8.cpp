#include "platform/Utf8.h"

#include <QStringDecoder>

#include <algorithm>

namespace {

constexpr qsizetype longestSequence = 4; // bytes

/// Bytes of a sequence that begins with `lead`; 1 for a byte that can begin none.
qsizetype sequenceLength(uchar lead)
{
    if (lead >= 0xc2 && lead <= 0xdf)
        return 2;
    if (lead >= 0xe0 && lead <= 0xef)
        return 3;
    return lead >= 0xf0 && lead <= 0xf4 ? 4 : 1;
}

bool isContinuation(uchar byte)
{
    return (byte & 0xc0) == 0x80;
}

} // namespace

std::optional<QString> textFromUtf8(const QByteArray& bytes)
{
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringConverter::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

qsizetype unfinishedUtf8Tail(const QByteArray& bytes)
{
    const qsizetype furthest = std::min(longestSequence - 1, bytes.size());
    for (qsizetype length = 1; length <= furthest; ++length) {
        const auto byte = static_cast<uchar>(bytes[bytes.size() - length]);
        if (!isContinuation(byte))
            return sequenceLength(byte) > length ? length : 0;
    }
    return 0;
}
