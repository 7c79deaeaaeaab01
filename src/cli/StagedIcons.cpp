#include "cli/StagedIcons.h"

#include <utility>

StagedIcons::StagedIcons(IconService& icons, QString stagedPath)
    : m_icons(icons)
    , m_stagedPath(std::move(stagedPath))
{ }

std::optional<Icon> StagedIcons::resource(const QString& name)
{
    return m_icons.resource(name);
}

std::optional<Icon> StagedIcons::forFile(const QString& macPath)
{
    return m_icons.forFile(macPath);
}

bool StagedIcons::setCustomIcon(const Icon& icon, const QString& macPath)
{
    if (macPath != m_stagedPath)
        return m_icons.setCustomIcon(icon, macPath);
    m_waiting = icon;
    return true;
}

void StagedIcons::place(const QString& path)
{
    if (m_waiting)
        m_icons.setCustomIcon(*m_waiting, path);
}
