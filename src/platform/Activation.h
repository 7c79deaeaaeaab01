#pragma once

#include <functional>

/// Brings this application in front of all others. A program with a window says how; for one
/// without there is nothing to do.
class Activation {
public:
    static void bringToFront();
    static void setHandler(std::function<void()> handler);
};
