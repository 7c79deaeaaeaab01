#include "notarization/RunFailure.h"

#include "notarization/NotarizationError.h"
#include "process/ShellError.h"

QCoro::Task<std::optional<QString>> failureOf(QCoro::Task<> work)
{
    std::optional<QString> failure;
    try {
        co_await work;
    } catch (const NotarizationError& error) {
        failure = error.description();
    } catch (const ShellError& error) {
        failure = error.description();
    }
    co_return failure;
}
