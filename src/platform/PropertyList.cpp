#include "platform/PropertyList.h"

#include <QDateTime>
#include <QTimeZone>
#include <QtEndian>

#include <cstdlib>
#include <memory>
#include <plist/plist.h>

namespace {

constexpr qsizetype largestFile = 16 << 20;
/// The library descends once a level with no limit of its own, and a file of n collections may be
/// n levels deep. Real information dictionaries hold some hundred collections at most.
constexpr qint64 mostCollections = 10'000;
constexpr int deepest = 100;

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>; // plist_t is void*

struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};
using Text = std::unique_ptr<char, FreeMemory>;

QDateTime macEpoch()
{
    return QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
}

bool collectionsAreBounded(const QByteArray& bytes)
{
    if (!bytes.startsWith("bplist"))
        return bytes.count("<array") + bytes.count("<dict") <= mostCollections;
    constexpr qsizetype trailerSize = 32;
    if (bytes.size() < trailerSize)
        return false;
    // The trailer's second word counts the objects (Apple's CFBinaryPList.c), the collections
    // among them being those whose marker says array, set or dictionary.
    const uchar* trailer = reinterpret_cast<const uchar*>(bytes.constEnd()) - trailerSize;
    const auto objects = qFromBigEndian<quint64>(trailer + 8);
    if (objects > static_cast<quint64>(bytes.size()))
        return false;
    const auto collections = std::count_if(bytes.cbegin(), bytes.cend(), [](char byte) {
        return (static_cast<uchar>(byte) & 0xe0) == 0xa0
            || (static_cast<uchar>(byte) & 0xf0) == 0xd0;
    });
    return objects <= static_cast<quint64>(mostCollections) || collections <= mostCollections;
}

QVariant valueOf(plist_t node, int depth);

QVariant arrayOf(plist_t node, int depth)
{
    QVariantList list;
    const uint32_t count = plist_array_get_size(node);
    for (uint32_t index = 0; index < count; ++index) {
        if (QVariant item = valueOf(plist_array_get_item(node, index), depth + 1); item.isValid())
            list.append(std::move(item));
    }
    return list;
}

QVariantMap dictionaryOf(plist_t node, int depth)
{
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
    while (iterator) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const Text text(key);
        if (!item)
            break;
        if (QVariant value = valueOf(item, depth + 1); value.isValid())
            map.insert(QString::fromUtf8(key), std::move(value));
    }
    return map;
}

QVariant stringOf(plist_t node)
{
    char* characters = nullptr;
    plist_get_string_val(node, &characters);
    const Text text(characters);
    return QString::fromUtf8(characters);
}

QVariant dataOf(plist_t node)
{
    char* memory = nullptr;
    uint64_t length = 0;
    plist_get_data_val(node, &memory, &length);
    const Text owner(memory);
    return QByteArray(memory, static_cast<qsizetype>(length));
}

QVariant dateOf(plist_t node)
{
    int32_t seconds = 0;
    int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return macEpoch().addSecs(seconds).addMSecs(microseconds / 1000);
}

QVariant numberOf(plist_t node)
{
    uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    return QVariant::fromValue(static_cast<qint64>(bits)); // the format's integers are signed
}

QVariant valueOf(plist_t node, int depth)
{
    if (!node || depth > deepest)
        return {};
    uint8_t truth = 0;
    double real = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        plist_get_bool_val(node, &truth);
        return truth != 0;
    case PLIST_UINT:
        return numberOf(node);
    case PLIST_REAL:
        plist_get_real_val(node, &real);
        return real;
    case PLIST_STRING:
        return stringOf(node);
    case PLIST_ARRAY:
        return arrayOf(node, depth);
    case PLIST_DICT:
        return dictionaryOf(node, depth);
    case PLIST_DATE:
        return dateOf(node);
    case PLIST_DATA:
        return dataOf(node);
    default:
        return {};
    }
}

plist_t nodeOf(const QVariant& value);

plist_t arrayNode(const QVariantList& list)
{
    plist_t node = plist_new_array();
    for (const QVariant& item : list) {
        if (plist_t child = nodeOf(item))
            plist_array_append_item(node, child);
    }
    return node;
}

plist_t dictionaryNode(const QVariantMap& map)
{
    plist_t node = plist_new_dict();
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        if (plist_t child = nodeOf(entry.value()))
            plist_dict_set_item(node, entry.key().toUtf8().constData(), child);
    }
    return node;
}

/// The caller owns the node. Null for a type that property lists don't have.
plist_t nodeOf(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::LongLong:
        return plist_new_uint(static_cast<uint64_t>(value.toLongLong()));
    case QMetaType::Double:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), static_cast<uint64_t>(bytes.size()));
    }
    case QMetaType::QDateTime:
        return plist_new_date(static_cast<int32_t>(macEpoch().secsTo(value.toDateTime())), 0);
    case QMetaType::QVariantList:
        return arrayNode(value.toList());
    case QMetaType::QVariantMap:
        return dictionaryNode(value.toMap());
    default:
        return nullptr;
    }
}

} // namespace

std::optional<QVariantMap> PropertyList::parse(const QByteArray& bytes)
{
    if (bytes.isEmpty() || bytes.size() > largestFile || !collectionsAreBounded(bytes))
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    const Node owner(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT)
        return std::nullopt;
    return dictionaryOf(root, 0);
}

QByteArray PropertyList::binary(const QVariantMap& values)
{
    const Node root(dictionaryNode(values));
    char* memory = nullptr;
    uint32_t length = 0;
    plist_to_bin(root.get(), &memory, &length);
    const Text owner(memory);
    return QByteArray(memory, static_cast<qsizetype>(length));
}
