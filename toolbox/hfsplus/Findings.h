#pragma once

#include "hfsplus/VolumeChecker.h"

namespace hfsplus {

/// Collects findings up to a limit: a badly damaged volume has one for every record.
class Findings {
public:
    static constexpr std::size_t limit = 200;

    void add(std::string message)
    {
        if (!isFull())
            m_list.push_back({std::move(message)});
    }
    /// Adds `message` unless `sound`.
    void expect(bool sound, std::string message)
    {
        if (!sound)
            add(std::move(message));
    }
    bool isFull() const { return m_list.size() >= limit; }
    std::size_t size() const { return m_list.size(); }
    std::vector<Finding> take() { return std::move(m_list); }

private:
    std::vector<Finding> m_list;
};

} // namespace hfsplus
