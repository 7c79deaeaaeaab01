#include "hfsplus/CatalogEdit.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"
#include "hfsplus/Names.h"
#include "hfsplus/TreeKeys.h"

namespace hfsplus {

namespace {

using bytes::FormatError;

uint16_t typeOf(const TreeEdit::Record& record)
{
    return bytes::ByteReader(record.data, record.dataOffset).u16();
}

std::span<const std::byte> bytesOf(const std::variant<CatalogFolder, CatalogFile>& record)
{
    return std::visit([](const auto& value) { return bytes::recordBytes(value); }, record);
}

std::vector<std::byte> threadRecord(bool folder, CatalogID parent, std::u16string_view name)
{
    CatalogThread head{};
    head.recordType = folder ? folderThreadRecord : fileThreadRecord;
    head.parentID = parent;
    head.nameUnits = static_cast<uint16_t>(name.size());
    bytes::ByteWriter out;
    out.record(head);
    out.utf16(name);
    return out.take();
}

} // namespace

CatalogEdit::CatalogEdit(
    const bytes::ByteSource& file, const VolumeHeader& header, bool caseSensitive)
    : m_tree(file, "catalog", catalogShape, caseSensitive ? binaryCatalogKeyLess : catalogKeyLess)
    , m_countsFolders(header.signature == signatureHFSX)
    , m_newKeys(caseSensitive ? binaryCatalogKeyLess : catalogKeyLess)
    , m_nextID(header.nextCatalogID)
{
    if (m_tree.nodeSize() < 4096)
        throw FormatError("the catalog's nodes are too small to be edited");
    index();
}

void CatalogEdit::index()
{
    const auto& records = m_tree.records();
    m_places.reserve(records.size());
    for (std::size_t place = 0; place < records.size(); ++place) {
        bytes::ByteReader in(records[place].data, records[place].dataOffset);
        const uint16_t type = in.u16();
        in.seek(0);
        CatalogID id = 0;
        if (type == folderRecord) {
            id = in.record<CatalogFolder>().folderID;
            m_places[id].record = place;
        } else if (type == fileRecord) {
            id = in.record<CatalogFile>().fileID;
            m_places[id].record = place;
        } else {
            id = readCatalogKey(records[place].key).parent;
            m_places[id].thread = place;
        }
        // An ID that was given out already would make two files one.
        if (id >= m_nextID)
            m_nextID = id + 1;
    }
    if (m_nextID < firstUserID)
        throw FormatError("the volume has no catalog IDs left");
}

const CatalogEdit::Places& CatalogEdit::placesOf(CatalogID id) const
{
    const auto found = m_places.find(id);
    if (found == m_places.end() || found->second.record == none)
        throw FormatError("the catalog has no entry " + std::to_string(id));
    return found->second;
}

bool CatalogEdit::contains(CatalogID id) const
{
    const auto found = m_places.find(id);
    return found != m_places.end() && found->second.record != none
        && !m_tree.records()[found->second.record].removed;
}

bool CatalogEdit::isFolder(CatalogID id) const
{
    if (m_new.contains(id))
        return std::holds_alternative<CatalogFolder>(m_edited.at(id));
    return typeOf(m_tree.records()[placesOf(id).record]) == folderRecord;
}

CatalogID CatalogEdit::parentOf(CatalogID id) const
{
    return readCatalogKey(m_tree.records()[placesOf(id).record].key).parent;
}

CatalogEdit::AnyRecord& CatalogEdit::edited(CatalogID id)
{
    if (const auto found = m_edited.find(id); found != m_edited.end())
        return found->second;
    const auto data = m_tree.records()[placesOf(id).record].data;
    return m_edited
        .emplace(id,
            isFolder(id) ? AnyRecord(bytes::recordAt<CatalogFolder>(data))
                         : AnyRecord(bytes::recordAt<CatalogFile>(data)))
        .first->second;
}

CatalogFolder& CatalogEdit::folder(CatalogID id)
{
    if (auto* record = std::get_if<CatalogFolder>(&edited(id)))
        return *record;
    throw FormatError("catalog entry " + std::to_string(id) + " is no folder");
}

CatalogFile& CatalogEdit::file(CatalogID id)
{
    if (auto* record = std::get_if<CatalogFile>(&edited(id)))
        return *record;
    throw FormatError("catalog entry " + std::to_string(id) + " is no file");
}

std::vector<CatalogID> CatalogEdit::children(CatalogID folder) const
{
    std::vector<CatalogID> ids;
    const auto& records = m_tree.records();
    for (std::size_t place = m_tree.lowerBound(catalogKey(folder, {})); place < records.size();
         ++place) {
        const TreeEdit::Record& record = records[place];
        if (readCatalogKey(record.key).parent != folder)
            break;
        const uint16_t type = typeOf(record);
        if (record.removed || (type != folderRecord && type != fileRecord))
            continue;
        ids.push_back(type == folderRecord
                ? bytes::recordAt<CatalogFolder>(record.data).folderID.value()
                : bytes::recordAt<CatalogFile>(record.data).fileID.value());
    }
    return ids;
}

void CatalogEdit::countChild(CatalogID parent, bool isFolderChild, int by)
{
    CatalogFolder& record = folder(parent);
    record.valence = record.valence + static_cast<uint32_t>(by);
    if (isFolderChild && (record.flags & recordHasFolderCount) != 0)
        record.folderCount = record.folderCount + static_cast<uint32_t>(by);
    (isFolderChild ? m_folders : m_files) += by;
}

void CatalogEdit::remove(CatalogID id)
{
    const Places places = placesOf(id);
    countChild(parentOf(id), isFolder(id), -1);
    m_edited.erase(id);
    m_tree.remove(places.record);
    if (places.thread != none)
        m_tree.remove(places.thread);
}

CatalogID CatalogEdit::addAny(CatalogID parent, std::u16string name, AnyRecord record)
{
    if (m_nextID == UINT32_MAX)
        throw FormatError("the volume has no catalog IDs left");
    auto key = catalogKey(parent, name);
    if (m_tree.find(key) || !m_newKeys.emplace(std::move(key), m_nextID).second)
        throw FormatError("\"" + hostFromName(name)
            + "\" and another name in its folder are the same on the volume");
    countChild(parent, std::holds_alternative<CatalogFolder>(record), 1);
    m_edited.emplace(m_nextID, record);
    m_new.emplace(m_nextID, NewEntry{parent, std::move(name)});
    return m_nextID++;
}

CatalogID CatalogEdit::add(CatalogID parent, std::u16string name, CatalogFolder record)
{
    record.recordType = folderRecord;
    record.folderID = m_nextID;
    record.flags =
        static_cast<uint16_t>(record.flags | (m_countsFolders ? recordHasFolderCount : 0));
    return addAny(parent, std::move(name), record);
}

CatalogID CatalogEdit::add(CatalogID parent, std::u16string name, CatalogFile record)
{
    record.recordType = fileRecord;
    record.flags = static_cast<uint16_t>(record.flags | recordThreadExists);
    record.fileID = m_nextID;
    return addAny(parent, std::move(name), record);
}

void CatalogEdit::commitNew(CatalogID id, const NewEntry& entry)
{
    const AnyRecord& record = m_edited.at(id);
    const auto raw = bytesOf(record);
    m_tree.add(catalogKey(entry.parent, entry.name), {raw.begin(), raw.end()});
    m_tree.add(catalogKey(id, {}),
        threadRecord(std::holds_alternative<CatalogFolder>(record), entry.parent, entry.name));
}

void CatalogEdit::commit(VolumeHeader& header)
{
    for (const auto& [id, record] : m_edited) {
        if (const auto fresh = m_new.find(id); fresh != m_new.end())
            commitNew(id, fresh->second);
        else if (contains(id))
            m_tree.replace(placesOf(id).record, bytesOf(record));
    }
    header.fileCount = header.fileCount + static_cast<uint32_t>(m_files);
    header.folderCount = header.folderCount + static_cast<uint32_t>(m_folders);
    header.nextCatalogID = m_nextID;
}

} // namespace hfsplus
