#include "platform/Activation.h"

#include <utility>

namespace {

std::function<void()>& handlerOfProgram()
{
    static std::function<void()> handler;
    return handler;
}

} // namespace

void Activation::bringToFront()
{
    if (const std::function<void()>& handler = handlerOfProgram())
        handler();
}

void Activation::setHandler(std::function<void()> handler)
{
    handlerOfProgram() = std::move(handler);
}
