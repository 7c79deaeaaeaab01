#include "platform/UserDefaults.h"

#include "platform/AtomicFile.h"
#include "platform/Console.h"
#include "platform/Descriptor.h"
#include "platform/FileOperations.h"
#include "platform/PlatformError.h"
#include "platform/PropertyList.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Held by one writer at a time, of all programs that share `file`. The lock is a file of its own,
/// since the list itself is replaced by every write.
class WriterLock {
public:
    explicit WriterLock(const QString& file)
    {
        const QString path = file + u".lock"_s;
        m_descriptor = Descriptor(
            ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        int result = m_descriptor ? 0 : -1;
        while (
            m_descriptor && (result = ::flock(m_descriptor.get(), LOCK_EX)) != 0 && errno == EINTR)
            ;
        if (result != 0)
            throw PlatformError::fromErrno(PlatformError::Operation::write, path, errno);
    }

private:
    Descriptor m_descriptor; // closing it lets go
};

void createPrivateFolder(const QString& path)
{
    const bool isNew = !QFileInfo::exists(path);
    FileOperations::createFolder(path);
    if (isNew)
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

template <class Value>
std::optional<Value> typed(const QVariant& value)
{
    if (value.typeId() != QMetaType::fromType<Value>().id())
        return std::nullopt;
    return value.value<Value>();
}

} // namespace

UserDefaults::UserDefaults(QString file)
    : m_file(std::move(file))
{
    // A list that is kept elsewhere by a link stays there when it is replaced.
    if (const QString target = QFileInfo(m_file).canonicalFilePath(); !target.isEmpty())
        m_file = target;
}

UserDefaults& UserDefaults::standard()
{
    static auto* const instance =
        new UserDefaults(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)
            + u"/vandor-dmg/com.vandordmg.app.plist"_s);
    return *instance;
}

std::optional<QString> UserDefaults::string(const QString& key) const
{
    return typed<QString>(value(key));
}

std::optional<bool> UserDefaults::boolean(const QString& key) const
{
    return typed<bool>(value(key));
}

std::optional<double> UserDefaults::real(const QString& key) const
{
    const QVariant kept = value(key);
    if (kept.typeId() == QMetaType::LongLong)
        return static_cast<double>(kept.toLongLong());
    return typed<double>(kept);
}

std::optional<qint64> UserDefaults::integer(const QString& key) const
{
    return typed<qint64>(value(key));
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const
{
    return typed<QByteArray>(value(key));
}

std::optional<QVariantList> UserDefaults::array(const QString& key) const
{
    return typed<QVariantList>(value(key));
}

void UserDefaults::set(const QString& key, const QString& value)
{
    assign(key, value);
}

void UserDefaults::set(const QString& key, bool value)
{
    assign(key, value);
}

void UserDefaults::set(const QString& key, double value)
{
    assign(key, value);
}

void UserDefaults::set(const QString& key, qint64 value)
{
    assign(key, QVariant::fromValue(value));
}

void UserDefaults::set(const QString& key, const QByteArray& value)
{
    assign(key, value);
}

void UserDefaults::set(const QString& key, const QVariantList& value)
{
    assign(key, value);
}

void UserDefaults::remove(const QString& key)
{
    assign(key, {});
}

void UserDefaults::setVolatile(const QString& key, const QVariant& newValue)
{
    const QVariant before = value(key);
    if (newValue.isValid())
        m_volatile.insert(key, newValue);
    else
        m_volatile.remove(key);
    if (value(key) != before)
        emit changed(key);
}

QVariant UserDefaults::value(const QString& key) const
{
    for (const QMap<QString, QVariant>& own : {m_volatile, m_unsaved}) {
        if (const auto found = own.constFind(key); found != own.cend())
            return *found;
    }
    return storedValue(key);
}

void UserDefaults::assign(const QString& key, const QVariant& newValue)
{
    const QVariant before = value(key);
    try {
        store(key, newValue);
        m_unsaved.remove(key);
    } catch (const PlatformError& error) {
        m_unsaved.insert(key, newValue);
        Console::write(
            u"Warning: the setting %1 was not saved. %2"_s.arg(key, error.description()));
    }
    if (value(key) != before)
        emit changed(key);
}

/// Reads, changes one key and writes, while nobody else does. An invalid value removes the key.
void UserDefaults::store(const QString& key, const QVariant& newValue)
{
    createPrivateFolder(QFileInfo(m_file).path());
    const WriterLock lock(m_file);
    QVariantMap values = contentsUnderLock();
    if (newValue.isValid())
        values.insert(key, newValue);
    else if (values.remove(key) == 0)
        return;
    AtomicFile::write(m_file, PropertyList::binary(values), 0600);
}

QVariant UserDefaults::storedValue(const QString& key) const
{
    try {
        std::optional<QVariantMap> values = parsedFile();
        if (!values) {
            const WriterLock lock(m_file);
            values = contentsUnderLock();
        }
        return values->value(key);
    } catch (const PlatformError& error) {
        if (!std::exchange(m_toldUnreadable, true))
            Console::write(u"Warning: the settings can't be read. %1"_s.arg(error.description()));
        return {};
    }
}

/// Nothing for a damaged file, no values for a missing one. Throws PlatformError for one that is
/// there and can't be read: its keys must not be lost to a write.
std::optional<QVariantMap> UserDefaults::parsedFile() const
{
    const Descriptor descriptor(
        ::open(QFile::encodeName(m_file).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor && (errno == ENOENT || errno == ENOTDIR))
        return QVariantMap();
    if (!descriptor)
        throw PlatformError::fromErrno(PlatformError::Operation::read, m_file, errno);
    QFile file;
    file.open(descriptor.get(), QIODevice::ReadOnly);
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError)
        throw PlatformError(PlatformError::Operation::read, m_file, file.errorString());
    return PropertyList::parse(bytes);
}

/// Puts a damaged file aside, so that a person can look at it. The caller holds the lock: another
/// program may have written a whole file since the damage was seen.
QVariantMap UserDefaults::contentsUnderLock() const
{
    if (std::optional<QVariantMap> values = parsedFile())
        return *std::move(values);
    QString aside = m_file + u".damaged"_s;
    for (int number = 2; FileOperations::exists(aside); ++number)
        aside = m_file + u".damaged-%1"_s.arg(number);
    if (::rename(QFile::encodeName(m_file).constData(), QFile::encodeName(aside).constData()) != 0)
        throw PlatformError::fromErrno(PlatformError::Operation::write, aside, errno);
    Console::write(u"Warning: the settings file was damaged and is now %1"_s.arg(aside));
    return {};
}
