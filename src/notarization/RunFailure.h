#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

/// Awaits `work`, whose errors are those of submissions and of the shell; gives the user's words
/// for one, nothing when it succeeded.
QCoro::Task<std::optional<QString>> failureOf(QCoro::Task<> work);
