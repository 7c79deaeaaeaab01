#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// A picture in several sizes, in the Mac's own container.
struct Icon {
    QByteArray icns;

    bool operator==(const Icon&) const = default;
};

/// Pictures that stand for files. Called on the main thread.
class IconService {
public:
    virtual ~IconService() = default;

    /// A picture of this application's own resources, by its name without extension.
    virtual std::optional<Icon> resource(const QString& name) = 0;
    /// What a file browser shows for the file at `macPath`, an application usually.
    virtual std::optional<Icon> forFile(const QString& macPath) = 0;
    /// Gives a file or folder an icon of its own. False when the host could keep none of it.
    virtual bool setCustomIcon(const Icon& icon, const QString& macPath) = 0;
};
