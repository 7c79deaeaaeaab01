#include "finder/StoreChecker.h"

#include "bytes/FormatError.h"
#include "bytes/Unicode.h"
#include "finder/AliasRecord.h"
#include "finder/Bookmark.h"
#include "finder/IconLocation.h"
#include "finder/PropertyList.h"
#include "finder/StoreReader.h"
#include "finder/WindowSettings.h"
#include "hfsplus/NameOrder.h"
#include "hfsplus/Names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace finder {

namespace {

enum class Kind { boolean, whole, number, text, data };

struct KeyRule {
    const char* key;
    Kind kind;
    bool required;
};

constexpr std::array windowRules{
    KeyRule{"WindowBounds", Kind::text, true},
    KeyRule{"ShowToolbar", Kind::boolean, false},
    KeyRule{"ShowStatusBar", Kind::boolean, false},
    KeyRule{"ShowSidebar", Kind::boolean, false},
    KeyRule{"ContainerShowSidebar", Kind::boolean, false},
    KeyRule{"ShowTabView", Kind::boolean, false},
    KeyRule{"ShowPathbar", Kind::boolean, false},
    KeyRule{"PreviewPaneVisibility", Kind::boolean, false},
    KeyRule{"SidebarWidth", Kind::number, false},
};

constexpr std::array iconViewRules{
    KeyRule{"viewOptionsVersion", Kind::whole, true},
    KeyRule{"backgroundType", Kind::whole, true},
    KeyRule{"backgroundColorRed", Kind::number, true},
    KeyRule{"backgroundColorGreen", Kind::number, true},
    KeyRule{"backgroundColorBlue", Kind::number, true},
    KeyRule{"backgroundImageAlias", Kind::data, false},
    KeyRule{"iconSize", Kind::number, true},
    KeyRule{"textSize", Kind::number, true},
    KeyRule{"gridSpacing", Kind::number, true},
    KeyRule{"gridOffsetX", Kind::number, true},
    KeyRule{"gridOffsetY", Kind::number, true},
    KeyRule{"arrangeBy", Kind::text, true},
    KeyRule{"labelOnBottom", Kind::boolean, true},
    KeyRule{"showIconPreview", Kind::boolean, true},
    KeyRule{"showItemInfo", Kind::boolean, true},
    KeyRule{"scrollPositionX", Kind::number, false},
    KeyRule{"scrollPositionY", Kind::number, false},
    KeyRule{"axTextSize", Kind::number, false},
};

/// What a record holds. A Finder that meets another type may go down with it.
struct RecordRule {
    FourCC code;
    FourCC type;
    std::size_t size; // of a blob that is always as long; 0: any
};

constexpr std::array recordRules{
    RecordRule{"Iloc", "blob", 16},
    RecordRule{"bwsp", "blob", 0},
    RecordRule{"icvp", "blob", 0},
    RecordRule{"lsvp", "blob", 0},
    RecordRule{"lsvP", "blob", 0},
    RecordRule{"lsvC", "blob", 0},
    RecordRule{"vSrn", "long", 0},
    RecordRule{"vstl", "type", 0},
    RecordRule{"icvl", "type", 0},
    RecordRule{"fwi0", "blob", 16},
    RecordRule{"fwvh", "shor", 0},
    RecordRule{"BKGD", "blob", 12},
    RecordRule{"pict", "blob", 0},
    RecordRule{"cmmt", "ustr", 0},
    RecordRule{"dscl", "bool", 0},
    RecordRule{"dilc", "blob", 32},
};

constexpr int64_t pictureBackground = 2;
constexpr auto itself = DesktopStore::folderItself;

bool isOfKind(const PropertyValue& value, Kind kind)
{
    switch (kind) {
    case Kind::boolean:
        return std::holds_alternative<bool>(value);
    case Kind::whole:
        return std::holds_alternative<int64_t>(value);
    case Kind::number:
        return std::holds_alternative<int64_t>(value) || std::holds_alternative<double>(value);
    case Kind::text:
        return std::holds_alternative<std::string>(value);
    case Kind::data:
        return std::holds_alternative<std::vector<std::byte>>(value);
    }
    return false;
}

template <typename Value>
const Value* valueOf(const PropertyDictionary& dictionary, const char* key)
{
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : std::get_if<Value>(&found->second);
}

double numberOf(const PropertyDictionary& dictionary, const char* key)
{
    if (const auto* whole = valueOf<int64_t>(dictionary, key))
        return static_cast<double>(*whole);
    const auto* real = valueOf<double>(dictionary, key);
    return real ? *real : std::nan("");
}

class Checker {
public:
    explicit Checker(const VolumeFacts& facts)
        : m_facts(facts)
        , m_rootNames(facts.rootNames.begin(), facts.rootNames.end())
    { }

