#include "views/IdentityPicker.h"

#include "platform/MainQueue.h"
#include "signing/SigningManager.h"

#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

IdentityPicker::IdentityPicker(SigningManager& manager, QWidget* parent)
    : ComboBox(parent)
    , m_manager(manager)
{
    setAccessibleName(u"Signing Identity"_s);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(24);
    connect(&manager, &SigningManager::identitiesChanged, this, &IdentityPicker::takeUpList);
    connect(this, &ComboBox::activated, this, &IdentityPicker::choose);
    fill();
}

void IdentityPicker::prepare()
{
    MainQueue::post([self = QPointer(this)] {
        if (!self)
            return;
        if (self->m_manager.identities().isEmpty())
            self->m_manager.fetchIdentities();
        else
            self->takeUpList();
    });
}

void IdentityPicker::takeUpList()
{
    const QList<SigningIdentity>& list = m_manager.identities();
    const std::optional<QString> active = m_manager.activeIdentitySHA1();
    const auto found = std::ranges::find_if(
        list, [&](const SigningIdentity& each) { return each.sha1 == active; });
    if (found != list.end())
        m_selected = *found;
    fill();
}

void IdentityPicker::fill()
{
    clear();
    addItem(u"Select Identity"_s);
    for (const SigningIdentity& each : m_manager.identities())
        addItem(each.name, each.sha1);
    if (!m_selected)
        return;
    int index = findData(m_selected->sha1);
    if (index < 0) { // still the one that would sign, listed or not
        addItem(m_selected->name, m_selected->sha1);
        index = count() - 1;
    }
    setCurrentIndex(index);
}

void IdentityPicker::choose(int index)
{
    if (index <= 0) {
        m_selected.reset();
    } else if (index <= m_manager.identities().size()) {
        m_selected = m_manager.identities()[index - 1];
    }
    emit identityChosen(m_selected);
}
