#pragma once

#include <QMap>
#include <QObject>
#include <QVariant>

#include <optional>

/// The user's preferences: one typed value a key, kept in a property list and written through
/// at once. Programs that share the file see each other's writes and never lose a key.
///
/// Reads never fail: a missing file, a damaged one (which is set aside under another name) and a
/// value of another type all read as nothing, and the caller has its default. A value that can't
/// be written stays with this process, and the console is told.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// `file` and its folders come into being with the first value.
    explicit UserDefaults(QString file);
    /// The application's own domain. Needs a QCoreApplication; lives until the process ends.
    static UserDefaults& standard();

    std::optional<QString> string(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;
    std::optional<double> real(const QString& key) const; // an integer reads as one, too
    std::optional<qint64> integer(const QString& key) const;
    std::optional<QByteArray> data(const QString& key) const;
    std::optional<QVariantList> array(const QString& key) const;

    void set(const QString& key, const QString& value);
    void set(const QString& key, bool value);
    void set(const QString& key, double value);
    void set(const QString& key, qint64 value);
    void set(const QString& key, const QByteArray& value);
    /// Elements are of the types above, lists or maps with string keys.
    void set(const QString& key, const QVariantList& value);
    void set(const QString& key, const char* value) = delete; // would convert to bool
    void remove(const QString& key);

    /// For this process only: wins over the file and is never written. An invalid variant takes
    /// it back.
    void setVolatile(const QString& key, const QVariant& value);

signals:
    /// This process gave `key` another value. What other programs write is seen by the next read
    /// but not announced.
    void changed(const QString& key);

private:
    QVariant value(const QString& key) const;
    void assign(const QString& key, const QVariant& value);
    void store(const QString& key, const QVariant& value);
    QVariant storedValue(const QString& key) const;
    std::optional<QVariantMap> parsedFile() const;
    QVariantMap contentsUnderLock() const;

    QString m_file;
    QMap<QString, QVariant> m_volatile;
    QMap<QString, QVariant> m_unsaved; // what couldn't be written; an invalid one was removed
    mutable bool m_toldUnreadable = false;
};
