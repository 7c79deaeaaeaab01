#pragma once

#include "platform/Icons.h"
#include "platform/SystemRoot.h"

/// Icons on a host that has no services for the Mac's.
///
/// A volume's root gets `.VolumeIcon.icns`. Any other file gets the Mac's own resource fork and
/// Finder information as extended attributes, if the file system takes both, and thumbnails for
/// the desktop's file browser, if the user has a thumbnail cache. Nothing is put beside it.
class HostIconService : public IconService {
public:
    explicit HostIconService(SystemRoot root);

    std::optional<Icon> resource(const QString& name) override;
    std::optional<Icon> forFile(const QString& macPath) override;
    bool setCustomIcon(const Icon& icon, const QString& macPath) override;

private:
    SystemRoot m_root;
};
