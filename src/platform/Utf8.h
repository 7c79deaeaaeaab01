#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The text of bytes that are UTF-8 from end to end, nothing otherwise. A byte order mark stays.
std::optional<QString> textFromUtf8(const QByteArray& bytes);

/// How many of the bytes at the end begin a UTF-8 sequence that more bytes could complete.
qsizetype unfinishedUtf8Tail(const QByteArray& bytes);