    void check(std::span<const std::byte> file)
    {
        const StoreStructure structure = readStoreStructure(file);
        checkBookkeeping(structure);
        checkOrder(structure.records);
        const DesktopStore store(structure.records);
        if (const auto window = dictionaryOf(store, "bwsp", windowRules))
            checkWindow(*window);
        if (const auto icons = dictionaryOf(store, "icvp", iconViewRules))
            checkIconView(*icons);
        checkBookmark(store);
        for (const StoreRecord& record : store.records())
            if (checkType(record) && record.code == "Iloc")
                checkLocation(record);
    }

    /// Runs `part`; what it throws becomes a finding that begins with `what`.
    template <typename Part>
    void guarded(const std::string& what, Part part)
    {
        try {
            part();
        } catch (const bytes::FormatError& error) {
            object(what + ": " + error.what());
        }
    }

    std::vector<StoreFinding> findings;

private:
    void remark(const std::string& message) { findings.push_back({message, false}); }

    void object(const std::string& message) { findings.push_back({message}); }

    /// Used and free blocks together must fill the address space without overlap.
    void checkBookkeeping(const StoreStructure& structure)
    {
        struct Piece {
            uint64_t start, end;
        };
        std::vector<Piece> pieces{{0, 32}}; // the file's header
        for (const BlockAddress& block : structure.blocks)
            if (block.width != 0)
                pieces.push_back({block.offset, uint64_t{block.offset} + block.size()});
        for (unsigned width = 0; width < structure.freeLists.size(); ++width)
            for (const uint32_t offset : structure.freeLists[width])
                pieces.push_back({offset, offset + (uint64_t{1} << width)});
        std::ranges::sort(pieces, {}, &Piece::start);
        uint64_t end = 0;
        for (const Piece& piece : pieces) {
            if (piece.start != end)
                break;
            end = piece.end;
        }
        if (end != uint64_t{1} << 31 || pieces.back().end != end)
            object("the store's used and free blocks don't make up its space");
        if (structure.statedRecords != structure.records.size()
            || structure.statedNodes != structure.nodes
            || structure.statedLevels != structure.levels)
            object("the store's tree header miscounts records, nodes or levels");
    }

    void checkOrder(const std::vector<StoreRecord>& records)
    {
        const auto notAscending = [](const StoreRecord& a, const StoreRecord& b) {
            return !DesktopStore::inOrder(a, b);
        };
        const auto found = std::ranges::adjacent_find(records, notAscending);
        if (found != records.end())
            object("records are out of order after " + found->code.text() + " of "
                + hfsplus::hostFromName(found->name));
    }

    bool checkType(const StoreRecord& record)
    {
        const auto rule = std::ranges::find(recordRules, record.code, &RecordRule::code);
        if (rule == recordRules.end())
            return true;
        const std::string what =
            "the record " + record.code.text() + " of " + hfsplus::hostFromName(record.name);
        if (record.value.type != rule->type)
            object(what + " has the type " + record.value.type.text() + " instead of "
                + rule->type.text());
        else if (rule->size != 0 && record.value.bytes.size() != rule->size)
            object(what + " has " + std::to_string(record.value.bytes.size()) + " bytes instead of "
                + std::to_string(rule->size));
        else
            return true;
        return false;
    }

    std::optional<PropertyDictionary> dictionaryOf(
        const DesktopStore& store, FourCC code, std::span<const KeyRule> rules)
    {
        const StoreValue* value = store.find(itself, code);
        if (!value || value->type != "blob")
            return std::nullopt;
        std::optional<PropertyDictionary> dictionary;
        guarded(code.text(), [&] {
            dictionary = readPropertyList(value->bytes);
            for (const KeyRule& rule : rules)
                checkKey(code, *dictionary, rule);
        });
        return dictionary;
    }

    void checkKey(FourCC code, const PropertyDictionary& dictionary, const KeyRule& rule)
    {
        const auto found = dictionary.find(rule.key);
        if (found == dictionary.end()) {
            if (rule.required)
                object(code.text() + " lacks " + rule.key);
        } else if (!isOfKind(found->second, rule.kind)) {
            object(code.text() + ": " + rule.key + " has the wrong type");
        }
    }

    void checkWindow(const PropertyDictionary& window)
    {
        const auto* bounds = valueOf<std::string>(window, "WindowBounds");
        if (!bounds)
            return;
        guarded("bwsp", [&] {
            m_frame = frameFromText(*bounds);
            if (!(m_frame->width > 0) || !(m_frame->height > 0))
                object("bwsp: the window has no inside");
        });
    }

