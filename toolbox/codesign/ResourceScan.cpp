#include "codesign/ResourceScan.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "macho/MachOFile.h"

#include <algorithm>

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;

namespace {

constexpr int deepestFolder = 200;

class Scan {
public:
    Scan(const BundleLayout& layout, const SealRules& rules, bool nestedCode,
        const std::set<fs::path>& ignored)
        : m_rules(rules)
        , m_nestedCode(nestedCode)
        , m_ignored(ignored)
        , m_root(layout.sealRoot)
        , m_executable(layout.executable.lexically_relative(layout.sealRoot).generic_string())
    {
        visitFolder(m_root, "", 0);
        std::ranges::sort(m_found, {}, &SealCandidate::path);
    }

    std::vector<SealCandidate> take() { return std::move(m_found); }

private:
    /// The signature's own files and the store's receipt never belong to the seal.
    bool isExcluded(const std::string& path) const
    {
        return path == "_CodeSignature" || path == "CodeResources" || path == "_MASReceipt"
            || path == m_executable;
    }

    void visitFolder(const fs::path& folder, const std::string& prefix, int depth)
    {
        if (depth > deepestFolder)
            throw FormatError("folders nested too deeply: " + prefix);
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            const std::string path = prefix + entry.path().filename().string();
            if (!isExcluded(path) && !m_ignored.contains(entry.path()))
                visit(entry, path, depth);
        }
    }

    void visit(const fs::directory_entry& entry, const std::string& path, int depth)
    {
        const SealRule* rule = m_rules.ruleFor(path);
        const bool sealed = rule != nullptr && !rule->omit;
        switch (entry.symlink_status().type()) {
        case fs::file_type::symlink:
            if (m_nestedCode && sealed)
                addLink(entry.path(), path, *rule);
            break;
        case fs::file_type::directory:
            visitNested(entry.path(), path, rule, depth);
            break;
        case fs::file_type::regular:
            if (sealed)
                addFile(entry.path(), path, *rule);
            break;
        default:
            throw FormatError(
                "unsupported resource found (something not a directory, file or symlink): " + path);
        }
    }

    void visitNested(
        const fs::path& location, const std::string& path, const SealRule* rule, int depth)
    {
        const bool mayBeBundle = m_nestedCode && rule != nullptr && rule->nested
            && location.filename().string().find('.') != std::string::npos;
        if (mayBeBundle && isCode(location))
            add(SealCandidate::Kind::nestedCode, location, path, *rule);
        else
            visitFolder(location, path + "/", depth + 1);
    }

    void addFile(const fs::path& location, const std::string& path, const SealRule& rule)
    {
        const bool code = m_nestedCode && rule.nested && isCode(location);
        add(code ? SealCandidate::Kind::nestedCode : SealCandidate::Kind::file, location, path,
            rule);
    }

    void addLink(const fs::path& location, const std::string& path, const SealRule& rule)
    {
        add(SealCandidate::Kind::link, location, path, rule);
        m_found.back().target = fs::read_symlink(location).string();
    }

    void add(SealCandidate::Kind kind, const fs::path& location, const std::string& path,
        const SealRule& rule)
    {
        m_found.push_back({kind, path, location, {}, rule.optional});
    }

    const SealRules& m_rules;
    bool m_nestedCode;
    const std::set<fs::path>& m_ignored;
    fs::path m_root;
    std::string m_executable;
    std::vector<SealCandidate> m_found;
};

} // namespace

std::vector<SealCandidate> scanForSeal(
    const BundleLayout& layout, const SealRules& rules, const std::set<fs::path>& ignored)
{
    return Scan(layout, rules, true, ignored).take();
}

std::vector<SealCandidate> scanFilesForOldSeal(
    const BundleLayout& layout, const SealRules& rules, const std::set<fs::path>& ignored)
{
    return Scan(layout, rules, false, ignored).take();
}

bool isCode(const fs::path& path)
{
    if (fs::is_directory(path)) {
        const auto layout = BundleLayout::of(path);
        return layout && isCode(layout->executable);
    }
    if (!fs::is_regular_file(fs::symlink_status(path)))
        return false;
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    return macho::MachOFile::isMachO(source);
}

} // namespace codesign
