#include "codesign/ResourceSeal.h"

#include "bytes/File.h"
#include "bytes/FormatError.h"
#include "codesign/HostDetritus.h"
#include "plist/PropertyList.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <set>
#include <thread>

namespace codesign {

namespace fs = std::filesystem;
using bytes::FormatError;

namespace {

Digest digestOfFile(HashType type, const fs::path& path)
{
    const auto source = bytes::File::open(path, bytes::File::Mode::read);
    return digestOf(type, source, source.size());
}

/// Calls `work(i)` for every i below `count` on all cores; the first exception is passed on.
void inParallel(std::size_t count, const std::function<void(std::size_t)>& work)
{
    std::atomic<std::size_t> next = 0;
    const std::size_t workers =
        std::clamp<std::size_t>(count / 16, 1, std::max(1U, std::thread::hardware_concurrency()));
    std::vector<std::exception_ptr> failures(workers);
    {
        std::vector<std::jthread> threads;
        for (std::size_t worker = 0; worker < workers; ++worker) {
            threads.emplace_back([&, worker] {
                try {
                    for (std::size_t i = next++; i < count; i = next++)
                        work(i);
                } catch (...) {
                    failures[worker] = std::current_exception();
                    next = count;
                }
            });
        }
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
}

plist::Value entryFor(const SealCandidate& candidate, bool oldHashesToo,
    const std::function<NestedCode(const SealCandidate&)>& nested)
{
    plist::Dictionary entry;
    switch (candidate.kind) {
    case SealCandidate::Kind::nestedCode: {
        NestedCode code = nested(candidate);
        entry.emplace("cdhash", std::move(code.codeHash));
        entry.emplace("requirement", std::move(code.requirement));
        break;
    }
    case SealCandidate::Kind::link:
        entry.emplace("symlink", candidate.target);
        break;
    case SealCandidate::Kind::file:
        requireNoDetritus(candidate.location);
        if (oldHashesToo)
            entry.emplace("hash", digestOfFile(HashType::sha1, candidate.location));
        entry.emplace("hash2", digestOfFile(HashType::sha256, candidate.location));
        break;
    }
    if (candidate.optional)
        entry.emplace("optional", true);
    return entry;
}

plist::Value oldEntryFor(const SealCandidate& candidate)
{
    Digest digest = digestOfFile(HashType::sha1, candidate.location);
    if (!candidate.optional)
        return digest;
    return plist::Dictionary{{"hash", std::move(digest)}, {"optional", true}};
}

plist::Dictionary sealedTable(const std::vector<SealCandidate>& candidates,
    const std::function<plist::Value(const SealCandidate&)>& entry)
{
    std::vector<plist::Value> values(candidates.size());
    inParallel(candidates.size(), [&](std::size_t i) {
        if (candidates[i].kind != SealCandidate::Kind::nestedCode)
            values[i] = entry(candidates[i]);
    });
    plist::Dictionary table;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        // Nested code is asked for in order: its signer prints and keeps books.
        if (candidates[i].kind == SealCandidate::Kind::nestedCode)
            values[i] = entry(candidates[i]);
        table.emplace_hint(table.end(), candidates[i].path, std::move(values[i]));
    }
    return table;
}

SealedItem itemFrom(const std::string& path, const plist::Value& value)
{
    SealedItem item;
    if (const auto* digest = value.as<plist::Data>()) {
        item.sha1 = *digest;
        return item;
    }
    if (value.as<plist::Dictionary>() == nullptr)
        throw FormatError("an entry of the resource seal is of the wrong kind: " + path);
    if (const auto* optional = value.find<bool>("optional"))
        item.optional = *optional;
    if (const auto* requirement = value.find<std::string>("requirement")) {
        item.kind = SealedItem::Kind::nestedCode;
        item.nested.requirement = *requirement;
        if (const auto* hash = value.find<plist::Data>("cdhash"))
            item.nested.codeHash = *hash;
    } else if (const auto* target = value.find<std::string>("symlink")) {
        item.kind = SealedItem::Kind::link;
        item.target = *target;
    } else {
        if (const auto* digest = value.find<plist::Data>("hash"))
            item.sha1 = *digest;
        if (const auto* digest = value.find<plist::Data>("hash2"))
            item.sha256 = *digest;
        if (item.sha1.empty() && item.sha256.empty())
            throw FormatError("an entry of the resource seal has no hash: " + path);
    }
    return item;
}

bool fileHolds(const SealCandidate& found, const SealedItem& sealed)
{
    if (sealed.kind != SealedItem::Kind::file || found.kind == SealCandidate::Kind::link)
        return false;
    if (!sealed.sha256.empty())
        return digestOfFile(HashType::sha256, found.location) == sealed.sha256;
    return digestOfFile(HashType::sha1, found.location) == sealed.sha1;
}

} // namespace

ResourceSeal ResourceSeal::read(std::span<const std::byte> propertyList)
{
    const plist::Value value = plist::read(propertyList);
    ResourceSeal seal;
    seal.version = value.find("files2") != nullptr ? 2 : 1;
    const plist::Value* rules = value.find(seal.version == 2 ? "rules2" : "rules");
    const auto* files = value.find<plist::Dictionary>(seal.version == 2 ? "files2" : "files");
    if (rules == nullptr || files == nullptr)
        throw FormatError("the resource seal has no rules or no files");

    seal.rules = SealRules::read(*rules);
    for (const auto& [path, entry] : *files)
        seal.items.emplace(path, itemFrom(path, entry));
    return seal;
}

std::string makeSeal(const BundleLayout& layout, bool oldHashesToo,
    const std::set<fs::path>& ignored,
    const std::function<NestedCode(const SealCandidate&)>& nested)
{
    const SealRules oldRules = SealRules::oldDefaults(layout.resourcesPrefix());
    const SealRules rules = SealRules::defaults(layout.resourcesPrefix());
    // Both looks come before nested code is asked for: making it ready may leave files about.
    const std::vector<SealCandidate> candidates = scanForSeal(layout, rules, ignored);
    const std::vector<SealCandidate> oldCandidates = scanFilesForOldSeal(layout, oldRules, ignored);
    plist::Dictionary seal;
    seal.emplace("files", sealedTable(oldCandidates, oldEntryFor));
    seal.emplace("files2", sealedTable(candidates, [&](const SealCandidate& candidate) {
        return entryFor(candidate, oldHashesToo, nested);
    }));
    seal.emplace("rules", oldRules.write());
    seal.emplace("rules2", rules.write());
    return plist::writeXml(seal);
}

SealDifferences compareWithSeal(const BundleLayout& layout, const ResourceSeal& seal,
    const std::function<bool(const SealCandidate&, const NestedCode&)>& nestedHolds)
{
    const std::vector<SealCandidate> found = seal.version == 1
        ? scanFilesForOldSeal(layout, seal.rules)
        : scanForSeal(layout, seal.rules);
    std::vector<char> holds(found.size(), 1);
    inParallel(found.size(), [&](std::size_t i) {
        const auto sealed = seal.items.find(found[i].path);
        if (sealed == seal.items.end() || sealed->second.kind == SealedItem::Kind::nestedCode)
            return;
        if (sealed->second.kind == SealedItem::Kind::link)
            holds[i] = found[i].kind == SealCandidate::Kind::link
                && found[i].target == sealed->second.target;
        else
            holds[i] = fileHolds(found[i], sealed->second);
    });

    SealDifferences differences;
    std::set<std::string> seen;
    for (std::size_t i = 0; i < found.size(); ++i) {
        seen.insert(found[i].path);
        const auto sealed = seal.items.find(found[i].path);
        if (sealed == seal.items.end()) {
            differences.added.push_back(found[i].path);
            continue;
        }
        if (sealed->second.kind == SealedItem::Kind::nestedCode)
            holds[i] = nestedHolds(found[i], sealed->second.nested);
        if (holds[i] == 0)
            differences.modified.push_back(found[i].path);
    }
    for (const auto& [path, item] : seal.items) {
        if (!seen.contains(path) && !item.optional)
            differences.missing.push_back(path);
    }
    return differences;
}

} // namespace codesign
