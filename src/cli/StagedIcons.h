#pragma once

#include "platform/Icons.h"

/// The icons of a build whose output is staged. What the staged file shall get waits until the file
/// has its place: the desktop keeps its pictures of files by their paths.
class StagedIcons : public IconService {
public:
    /// `icons` does the work and outlives this object.
    StagedIcons(IconService& icons, QString stagedPath);

    std::optional<Icon> resource(const QString& name) override;
    std::optional<Icon> forFile(const QString& macPath) override;
    bool setCustomIcon(const Icon& icon, const QString& macPath) override;

    /// The staged file is at `path` now.
    void place(const QString& path);

private:
    IconService& m_icons;
    QString m_stagedPath;
    std::optional<Icon> m_waiting;
};
