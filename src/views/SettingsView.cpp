#include "views/SettingsView.h"

#include "model/SettingsManager.h"
#include "views/FadingScrollArea.h"
#include "views/Labels.h"
#include "views/NotarizationSettingsPage.h"
#include "views/Panel.h"
#include "views/SideList.h"
#include "views/SigningSettingsPage.h"

#include <QHBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int sidebarWidth = 220;

QString symbolOf(SettingsSection section)
{
    switch (section) {
    case SettingsSection::signing:
        return u"signature"_s;
    case SettingsSection::notarization:
        return u"checkmark.shield"_s;
    case SettingsSection::workflow:
        return u"arrow.triangle.branch"_s;
    case SettingsSection::build:
        return u"hammer"_s;
    case SettingsSection::environment:
        return u"paintbrush"_s;
    case SettingsSection::about:
        return u"info.circle"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

SettingsView::SettingsView(Host host, QWidget* parent)
    : QWidget(parent)
    , m_host(std::move(host))
    , m_sections(new SideList(u"Settings"_s))
    , m_detail(new FadingScrollArea(Qt::Vertical))
{
    setMinimumSize(850, 600);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* sidebar = new Panel(Theme::Colour::sidebar);
    sidebar->setFixedWidth(sidebarWidth);
    auto* side = new QVBoxLayout(sidebar);
    side->setContentsMargins(12, 20, 12, 12);
    for (const SettingsSection section : allSettingsSections)
        m_sections->addRow(rawValue(section), symbolOf(section));
    side->addWidget(m_sections);
    layout->addWidget(sidebar);
    layout->addWidget(m_detail, 1);

    connect(m_sections, &SideList::chosen, this, [this](int index) {
        m_host.settings.setActiveSection(allSettingsSections[static_cast<size_t>(index)]);
    });
    connect(&m_host.settings, &SettingsManager::activeSectionChanged, this, &SettingsView::refresh);
    refresh();
}

void SettingsView::refresh()
{
    const std::optional<SettingsSection> active = m_host.settings.activeSection();
    const auto at =
        active ? std::ranges::find(allSettingsSections, *active) : allSettingsSections.end();
    m_sections->setCurrent(
        at == allSettingsSections.end() ? -1 : static_cast<int>(at - allSettingsSections.begin()));
    if (active && active == m_shown)
        return;
    m_shown = active;
    // A field settles what was typed when it loses the focus, not when it goes.
    if (QWidget* focused = focusWidget(); focused != nullptr && m_detail->isAncestorOf(focused))
        focused->clearFocus();
    if (active)
        m_detail->setWidget(makeDetail(*active));
    else {
        QLabel* label =
            makeLabel(u"Select a category"_s, Theme::Type::title, Theme::Colour::secondary);
        label->setAlignment(Qt::AlignCenter);
        m_detail->setWidget(label);
    }
}

QWidget* SettingsView::makeDetail(SettingsSection section) const
{
    auto* detail = new QWidget;
    auto* layout = new QVBoxLayout(detail);
    layout->setContentsMargins(
        Theme::Space::page, Theme::Space::page, Theme::Space::page, Theme::Space::page);
    layout->setSpacing(Theme::Space::tight);
    layout->addWidget(makeLabel(rawValue(section), Theme::Type::largeTitle));
    layout->addWidget(makeLabel(u"Manage your %1 configuration"_s.arg(rawValue(section).toLower()),
        Theme::Type::body, Theme::Colour::secondary));
    layout->addSpacing(Theme::Space::large);
    layout->addWidget(makePage(section), 1);
    return detail;
}

QWidget* SettingsView::makePage(SettingsSection section) const
{
    switch (section) {
    case SettingsSection::signing:
        return new SigningSettingsPage(m_host.signing);
    case SettingsSection::notarization:
        return new NotarizationSettingsPage(m_host.settings, m_host.tools);
    case SettingsSection::workflow:
        return new WorkflowSettingsPage(m_host.settings);
    case SettingsSection::build:
        return new BuildSettingsPage(m_host.settings);
    case SettingsSection::environment:
        return new EnvironmentSettingsPage(m_host.clearCache);
    case SettingsSection::about:
        return new AboutSettingsPage(m_host.settings);
    }
    Q_UNREACHABLE();
}
