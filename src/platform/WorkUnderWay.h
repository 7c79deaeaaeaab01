#pragma once

/// Work that is lost when the program ends, whoever still waits for it: under way as long as one
/// of these lives in its coroutine. Main thread only.
class WorkUnderWay {
public:
    WorkUnderWay() { ++count; }
    ~WorkUnderWay() { --count; }
    WorkUnderWay(const WorkUnderWay&) = delete;
    WorkUnderWay& operator=(const WorkUnderWay&) = delete;

    static bool any() { return count > 0; }

private:
    inline static int count = 0;
};
