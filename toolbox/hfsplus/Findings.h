#pragma once

#include "hfsplus/VolumeChecker.h"

namespace hfsplus {

/// Collects findings, each of the two kinds up to a limit: a badly damaged volume has one for every
/// record, and a used one a remark for every node.
class Findings {
public:
    static constexpr std::size_t limit = 200;

    void add(std::string message, bool damage = true)
    {
        std::size_t& count = damage ? m_damages : m_remarks;
        if (count == limit)
            return;
        ++count;
        m_list.push_back({std::move(message), damage});
    }
    /// Adds `message` unless `sound`.
    void expect(bool sound, std::string message)
    {
        if (!sound)
            add(std::move(message));
    }
    /// The same for what is odd but does no harm.
    void prefer(bool tidy, std::string message)
    {
        if (!tidy)
            add(std::move(message), false);
    }
    /// True when no more damage is taken: time to stop looking.
    bool isFull() const { return m_damages == limit; }
    std::vector<Finding> take() { return std::move(m_list); }

private:
    std::vector<Finding> m_list;
    std::size_t m_damages = 0, m_remarks = 0;
};

} // namespace hfsplus
