#pragma once

#include <QString>

#include <optional>

/// A line from standard input, for a secret: asked for with `prompt` and not shown where a person
/// types it. Nothing when the input has none or is no UTF-8.
std::optional<QString> readSecret(const QString& prompt);
