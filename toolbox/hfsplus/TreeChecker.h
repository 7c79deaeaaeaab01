#pragma once

#include "hfsplus/Findings.h"
#include "hfsplus/TreeNode.h"

#include <functional>

namespace hfsplus {

/// Checks the structure of one B-tree level by level from its root: links, heights, keys, node
/// map, counts, unused nodes.
class TreeChecker {
public:
    using Less = bool (*)(std::span<const std::byte>, std::span<const std::byte>);
    struct Rules {
        std::string name; // for messages
        uint16_t maximumKeyLength;
        Less less;
        bool unusedNodesAreZero;
    };
    using Visit = std::function<void(const TreeRecord&)>;

    /// Borrows all three.
    TreeChecker(const bytes::ByteSource& file, Rules rules, Findings& findings);

    /// Hands each leaf record to `visit`; its spans last for the call.
    void check(const Visit& visit);
    const TreeHeader& header() const { return m_header; }

private:
    struct Child {
        uint32_t node;
        std::vector<std::byte> key; // that its parent has for it; empty for the root
    };
    struct Level {
        unsigned height;
        std::vector<Child> nodes;
    };

    bool checkHeader();
    void checkHeaderNode(const TreeNode& node);
    void readMap();
    void addMap(std::span<const std::byte> bits);
    void checkLevels(const Visit& visit);
    Level checkLevel(const Level& level, const Visit& visit);
    void checkPlace(const Level& level, std::size_t at, const NodeDescriptor& node);
    void checkNode(
        const Level& level, std::size_t at, const TreeNode& node, Level& below, const Visit& visit);
    void checkMap();
    bool claim(uint32_t number);
    std::vector<std::byte> nodeAt(uint32_t number) const;
    void report(const std::string& what);
    void report(uint32_t node, const std::string& what);

    const bytes::ByteSource& m_file;
    Rules m_rules;
    Findings& m_findings;
    TreeHeader m_header{};
    std::vector<bool> m_map, m_reached; // by node
    uint32_t m_leafRecords = 0;
    uint64_t m_content = 0; // bytes of the nodes that were looked into
    std::vector<std::byte> m_lastKey; // of the level so far
};

} // namespace hfsplus