    void checkIconView(const PropertyDictionary& icons)
    {
        for (const char* key : {"iconSize", "textSize", "gridSpacing"})
            if (numberOf(icons, key) <= 0)
                object(std::string("icvp: ") + key + " is not positive");
        const auto* type = valueOf<int64_t>(icons, "backgroundType");
        if (!type)
            return;
        if (*type < 0 || *type > pictureBackground)
            object("icvp: no background is of the type " + std::to_string(*type));
        if (*type != pictureBackground)
            return;
        const auto* alias = valueOf<std::vector<std::byte>>(icons, "backgroundImageAlias");
        if (!alias)
            object("icvp: the background is a picture, but no alias leads to it");
        else
            guarded("the background's alias", [&] { checkAlias(readAlias(*alias)); });
    }

    void checkAlias(const AliasRecord& alias)
    {
        if (!sameName(alias.volumeName, m_facts.volumeName))
            remark("the background's alias leads to the volume " + alias.volumeName);
        std::string mountPoint = "/Volumes/" + m_facts.volumeName;
        std::replace(mountPoint.begin() + 9, mountPoint.end(), '/', ':');
        if (!alias.mountPoint.empty() && alias.mountPoint != mountPoint)
            remark("the background's alias leads to " + alias.mountPoint);
        if (m_facts.created != 0 && alias.volumeCreated != m_facts.created)
            remark("the background's alias leads to a volume of another date");
        const auto file = checkPicture(alias.path);
        if (file && alias.targetID != AliasRecord::unknownID && alias.targetID != *file)
            remark("the background's alias leads to file " + std::to_string(alias.targetID)
                + ", which is now file " + std::to_string(*file));
    }

    /// The picture's number, if it is there.
    std::optional<uint32_t> checkPicture(const std::string& path)
    {
        if (!path.starts_with('/')) {
            object("the background's path is not absolute: " + path);
            return std::nullopt;
        }
        if (!m_facts.fileAt)
            return std::nullopt;
        const auto file = m_facts.fileAt(path);
        if (!file)
            remark("the background is missing: " + path);
        return file;
    }

    void checkBookmark(const DesktopStore& store)
    {
        const auto raw = backgroundBookmark(store, itself);
        if (raw.empty())
            return;
        guarded("the background's bookmark", [&] {
            const Bookmark bookmark = readBookmark(raw);
            if (!bookmark.volumeName.empty() && !sameName(bookmark.volumeName, m_facts.volumeName))
                remark("the background's bookmark leads to the volume " + bookmark.volumeName);
            // Its path begins with the volume's own: "Volumes", "Demo".
            if (bookmark.path.size() < 3 || bookmark.path[0] != "Volumes")
                return;
            std::string path;
            for (std::size_t i = 2; i < bookmark.path.size(); ++i)
                path += '/' + bookmark.path[i];
            checkPicture(path);
        });
    }

    void checkLocation(const StoreRecord& record)
    {
        const std::string name = hfsplus::hostFromName(record.name);
        guarded("the place of " + name, [&] {
            const IconLocation place = readIconLocation(record.value.bytes);
            const bool isThere = m_rootNames.contains(record.name);
            if (record.name.starts_with(u'.')) {
                // Often put far away on purpose, and often not there.
                if (isThere && m_frame && isInside(place))
                    remark("the hidden item " + name
                        + " lies in the window, where those who see such items see it");
                return;
            }
            if (!isThere)
                remark("a place is kept for " + name + ", which is not on the volume");
            else if (m_frame && !isInside(place))
                remark("the icon of " + name + " lies outside the window");
        });
    }

    bool isInside(const IconLocation& place) const
    {
        return place.x >= 0 && place.y >= 0 && place.x < m_frame->width
            && place.y < m_frame->height;
    }

    static bool sameName(const std::string& a, const std::string& b)
    {
        const auto left = bytes::utf16FromUtf8(a), right = bytes::utf16FromUtf8(b);
        return left && right && hfsplus::decomposed(*left) == hfsplus::decomposed(*right);
    }

    struct NameOrder {
        bool operator()(std::u16string_view a, std::u16string_view b) const
        {
            return hfsplus::compareNames(a, b) < 0;
        }
    };

    const VolumeFacts& m_facts;
    std::set<std::u16string_view, NameOrder> m_rootNames; // as the volume takes them for equal
    std::optional<WindowFrame> m_frame;
};

} // namespace

std::vector<StoreFinding> checkStore(std::span<const std::byte> file, const VolumeFacts& facts)
{
    Checker checker(facts);
    checker.guarded(".DS_Store", [&] { checker.check(file); });
    return std::move(checker.findings);
}

} // namespace finder
